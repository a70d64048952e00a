// Eight threads of the engine against everything that script can take away from them. The build
// with the thread sanitizer is the one that looks; the others check that nothing breaks.
import assert from 'node:assert/strict';
import test from 'node:test';
import { fileURLToPath } from 'node:url';
import { isLong, isSanitized, rounds, seconds } from './support/measure.mjs';
import { howItEnded, runScript } from './support/process.mjs';

const player = fileURLToPath(new URL('races/play.mjs', import.meta.url));

const limit = seconds(isLong ? 1800 : 120);

// What must have come through, lest a race that nobody runs passes for one that nobody loses.
const kinds = {
  listeners: ['callbacks', 'answers'],
  bindings: ['pictures'],
  polls: ['events', 'answers'],
  log: ['events'],
  logins: ['answers'],
  unInit: ['events', 'callbacks'],
  destroy: ['events', 'pictures', 'callbacks'],
  environments: [],
};

for (const [kind, evidence] of Object.entries(kinds)) {
  test(`eight engine threads against ${kind}`, { timeout: limit }, async t => {
    const result = await runScript(player, [kind, rounds(isSanitized ? 300 : 500, 10000)],
      { timeoutMs: limit - seconds(10) });
    assert.equal(result.code, 0, howItEnded(result));
    const { report } = result;
    const { late, left, twice } = report;
    t.diagnostic(evidence.map(what => `${report[what]} ${what}`).join(', '));
    for (const what of evidence) assert.ok(report[what] > 0, `no ${what}`);
    assert.equal(late, 0, 'callbacks after destroyConfEngine had returned');
    assert.equal(twice, 0, 'completions that were delivered again');
    assert.equal(left, 0, 'objects left in the engine library');
  });
}
