// Plays rounds of one kind in this process: node play.mjs <kind> <rounds>
//
// The kinds are those of rounds.mjs, and "workers": environments that are started and terminated,
// and "twoEnvironments". Writes a summary to KAVRIN_REPORT. As no handle is left, the process must
// end by itself.
import fs from 'node:fs';
import { fileURLToPath } from 'node:url';
import { Worker } from 'node:worker_threads';
import { below, leftOver, seen, sleep } from './participant.mjs';
import * as kinds from './rounds.mjs';

const workerFile = fileURLToPath(new URL('worker.mjs', import.meta.url));

const [kind, count] = [process.argv[2], Number(process.argv[3])];

function startWorker(data) {
  const worker = new Worker(workerFile, { workerData: data });
  const state = { worker, last: null };
  state.exited = new Promise(resolve => worker.once('exit', resolve));
  state.ready = new Promise((resolve, reject) => {
    worker.once('error', reject);
    worker.on('message', message => {
      state.last = message;
      resolve();
    });
  });
  return state;
}

function add(other) {
  seen.callbacks += other.callbacks;
  seen.late += other.late;
  seen.teardowns += other.teardowns;
  seen.slowestMs = Math.max(seen.slowestMs, other.slowestMs);
}

// Starts an environment, lets it live, and terminates it with everything in flight.
async function workers() {
  const state = startWorker({ kind: 'conference', rounds: Infinity });
  await state.ready;
  await sleep(below(40));
  const start = performance.now();
  await state.worker.terminate();
  const ms = performance.now() - start;
  add({ callbacks: 0, late: state.last.late, teardowns: 1, slowestMs: ms });
}

// This environment and another one hold conferences at the same time.
async function twoEnvironments() {
  const other = startWorker({ kind: 'meeting', rounds: count });
  const memory = await playRounds(kinds.meeting);
  await other.exited;
  add(other.last);
  return memory;
}

// Returns what memory the process had, about twenty times on the way.
async function playRounds(one) {
  const memory = [];
  for (let round = 0; round < count; round++) {
    await one(round);
    if (round % Math.max(1, Math.floor(count / 20)) === 0) {
      globalThis.gc?.();
      memory.push(process.memoryUsage.rss());
    }
  }
  return memory;
}

async function play() {
  const players = { twoEnvironments, workers: () => playRounds(workers) };
  const memory = await (players[kind] ?? (() => playRounds(kinds[kind])))();
  kinds.finish();
  // Whatever was on its way may arrive now.
  await sleep(20);
  fs.writeFileSync(process.env.KAVRIN_REPORT,
    JSON.stringify({ ...seen, rounds: count, leftOver: leftOver(), memory }));
}

await play();
