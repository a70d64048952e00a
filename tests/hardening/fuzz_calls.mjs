// Drives random calls of the module's functions against the scripted engine:
//
//   node tests/hardening/fuzz_calls.mjs [--build build/asan] [--calls 1000000] [--seed 1]
//                                       [--per-process 3000] [--jobs 2] [--no-shrink]
//   node tests/hardening/fuzz_calls.mjs --replay program.json
//
// Each seed plays in a process of its own, on one to three threads. A seed that fails is run again
// with fewer and fewer lines; the shortest script that still fails is printed and saved, with its
// program beside it for --replay.
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../..');

const { values: options } = parseArgs({
  options: {
    build: { type: 'string', default: process.env.KAVRIN_BUILD ?? 'build/asan' },
    calls: { type: 'string', default: '1000000' },
    seed: { type: 'string', default: '1' },
    'per-process': { type: 'string', default: '3000' },
    jobs: { type: 'string', default: '2' },
    'shrink-seconds': { type: 'string', default: '60' },
    'no-shrink': { type: 'boolean', default: false },
    replay: { type: 'string' },
  },
});
process.env.KAVRIN_BUILD = path.resolve(root, options.build);

const { programOf, runProgram } = await import('./calls/run.mjs');
const { asScript, shrink } = await import('./calls/shrink.mjs');

async function report(seed, program, { failure, details }) {
  console.error(`\nseed ${seed} failed: ${failure}\n${details.slice(0, 6000)}`);
  if (options['no-shrink']) return;
  console.error('making it shorter …');
  const short = await shrink(program, Number(options['shrink-seconds']) * 1000);
  if (!short) {
    console.error(`It did not fail again. Try: --seed ${seed} --calls 1`);
    return;
  }
  const folder = path.join(root, 'out', 'fuzz');
  fs.mkdirSync(folder, { recursive: true });
  const base = path.join(folder, `seed-${seed}`);
  fs.writeFileSync(`${base}.json`, JSON.stringify(short, null, 1));
  fs.writeFileSync(`${base}.txt`, asScript(short));
  console.error(`\n${asScript(short)}\nreplay: node tests/hardening/fuzz_calls.mjs ` +
    `--build ${options.build} --replay ${path.relative(root, base)}.json`);
}

async function replay(file) {
  const result = await runProgram(JSON.parse(fs.readFileSync(file, 'utf8')));
  console.log(result.failure ? `${result.failure}\n${result.details}` : 'nothing went wrong');
  return result.failure ? 1 : 0;
}

async function campaign() {
  const wanted = Number(options.calls);
  const perProcess = Number(options['per-process']);
  let seed = Number(options.seed);
  let calls = 0;
  let failed = 0;
  let processes = 0;
  let told = Date.now();
  const work = async () => {
    while (calls < wanted && failed < 5) {
      const own = seed++;
      const program = programOf(own, perProcess);
      const result = await runProgram(program);
      calls += result.calls;
      processes += 1;
      if (result.failure) {
        failed += 1;
        await report(own, program, result);
      }
      if (Date.now() - told > 10000) {
        told = Date.now();
        console.log(`${calls} calls in ${processes} processes, ${failed} failed`);
      }
    }
  };
  await Promise.all(Array.from({ length: Number(options.jobs) }, work));
  console.log(`${calls} calls in ${processes} processes, seeds ${options.seed} to ${seed - 1}, ` +
    `${failed} failed`);
  return failed === 0 ? 0 : 1;
}

process.exitCode = options.replay ? await replay(options.replay) : await campaign();
