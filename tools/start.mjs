// npm start: builds the module and its engine library, then holds a conference with them.
import path from 'node:path';

import { build } from './build.mjs';
import { root, run, setUp } from './setup.mjs';

setUp();
build('release');
run(process.execPath, [path.join(root, 'apps', 'conference_demo', 'main.mjs'), ...process.argv.slice(2)]);
