// Plays sequences of calls in this process: node player.mjs <program file>
//
// A program is {seed, lines: [...]} or {seed, count} for each of its threads: the first thread is
// the main one, the others are workers. Prints a JSON summary to the file KAVRIN_REPORT; exits with
// code 3 when a rule was broken.
import fs from 'node:fs';
import { fileURLToPath } from 'node:url';
import { isMainThread, parentPort, Worker, workerData } from 'node:worker_threads';
import { Generator } from './generator.mjs';
import * as stage from './stage.mjs';

const kTidyEvery = 400;
const names = Object.keys(stage);
const values = names.map(name => stage[name]);

function linesOf({ seed, count, lines }, alone) {
  return lines ?? new Generator(seed, { alone }).lines(count);
}

const AsyncFunction = Object.getPrototypeOf(async () => {}).constructor;

async function play(lines) {
  for (const [index, line] of lines.entries()) {
    const Kind = line.startsWith('await') ? AsyncFunction : Function;
    const step = new Kind(...names, line);
    try {
      await step(...values);
    } catch (error) {
      stage.judge(error);
    }
    if (index % kTidyEvery === kTidyEvery - 1) stage.tidy();
  }
}

function takeExceptions() {
  process.on('uncaughtException', stage.judge);
  process.on('unhandledRejection', stage.judge);
  process.removeAllListeners('warning');
}

// A worker that plays `thread`; the promise tells its failures when it has ended.
function startWorker(thread, numbers) {
  const worker = new Worker(fileURLToPath(import.meta.url), { workerData: { thread, numbers } });
  let summary = { calls: 0, failedStarts: 0, failures: [] };
  worker.on('message', message => { summary = message; });
  worker.on('error', error => summary.failures.push(`a worker failed: ${error.stack}`));
  const ended = new Promise(resolve => worker.on('exit', () => resolve()));
  return {
    async end() {
      if (thread.terminate) await worker.terminate();
      await ended;
      // What a terminated thread did last is not known.
      return thread.terminate ? { ...summary, failedStarts: Infinity } : summary;
    },
  };
}

// With all handles gone, the engine library holds nothing of the module's.
function checkEngines() {
  stage.engine.reset();
  const { engines, ...records } = stage.engine.live();
  const left = Object.entries(records).filter(([, count]) => count !== 0);
  if (engines > stage.progress.failedStarts) left.push(['engines', engines]);
  if (left.length) stage.fail(`left in the engine library: ${left.join('; ')}`);
}

const summaryOf = () => ({ ...stage.progress, failures: stage.failures() });

async function playMain(program) {
  const [main, ...others] = program.threads;
  const numbers = new SharedArrayBuffer(64);
  stage.shareNumbers(numbers);
  const workers = others.map(thread => startWorker(thread, numbers));
  await play(linesOf(main, others.length === 0));
  const summaries = await Promise.all(workers.map(worker => worker.end()));
  if (!main.leaveHandles) stage.finish();
  await stage.turn(3);
  for (const { calls, failedStarts, failures } of summaries) {
    stage.progress.calls += calls;
    stage.progress.failedStarts += failedStarts;
    failures.forEach(stage.fail);
  }
  if (!main.leaveHandles) checkEngines();
  fs.writeFileSync(process.env.KAVRIN_REPORT, JSON.stringify(summaryOf()));
  if (stage.failures().length) process.exit(3);
  // Without live handles nothing keeps a process from ending by itself.
  if (main.leaveHandles) process.exit(0);
}

async function playWorker({ thread, numbers }) {
  stage.shareNumbers(numbers);
  const report = setInterval(() => parentPort.postMessage(summaryOf()), 50);
  await play(linesOf(thread, false));
  clearInterval(report);
  parentPort.postMessage(summaryOf());
  // Some environments end with live handles.
  if (!thread.leaveHandles) stage.finish();
  await stage.turn(2);
  process.exit(0);
}

takeExceptions();
if (isMainThread) {
  await playMain(JSON.parse(fs.readFileSync(process.argv[2], 'utf8')));
} else {
  await playWorker(workerData);
}
