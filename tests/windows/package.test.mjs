// The package as npm packs it, unpacked and loaded: by this system's Node, and by the Windows one
// under Wine.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test, { after } from 'node:test';

import { root } from '../../tools/setup.mjs';
import { runNode, windowsPath } from '../../tools/wine.mjs';

const moduleFile = 'KavrinConferenceNodeExt.node';
const engineFile = 'KavrinConferenceEngine.dll';
const scripted = path.join(root, 'build', 'windows', 'scripted');

const work = fs.mkdtempSync(path.join(os.tmpdir(), 'kavrin-package-'));
after(() => fs.rmSync(work, { recursive: true }));

// A project that has the package installed.
function install() {
  const environment = { ...process.env, NODE_TEST_CONTEXT: '' };
  execFileSync('npm', ['pack', '--pack-destination', work], { cwd: root, env: environment, stdio: 'pipe' });
  const [archive] = fs.readdirSync(work).filter(name => name.endsWith('.tgz'));
  execFileSync('tar', ['-xzf', archive], { cwd: work });
  const home = path.join(work, 'node_modules', 'kavrin-conference-node-ext');
  fs.mkdirSync(path.dirname(home));
  fs.renameSync(path.join(work, 'package'), home);
  return home;
}

const home = install();
const inPrebuild = (platform, name) => path.join(home, 'prebuilds', platform, name);

fs.writeFileSync(path.join(work, 'required.cjs'), `
  const addon = require('kavrin-conference-node-ext');
  const handle = addon.createConfEngine();
  console.log(addon.execFun(handle, 'GetSDKVersion', []), Object.keys(addon).length);
  addon.destroyConfEngine(handle);
`);
fs.writeFileSync(path.join(work, 'imported.mjs'), `
  import addon, { createConfEngine, destroyConfEngine } from 'kavrin-conference-node-ext';
  destroyConfEngine(createConfEngine());
  console.log(Object.keys(addon).length);
`);
fs.writeFileSync(path.join(work, 'failing.cjs'), `
  try {
    require('kavrin-conference-node-ext');
    console.log('loaded');
  } catch (error) {
    console.log(JSON.stringify({ code: error.code, message: error.message }));
  }
`);

const onWindows = script => runNode([windowsPath(path.join(work, script))], { cwd: work });
const onLinux = script => execFileSync(process.execPath, [path.join(work, script)], { encoding: 'utf8' });

test('the package holds the module of every platform, and nothing of the build', () => {
  assert.deepEqual(fs.readdirSync(path.join(home, 'prebuilds')).sort(), ['linux-x64', 'win32-x64']);
  assert.deepEqual(fs.readdirSync(path.join(home, 'prebuilds', 'linux-x64')).sort(),
    [moduleFile, 'libKavrinConferenceEngine.so']);
  assert.deepEqual(fs.readdirSync(path.join(home, 'prebuilds', 'win32-x64')), [moduleFile]);
  assert.equal(fs.existsSync(path.join(root, 'prebuilds')), false);
});

test('on Linux the package loads, required and imported', () => {
  assert.equal(onLinux('required.cjs'), '-1 8\n');
  assert.equal(onLinux('imported.mjs'), '8\n');
});

test('on Linux a missing engine library is named', () => {
  const engine = inPrebuild('linux-x64', 'libKavrinConferenceEngine.so');
  fs.renameSync(engine, `${engine}.away`);
  const { code, message } = JSON.parse(onLinux('failing.cjs'));
  fs.renameSync(`${engine}.away`, engine);
  assert.equal(code, 'ERR_DLOPEN_FAILED');
  assert.equal(message, `Cannot load ${inPrebuild('linux-x64', moduleFile)}: ` +
    'library not found: libKavrinConferenceEngine.so');
});

test('on Windows a missing engine library is named', async () => {
  const { stdout, stderr } = await onWindows('failing.cjs');
  assert.equal(stderr, '');
  const { code, message } = JSON.parse(stdout);
  assert.equal(code, 'ERR_DLOPEN_FAILED');
  assert.equal(message, `Cannot load ${windowsPath(inPrebuild('win32-x64', moduleFile))}: ` +
    `library not found: ${engineFile} (needed by ${moduleFile})`);
});

test('on Windows the package loads with the engine library beside the module', async () => {
  fs.copyFileSync(path.join(scripted, engineFile), inPrebuild('win32-x64', engineFile));
  for (const [script, expected] of [['required.cjs', '-1 8\n'], ['imported.mjs', '8\n']]) {
    const { code, stdout, stderr } = await onWindows(script);
    assert.deepEqual({ code, stdout, stderr }, { code: 0, stdout: expected, stderr: '' });
  }
});

test('on Windows a library that the engine misses is named', async () => {
  const engine = fs.readFileSync(path.join(scripted, engineFile));
  const imported = Buffer.from('msvcrt.dll\0');
  const at = engine.indexOf(imported);
  engine.write('absent.dll', at, 'latin1');
  fs.writeFileSync(inPrebuild('win32-x64', engineFile), engine);
  const { message } = JSON.parse((await onWindows('failing.cjs')).stdout);
  assert.ok(message.endsWith(`library not found: absent.dll (needed by ${engineFile})`), message);
});

test('a platform without a module is told, with the places looked at', async () => {
  fs.rmSync(inPrebuild('win32-x64', moduleFile));
  const { code, message } = JSON.parse((await onWindows('failing.cjs')).stdout);
  assert.equal(code, 'MODULE_NOT_FOUND');
  assert.match(message, /^There is no module for win32-x64; looked for:\n {2}Z:\\.*\\prebuilds\\win32-x64\\KavrinConferenceNodeExt\.node\n {2}Z:\\/);
});
