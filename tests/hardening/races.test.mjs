// Eight threads of the engine against everything that script can take away from them. The build
// with the thread sanitizer is the one that looks; the others check that nothing breaks.
import assert from 'node:assert/strict';
import test from 'node:test';
import { fileURLToPath } from 'node:url';
import { isSanitized, rounds, seconds } from './support/measure.mjs';
import { howItEnded, runScript } from './support/process.mjs';

const player = fileURLToPath(new URL('races/play.mjs', import.meta.url));

for (const kind of ['listeners', 'bindings', 'polls', 'unInit', 'destroy']) {
  test(`eight engine threads against ${kind}`, { timeout: seconds(900) }, async t => {
    const result = await runScript(player, [kind, rounds(isSanitized ? 200 : 400, 10000)],
      { timeoutMs: seconds(800) });
    assert.equal(result.code, 0, howItEnded(result));
    const { late, left, callbacks } = result.report;
    t.diagnostic(`${callbacks} callbacks`);
    assert.equal(late, 0, 'callbacks after destroyConfEngine had returned');
    assert.equal(left, 0, 'objects left in the engine library');
  });
}
