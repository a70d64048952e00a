// npm run bench: measures every path beside its floor and writes tables, build/bench/results.json and
// build/bench/results.svg.
//
//   node bench/run.mjs [--no-peers]
import { spawnSync } from 'node:child_process';
import { mkdirSync, writeFileSync } from 'node:fs';
import path from 'node:path';

import { build } from '../tools/build.mjs';
import { root, setUp } from '../tools/setup.mjs';
import { chart } from './chart.mjs';
import { allocations, events, lockHolds } from './inside.mjs';
import { comparePeers } from './peers.mjs';

const results = path.join(root, 'build', 'bench');

function measureFromScript() {
  // The module writes message bodies to standard output, so the rows come by standard error.
  const script = path.join(root, 'bench', 'script_level.mjs');
  const run = spawnSync(process.execPath, ['--expose-gc', script], {
    encoding: 'utf8', stdio: ['ignore', 'ignore', 'pipe'], maxBuffer: 1 << 24,
  });
  if (run.status !== 0) throw new Error(`script_level.mjs failed:\n${run.stderr}`);
  return JSON.parse(run.stderr.slice(run.stderr.indexOf('[{')));
}

const fixed = (value, digits = 2) => value.toFixed(digits);

// Prints records as a table: `columns` maps a heading to what a record shows below it.
function show(title, records, columns) {
  const lines = [Object.keys(columns), ...records.map((record) =>
    Object.values(columns).map((text) => String(text(record))))];
  const widths = lines[0].map((_, column) => Math.max(...lines.map((line) => line[column].length)));
  console.log(`\n${title}`);
  for (const [first, ...others] of lines) {
    console.log([first.padEnd(widths[0]), ...others.map((text, i) => text.padStart(widths[i + 1]))].join('  '));
  }
}

const rowColumns = {
  path: ({ name }) => name,
  ratio: ({ ratio }) => fixed(ratio),
  spread: ({ low, high }) => `${fixed(low)}..${fixed(high)}`,
  limit: ({ ratio, limit }) => (limit ? `${ratio <= limit ? '' : '! '}${fixed(limit)}` : ''),
  'ours ns': ({ oursNs }) => Math.round(oursNs),
  'floor ns': ({ floorNs }) => Math.round(floorNs),
};

setUp({ forTests: true });
build('release', { withTests: true });
build('release', { withTests: true, targets: ['lock_holds'] });
const queued = events();
const measured = {
  rows: [...measureFromScript(), ...queued.rows],
  engineThreads: queued.growth,
  allocations: allocations(),
  lockHolds: lockHolds(),
  peers: process.argv.includes('--no-peers') ? [] : comparePeers(),
};
show('Paths and their floors', measured.rows, rowColumns);
show('Events by number of engine threads', measured.engineThreads, rowColumns);
show('Allocations of one operation', measured.allocations, {
  operation: ({ name }) => name, allocations: ({ count }) => fixed(count),
});
show('How long mutexes are held, in microseconds of processor time', measured.lockHolds, {
  mutex: ({ mutex }) => mutex,
  'engine threads': ({ threads }) => threads,
  median: ({ medianUs }) => fixed(medianUs, 1),
  '99.9 %': ({ p999Us }) => fixed(p999Us, 1),
  longest: ({ longestUs }) => fixed(longestUs, 1),
  'longest copy': ({ longestCopyUs }) => fixed(longestCopyUs, 1),
  'worst hold': ({ worstUs }) => fixed(worstUs, 1),
  'worst copy': ({ worstCopyUs }) => fixed(worstCopyUs, 1),
});
show('Processor time of a picture\'s way to script, in microseconds', measured.peers, {
  module: ({ name }) => name,
  height: ({ height }) => height,
  median: ({ cpuUs }) => Math.round(cpuUs),
  spread: ({ low, high }) => `${Math.round(low)}..${Math.round(high)}`,
  arrived: ({ arrived }) => `${Math.round(arrived * 100)} %`,
});
mkdirSync(results, { recursive: true });
writeFileSync(path.join(results, 'results.json'), JSON.stringify(measured, null, 2));
writeFileSync(path.join(results, 'results.svg'), chart(measured.rows));
console.log(`\nWritten: ${path.relative(root, results)}/results.json and results.svg`);
