// Runs a script in a process of its own, with a time limit, and tells how it ended.
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { pathToFileURL } from 'node:url';
import { distDir, moduleFile, projectDir, scriptedDir } from './paths.mjs';
import { newFolder } from './workspace.mjs';

// Where child scripts and workers import these support files from.
export const supportUrl = name =>
  pathToFileURL(path.join(projectDir, 'tests/script/support', name)).href;

// What a child script finds at its top. `report(value)` sends a value to the parent.
const scriptedPrelude = `
  import fs from 'node:fs';
  import path from 'node:path';
  import { setTimeout as sleep } from 'node:timers/promises';
  import { addon, asCommand, engine, externalAt, pointerOf, room, settle, until }
    from '${supportUrl('scripted.mjs')}';
  import { Session, log, logRoot } from '${supportUrl('session.mjs')}';
  const report = value => fs.writeFileSync(process.env.KAVRIN_REPORT, JSON.stringify(value));
`;

const realPrelude = `
  import fs from 'node:fs';
  import path from 'node:path';
  import { createRequire } from 'node:module';
  import { setTimeout as sleep } from 'node:timers/promises';
  const addon = createRequire(import.meta.url)(process.env.KAVRIN_MODULE);
  const report = value => fs.writeFileSync(process.env.KAVRIN_REPORT, JSON.stringify(value));
`;

// {code, signal, stdout, stderr, report, timedOut} of a script run by Node.
// options: node (the binary), flags, env, timeoutMs, real (the real engine, not the scripted one)
export function runChild(source, options = {}) {
  const { node = process.execPath, flags = [], env = {}, timeoutMs = 60000, real = false } = options;
  const folder = newFolder('child');
  const script = path.join(folder, 'script.mjs');
  const reportFile = path.join(folder, 'report.json');
  fs.writeFileSync(script, (real ? realPrelude : scriptedPrelude) + source);
  const childEnv = {
    ...process.env,
    NODE_OPTIONS: '',
    TMPDIR: folder,
    TEMP: folder,
    TMP: folder,
    KAVRIN_REPORT: reportFile,
    KAVRIN_MODULE: path.join(real ? distDir : scriptedDir, moduleFile),
    ...env,
  };
  delete childEnv.NODE_TEST_CONTEXT;
  delete childEnv.KAVRIN_TEST_WORKSPACE;
  return new Promise((resolve, reject) => {
    const child = spawn(node, [...flags, script], { env: childEnv, stdio: ['ignore', 'pipe', 'pipe'] });
    const result = { stdout: '', stderr: '', timedOut: false };
    child.stdout.on('data', data => (result.stdout += data));
    child.stderr.on('data', data => (result.stderr += data));
    const timer = setTimeout(() => {
      result.timedOut = true;
      child.kill('SIGKILL');
    }, timeoutMs);
    child.on('error', reject);
    child.on('close', (code, signal) => {
      clearTimeout(timer);
      const report = fs.existsSync(reportFile)
        ? JSON.parse(fs.readFileSync(reportFile, 'utf8'))
        : undefined;
      resolve({ ...result, code, signal, report });
    });
  });
}

// The same, for a script that must end by itself with exit code 0; returns its result.
export async function runChildWell(source, options) {
  const result = await runChild(source, options);
  if (result.code !== 0) {
    const how = result.timedOut ? 'did not end in time' : `ended with ${result.code ?? result.signal}`;
    throw new Error(`the script ${how}\n${result.stderr}`);
  }
  return result;
}
