// npm pack: puts the module for every platform into prebuilds/, stripped of what only debuggers
// need. node tools/pack.mjs --clean removes them again.
import { cpSync, mkdirSync, readdirSync, rmSync } from 'node:fs';
import path from 'node:path';

import { build } from './build.mjs';
import { root, run, setUp } from './setup.mjs';

const prebuilds = path.join(root, 'prebuilds');

// Our own engine library goes along where there is one; on Windows the engine is its maker's.
const platforms = [
  {
    name: 'linux-x64', preset: 'release', strip: 'strip',
    targets: ['KavrinConferenceNodeExt', 'KavrinConferenceEngine'],
  },
  {
    name: 'win32-x64', preset: 'windows', strip: 'x86_64-w64-mingw32-strip',
    targets: ['KavrinConferenceNodeExt'],
  },
];

function collect({ name, preset, strip, targets }) {
  build(preset, { targets });
  const from = path.join(root, 'build', preset, 'dist');
  const to = path.join(prebuilds, name);
  mkdirSync(to, { recursive: true });
  for (const file of readdirSync(from).filter((entry) => /\.(node|so)$/.test(entry))) {
    cpSync(path.join(from, file), path.join(to, file), { dereference: true });
    run(strip, ['--strip-unneeded', path.join(to, file)]);
  }
}

rmSync(prebuilds, { recursive: true, force: true });
if (!process.argv.includes('--clean')) {
  setUp({ forWindows: true });
  platforms.forEach(collect);
}
