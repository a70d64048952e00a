// What is measured inside the module, by programs of the build: rows beside their floors, growth with
// the number of engine threads, allocations, and how long the mutexes are held.
import { spawnSync } from 'node:child_process';
import path from 'node:path';

import { root } from '../tools/setup.mjs';
import { median, summary } from './measure.mjs';

const folder = path.join(root, 'build', 'release', 'bench', 'inside');
const rounds = 31; // several threads on few processors vary much

function run(program, args = []) {
  const result = spawnSync(path.join(folder, program), args, { encoding: 'utf8', maxBuffer: 1 << 24 });
  if (result.status !== 0) throw new Error(`${program} failed:\n${result.stderr}`);
  return JSON.parse(result.stdout);
}

const benchmarks = (filter, options = []) =>
  run('module_benchmark', [`--benchmark_filter=${filter}`, '--benchmark_format=json', ...options]).benchmarks;

// Both sides in random order; the first repetition of each warms memory up.
function eventRounds() {
  const turns = new Map();
  const options = [`--benchmark_repetitions=${rounds + 1}`, '--benchmark_enable_random_interleaving=true'];
  const sides = new Map();
  for (const { name, threads, real_time: ns, run_type: type } of benchmarks('^event/', options)) {
    if (type !== 'iteration') continue;
    const key = `${name.split('/')[1]} ${threads}`;
    sides.set(key, [...(sides.get(key) ?? []), ns]);
    turns.set(threads, []);
  }
  for (const threads of turns.keys()) {
    const [ours, floor] = ['ours', 'floor'].map((side) => sides.get(`${side} ${threads}`).slice(1));
    turns.set(threads, ours.map((ns, round) => ({ ours: ns, floor: floor[round] })));
  }
  return turns;
}

/** Rows and growth of an event's way from the sink's callback to the queue. */
export function events() {
  const rows = [...eventRounds()].map(([threads, turns]) => summary({
    name: `event, callback to queue, ${threads} thread${threads > 1 ? 's' : ''}`, limit: threads === 1 || threads === 4 ? 1.3 : null, threads,
  }, turns));
  const growth = rows.sort((a, b) => a.threads - b.threads);
  return { rows: growth.filter(({ limit }) => limit), growth };
}

/** Allocations of one operation each. */
export const allocations = () => benchmarks('.', ['--benchmark_min_time=0.05'])
  .filter(({ name, threads }) => threads === 1 && !name.startsWith('event/floor'))
  .map(({ name, allocations: count }) => ({
    name: name.startsWith('event/') ? 'event, callback to queue' : name, count,
  }));

/**
 * How long each mutex is held, by number of engine threads: the medians of the rounds, and the longest
 * hold and the longest copy of all rounds.
 */
export function lockHolds() {
  const groups = new Map();
  for (const hold of run('lock_holds')) {
    const key = `${hold.mutex} ${hold.threads}`;
    groups.set(key, [...(groups.get(key) ?? []), hold]);
  }
  return [...groups.values()].map((turns) => {
    const all = (field) => turns.map((hold) => hold[field]);
    return {
      mutex: turns[0].mutex, threads: turns[0].threads,
      medianUs: median(all('medianUs')), p999Us: median(all('p999Us')),
      longestUs: median(all('longestUs')), longestCopyUs: median(all('longestCopyUs')),
      worstUs: Math.max(...all('longestUs')), worstCopyUs: Math.max(...all('longestCopyUs')),
    };
  });
}
