// The transcript: one line per thing that happens, with the time since the start.
import { writeSync } from 'node:fs';

const transcriptChannel = 3;
const start = Date.now();

function seconds() {
  return ((Date.now() - start) / 1000).toFixed(1).padStart(5);
}

/** A line about `who`. */
export function say(who, text) {
  writeSync(transcriptChannel, `${seconds()}s  ${who.padEnd(7)} ${text}\n`);
}

/** A heading between the steps. */
export function step(number, total, title) {
  writeSync(transcriptChannel, `\n[${number}/${total}] ${title}\n`);
}

/** A level from 0 to `full` as a bar. */
export function bar(level, full, width = 24) {
  const filled = Math.max(0, Math.min(width, Math.round((level / full) * width)));
  return '█'.repeat(filled) + '·'.repeat(width - filled);
}
