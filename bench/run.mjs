// npm run bench: measures every path beside its floor and writes a table, build/bench/results.json and
// build/bench/results.svg.
import { spawnSync } from 'node:child_process';
import { mkdirSync, writeFileSync } from 'node:fs';
import path from 'node:path';

import { build } from '../tools/build.mjs';
import { root, setUp } from '../tools/setup.mjs';
import { chart } from './chart.mjs';

const results = path.join(root, 'build', 'bench');

function measure(script) {
  // The module writes message bodies to standard output, so the rows come by standard error.
  const run = spawnSync(process.execPath, [path.join(root, 'bench', script)], {
    encoding: 'utf8', stdio: ['ignore', 'ignore', 'pipe'], maxBuffer: 1 << 24,
  });
  if (run.status !== 0) throw new Error(`${script} failed:\n${run.stderr}`);
  return JSON.parse(run.stderr.slice(run.stderr.indexOf('[{')));
}

const fixed = (value) => value.toFixed(2).padStart(5);
const nanoseconds = (value) => Math.round(value).toString().padStart(8);

setUp({ forTests: true });
build('release', { withTests: true });
const rows = measure('script_level.mjs');
const width = Math.max(...rows.map(({ name }) => name.length));
console.log(`${'path'.padEnd(width)}  ratio  spread         limit  ours ns  floor ns`);
for (const { name, ratio, low, high, limit, oursNs, floorNs } of rows) {
  const mark = ratio <= limit ? ' ' : '!';
  console.log(`${name.padEnd(width)}  ${fixed(ratio)}  ${fixed(low)} ..${fixed(high)} ${mark}${fixed(limit)} ` +
    `${nanoseconds(oursNs)}  ${nanoseconds(floorNs)}`);
}
mkdirSync(results, { recursive: true });
writeFileSync(path.join(results, 'results.json'), JSON.stringify(rows, null, 2));
writeFileSync(path.join(results, 'results.svg'), chart(rows));
console.log(`\nWritten: ${path.relative(root, results)}/results.json and results.svg`);
