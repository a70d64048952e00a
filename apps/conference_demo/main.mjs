// Holds the demo conference in a child process and shows its transcript.
//
// The module writes the body of every log record to standard output, without line ends. So that a
// person can read along, the child's standard output goes to a file and its transcript comes through
// a channel of its own.
import { spawn } from 'node:child_process';
import { closeSync, mkdirSync, openSync, rmSync } from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
const root = path.resolve(here, '..', '..');
const outFolder = path.join(root, 'out');
const longestRunMs = 60_000;

rmSync(outFolder, { recursive: true, force: true });
mkdirSync(outFolder, { recursive: true });
const consoleFile = openSync(path.join(outFolder, 'console.txt'), 'w');

const child = spawn(process.execPath, [path.join(here, 'conference.mjs'), root, outFolder], {
  stdio: ['ignore', consoleFile, 'inherit', 'pipe'],
});
child.stdio[3].on('data', (text) => process.stdout.write(text));
closeSync(consoleFile);

const guard = setTimeout(() => {
  console.error(`The conference did not end within ${longestRunMs / 1000} seconds.`);
  child.kill('SIGKILL');
}, longestRunMs);
child.on('exit', (code, signal) => {
  clearTimeout(guard);
  if (signal) console.error(`The conference ended by ${signal}.`);
  process.exitCode = code ?? 1;
});
