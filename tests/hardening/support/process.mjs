// Runs a script of ours in a process of its own.
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { newFolder } from '../../script/support/workspace.mjs';

// {code, signal, stderr, timedOut, report, endedAt} of `node [flags] file ...given`.
export function runScript(file, given = [], { env = {}, flags = [], timeoutMs = 120000 } = {}) {
  const folder = newFolder('process');
  const reportFile = path.join(folder, 'report.json');
  const childEnv = { ...process.env, NODE_OPTIONS: '', TMPDIR: folder, KAVRIN_REPORT: reportFile, ...env };
  delete childEnv.NODE_TEST_CONTEXT;
  delete childEnv.KAVRIN_TEST_WORKSPACE;
  return new Promise((resolve, reject) => {
    const child = spawn(process.execPath, [...flags, file, ...given.map(String)],
      { env: childEnv, stdio: ['ignore', 'ignore', 'pipe'] });
    const result = { stderr: '', timedOut: false };
    child.stderr.on('data', data => { result.stderr = (result.stderr + data).slice(-20000); });
    const timer = setTimeout(() => {
      result.timedOut = true;
      child.kill('SIGKILL');
    }, timeoutMs);
    child.on('exit', () => { result.endedAt = Date.now(); });
    child.on('error', reject);
    child.on('close', (code, signal) => {
      clearTimeout(timer);
      const report = fs.existsSync(reportFile) ? JSON.parse(fs.readFileSync(reportFile, 'utf8')) : null;
      fs.rmSync(folder, { recursive: true, force: true });
      resolve({ ...result, code, signal, report });
    });
  });
}

export function howItEnded({ timedOut, code, signal, stderr }) {
  return `${timedOut ? 'it did not end' : `it ended with ${signal ?? code}`}\n${stderr}`;
}
