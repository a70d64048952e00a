// Engines, listeners, environments and processes that begin and end, again and again, with
// everything in flight, on both engine libraries. KAVRIN_LONG=1 plays 1,000 rounds of each.
import assert from 'node:assert/strict';
import test from 'node:test';
import { fileURLToPath } from 'node:url';
import { kTeardownLimitMs, isLong, isSanitized, rounds, seconds } from './support/measure.mjs';
import { howItEnded, runScript } from './support/process.mjs';

const player = fileURLToPath(new URL('life/play.mjs', import.meta.url));
const exiter = fileURLToPath(new URL('life/exit.mjs', import.meta.url));

const bounded = isSanitized
  ? { conference: 15, listeners: 60, unheard: 10, workers: 5, twoEnvironments: 8 }
  : { conference: 30, listeners: 200, unheard: 30, workers: 12, twoEnvironments: 15 };

const limit = seconds(isLong ? 1800 : 170);

for (const library of ['scripted', 'real']) {
  for (const [kind, count] of Object.entries(bounded)) {
    test(`${kind} on the ${library} engine`, { timeout: limit }, async t => {
      const wanted = rounds(count, 1000);
      const result = await runScript(player, [kind, wanted],
        { env: { KAVRIN_LIBRARY: library }, flags: ['--expose-gc'], timeoutMs: limit - 10000 });
      assert.equal(result.code, 0, howItEnded(result));
      const { report } = result;
      t.diagnostic(`${report.rounds} rounds, ${report.teardowns} teardowns, the slowest ` +
        `${Math.round(report.slowestMs)} ms, ${report.callbacks} callbacks`);
      assert.equal(report.rounds, wanted);
      assert.equal(report.late, 0, 'callbacks after destroyConfEngine had returned');
      assert.equal(report.leftOver, 0, 'objects left in the engine library');
      assert.ok(report.slowestMs < kTeardownLimitMs, `a teardown took ${report.slowestMs} ms`);
      if (isLong && !isSanitized) assertFlat(report.memory);
    });
  }
}

// The first half of a run fills pools and caches; the second must not add to them for ever. Single
// figures say little: they depend on when the script machine last cleaned up.
function assertFlat(memory) {
  const quarter = Math.floor(memory.length / 4);
  assert.ok(quarter >= 5, 'memory was measured');
  const [before, after] = [memory.slice(2 * quarter, 3 * quarter), memory.slice(3 * quarter)];
  const grown = (Math.min(...after) - Math.min(...before)) / 1e6;
  assert.ok(grown < 40, `${grown.toFixed(1)} MB more in the last quarter than in the one before`);
}

const ways = { exit: [0], exitInCallback: [0], uncaught: [1], rejected: [1], natural: [0],
  abandoned: [0] };

// The check for leaks takes seconds at the end of a process, so a bounded run has fewer of them.
const costly = ['exitInCallback', 'rejected'];
const skipped = way => isSanitized && !isLong && costly.includes(way);

for (const library of ['scripted', 'real']) {
  for (const [way, codes] of Object.entries(ways).filter(([name]) => !skipped(name))) {
    test(`a process on the ${library} engine ends by "${way}"`, { timeout: limit }, async () => {
      for (let round = 0; round < rounds(isSanitized ? 1 : 3, 100); round++) {
        const delay = Math.floor(Math.random() * 60);
        const result = await runScript(exiter, [way, delay],
          { env: { KAVRIN_LIBRARY: library }, timeoutMs: 60000 });
        assert.ok(codes.includes(result.code), `after ${delay} ms ${howItEnded(result)}`);
        // The check for leaks, at the end of the process, takes its time.
        const ms = result.endedAt - result.report.at;
        if (!isSanitized) assert.ok(ms < kTeardownLimitMs, `the end took ${ms} ms`);
      }
    });
  }
}

const exitWhileLoading = 'a process that ended while plug-ins were being loaded aborted';
test(exitWhileLoading, { timeout: limit }, async () => {
  for (const delay of [0, 3, 5, 8, 11]) {
    const result = await runScript(exiter, ['exit', delay],
      { env: { KAVRIN_LIBRARY: 'real' }, timeoutMs: 60000 });
    assert.equal(result.code, 0, `after ${delay} ms ${howItEnded(result)}`);
  }
});
