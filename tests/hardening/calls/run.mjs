// Runs programs of calls in processes of their own and tells how they ended.
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { buildDir } from '../../script/support/paths.mjs';
import { sanitizerEnvironment, sanitizerReports } from '../../script/support/sanitizers.mjs';
import { Random } from './random.mjs';

const player = fileURLToPath(new URL('player.mjs', import.meta.url));
const node = process.env.KAVRIN_NODE ?? process.execPath;
const kTimeLimitMs = 180000;

// The threads that play for a seed: a third of the programs have the process for themselves.
export function programOf(seed, count) {
  const random = new Random(seed ^ 0x5eed);
  const workers = random.below(3);
  const share = Math.ceil(count / (workers + 1));
  const threads = Array.from({ length: workers + 1 }, (_, index) => ({
    seed: (seed * 31 + index) >>> 0,
    count: share,
    leaveHandles: random.chance(0.4),
    terminate: index > 0 && random.chance(0.4),
  }));
  return { threads };
}

function environment(folder) {
  const env = {
    ...process.env,
    NODE_OPTIONS: '',
    KAVRIN_BUILD: buildDir,
    KAVRIN_REPORT: path.join(folder, 'summary.json'),
    TMPDIR: folder,
    ...sanitizerEnvironment(buildDir, path.join(folder, 'sanitizer')),
  };
  delete env.NODE_TEST_CONTEXT;
  delete env.KAVRIN_TEST_WORKSPACE;
  return env;
}

function ended(child, limitMs) {
  return new Promise((resolve, reject) => {
    const result = { stderr: '', timedOut: false };
    child.stderr.on('data', data => { result.stderr = (result.stderr + data).slice(-20000); });
    const timer = setTimeout(() => {
      result.timedOut = true;
      child.kill('SIGKILL');
    }, limitMs);
    child.on('error', reject);
    child.on('close', (code, signal) => {
      clearTimeout(timer);
      resolve({ ...result, code, signal });
    });
  });
}

function reportsIn(folder) {
  const reports = fs.mkdtempSync(path.join(folder, 'reports-'));
  for (const name of fs.readdirSync(folder).filter(each => each.startsWith('sanitizer'))) {
    fs.renameSync(path.join(folder, name), path.join(reports, name));
  }
  return sanitizerReports(reports);
}

function howItFailed({ timedOut, code, signal }, reports) {
  if (timedOut) return 'it did not end';
  if (signal) return `it was ended by ${signal}`;
  if (code !== 0) return `it ended with code ${code}`;
  return reports.length ? 'the sanitizers complained' : null;
}

// {calls, failure, details}; failure is null when all went well.
export async function runProgram(program, { limitMs = kTimeLimitMs } = {}) {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'kavrin-calls-'));
  try {
    const file = path.join(folder, 'program.json');
    fs.writeFileSync(file, JSON.stringify(program));
    const options = { env: environment(folder), stdio: ['ignore', 'ignore', 'pipe'] };
    const result = await ended(spawn(node, ['--expose-gc', player, file], options), limitMs);
    const summaryFile = path.join(folder, 'summary.json');
    const summary = fs.existsSync(summaryFile) ? JSON.parse(fs.readFileSync(summaryFile)) : {};
    const reports = reportsIn(folder);
    return {
      calls: summary.calls ?? 0,
      failure: howItFailed(result, reports),
      details: [...(summary.failures ?? []), result.stderr, ...reports].join('\n').trim(),
    };
  } finally {
    fs.rmSync(folder, { recursive: true, force: true });
  }
}
