// A race on purpose, of the script thread and another: it must be reported.
import { engine } from '../../script/support/scripted.mjs';

engine.race(Number(process.argv[2]));
