// Random calls, the same ones each time. Longer runs: fuzz_calls.mjs.
import assert from 'node:assert/strict';
import test from 'node:test';
import { programOf, runProgram } from './calls/run.mjs';
import { seconds } from './support/measure.mjs';

const kPrograms = 8;
const kCalls = 2500;

for (let seed = 1; seed <= kPrograms; seed++) {
  const threads = programOf(seed, kCalls).threads.length;
  test(`random calls, seed ${seed}, ${threads} thread(s)`, { timeout: seconds(200) }, async () => {
    const { failure, details, calls } = await runProgram(programOf(seed, kCalls));
    assert.equal(failure, null, `${details}\nrun: node tests/hardening/fuzz_calls.mjs ` +
      `--seed ${seed} --calls 1 --per-process ${kCalls}`);
    assert.ok(calls > 0);
  });
}
