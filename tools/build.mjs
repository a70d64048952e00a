// Configures and builds one preset: node tools/build.mjs [preset]
import { existsSync, readFileSync } from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { root, run, setUp } from './setup.mjs';

function isConfigured(preset, withTests) {
  const cache = path.join(root, 'build', preset, 'CMakeCache.txt');
  if (!existsSync(cache)) return false;
  const built = readFileSync(cache, 'utf8').includes('KAVRIN_BUILD_TESTS:BOOL=ON');
  return built || !withTests;
}

/**
 * Builds `preset` into build/<preset>; with `withTests`, the test programs too, with `targets`, those
 * alone.
 */
export function build(preset, { withTests = false, targets = [] } = {}) {
  const quiet = { stdio: ['ignore', 'ignore', 'inherit'] };
  if (!isConfigured(preset, withTests)) {
    console.log(`Configuring ${preset} …`);
    run('cmake', ['--preset', preset, `-DKAVRIN_BUILD_TESTS=${withTests ? 'ON' : 'OFF'}`], quiet);
  }
  console.log(`Building ${preset} …`);
  const wanted = targets.length > 0 ? ['--target', ...targets] : [];
  run('cmake', ['--build', '--preset', preset, ...wanted], process.env.CI ? quiet : {});
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const preset = process.argv[2] ?? 'release';
  setUp({ forTests: preset !== 'release' });
  build(preset, { withTests: preset !== 'release' });
}
