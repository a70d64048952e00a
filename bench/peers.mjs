// The frame path beside that of other modules, which are installed below build/ for it.
import { spawnSync } from 'node:child_process';
import { copyFileSync, existsSync, mkdirSync } from 'node:fs';
import path from 'node:path';

import { root, run } from '../tools/setup.mjs';

const folder = path.join(root, 'build', 'bench', 'peers');
const rounds = 5;
const modules = ['nothing', 'ours', '@roamhq/wrtc', '@livekit/rtc-node'];
const sizes = [[1280, 720], [1920, 1080]];

function install() {
  if (existsSync(path.join(folder, 'node_modules', '@roamhq'))) return;
  mkdirSync(folder, { recursive: true });
  for (const name of ['package.json', 'package-lock.json']) {
    copyFileSync(path.join(root, 'bench', 'peers', name), path.join(folder, name));
  }
  run('npm', ['ci', '--no-audit', '--no-fund', '--prefix', folder]);
}

function measureOnce(name, [width, height]) {
  const script = path.join(root, 'bench', 'peers', 'measure.mjs');
  const result = spawnSync(process.execPath, [script, name, width, height, folder], {
    encoding: 'utf8', stdio: ['ignore', 'ignore', 'pipe'], timeout: 120_000,
  });
  const report = /^\[\{.*\}\]$/m.exec(result.stderr);
  if (!report) throw new Error(`${name} failed:\n${result.stderr}`);
  return JSON.parse(report[0])[0];
}

function summary(name, height, turns) {
  const costs = turns.map(({ cpuUs }) => cpuUs).sort((a, b) => a - b);
  const arrived = turns.reduce((sum, turn) => sum + turn.arrived / turn.sent, 0) / turns.length;
  return { name, height, cpuUs: costs[rounds >> 1], low: costs[0], high: costs.at(-1), arrived };
}

/** Processor time per picture, {name, height, cpuUs, low, high, arrived} for each module and size. */
export function comparePeers() {
  install();
  return sizes.flatMap((size) => {
    const turns = Array.from({ length: rounds }, () => modules.map((name) => measureOnce(name, size)));
    return modules.map((name, index) => summary(name, size[1], turns.map((turn) => turn[index])));
  });
}
