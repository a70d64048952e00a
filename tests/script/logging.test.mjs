// The log file: its place, name and record form, and what reaches standard output.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { runChildWell } from './support/child.mjs';
import { logFiles } from './support/log.mjs';
import { currentThread, engine, room, stdoutText } from './support/scripted.mjs';
import { forget, log, loggedIn, logRoot, newSession } from './support/session.mjs';
import { newFolder } from './support/workspace.mjs';

const facade = 'KavrinNodeConferenceEngine::';

test('the file is in the user folder of the first Init, named by the opening time', async t => {
  const session = await loggedIn(t);
  const relative = path.relative(logRoot, log.file);
  const [userFolder, moduleFolder, name, ...deeper] = relative.split(path.sep);
  assert.deepEqual([userFolder, moduleFolder, deeper], ['_me', 'KavrinConferenceNodeExt', []]);
  assert.match(name, /^KVNodeExt_\d{6}\.\d{1,3}\.log$/);
  const [, clock, milliseconds] = /_(\d{6})\.(\d+)\.log$/.exec(relative);
  assert.equal(String(Number(milliseconds)), milliseconds, 'not padded');
  const opened = fs.statSync(log.file).birthtime;
  const seconds = text => text.slice(0, 2) * 3600 + text.slice(2, 4) * 60 + Number(text.slice(4));
  const expected = opened.getHours() * 3600 + opened.getMinutes() * 60 + opened.getSeconds();
  assert.ok(Math.abs(seconds(clock) - expected) <= 2);
  session.destroy();
});

test('a record is time, thread, source, level and message without a blank between', async t => {
  const session = await loggedIn(t);
  session.call('GetSDKVersion');
  const [line] = log.text().split('\n').filter(text => text.includes('::GetSDKVersion:58]'));
  const [, clock, thread, rest] = /^(.{19})\.\d{1,3} \[(\d+)\](.*)$/.exec(line);
  assert.match(clock, /^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d$/);
  assert.equal(rest, '[:KavrinNodeConferenceEngine::GetSDKVersion:58][DEBUG]' +
    'call node api method GetSDKVersion');
  assert.equal(Number(thread), currentThread(), 'the script thread of the main environment');
});

test('milliseconds are never padded', async t => {
  const session = await loggedIn(t);
  const seen = new Set();
  const deadline = Date.now() + 5000;
  while (Date.now() < deadline && ![...seen].some(text => text.length < 3)) {
    forget();
    for (let i = 0; i < 200; i++) session.json('StopPreview');
    for (const record of log.records()) seen.add(record.milliseconds);
  }
  for (const text of seen) assert.equal(String(Number(text)), text);
  assert.ok([...seen].some(text => text.length < 3), 'short ones were seen');
});

test('times are local and follow each other', async t => {
  const session = await loggedIn(t);
  const before = Date.now();
  session.json('StopPreview');
  const after = Date.now();
  for (const record of log.records()) {
    const at = new Date(record.time.replace(' ', 'T')).getTime() + Number(record.milliseconds);
    assert.ok(at >= before - 1 && at <= after + 1);
  }
});

test('standard output gets the bodies alone, without line ends', async t => {
  const session = await loggedIn(t);
  const start = stdoutText().length;
  session.json('StopPreview', '');
  assert.equal(stdoutText().slice(start),
    'call node api: StopPreview, param: method enter...method return 0' +
    'call node api: StopPreview ret: 0');
});

test('every record is in the file as soon as the call returns', async t => {
  const session = await loggedIn(t);
  for (let i = 0; i < 5; i++) {
    const before = log.size;
    session.json('StopPreview');
    assert.ok(log.size > before);
  }
});

test('posts without a listener are logged by LogI at line 1798', async t => {
  await loggedIn(t);
  engine.fireFrame('me', { width: 2, height: 2, streamType: 0 }, { room });
  const [record] = log.records();
  assert.deepEqual([record.level, record.tag, record.line, record.file],
    ['INFO', `${facade}LogI`, 1798, '']);
});

test('refused listeners are logged by LogE at line 1793', async t => {
  const session = await loggedIn(t);
  assert.throws(() => session.off(''));
  const [record] = log.records();
  assert.deepEqual([record.level, record.tag, record.line, record.message],
    ['ERROR', `${facade}LogE`, 1793, 'Invalid event name']);
});

test('a completion without a record is logged by LogI under its name', async t => {
  const session = await loggedIn(t);
  engine.setPlan('SendCustomMessage', { mode: 'hold' });
  session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, () => {});
  const [{ id }] = engine.completions();
  engine.complete(id, 0, { keep: true });
  log.mark();
  engine.complete(id, 0);
  assert.ok(log.has('INFO', `${facade}LogI`, 'EmitApiCallback: not find event: SendCustomMessage'));
});

test('a very long text is written whole', async t => {
  const session = await loggedIn(t);
  const text = 'x'.repeat(1000000);
  session.json('KickOut', { userId: text });
  assert.ok(log.messages()[0].endsWith(`{"userId":"${text}"}`));
});

// Each of these needs a process in which nothing has been logged yet.

test('before the first Init nothing is written anywhere', async () => {
  const { stdout, report } = await runChildWell(`
    const session = new Session();
    session.call('GetSDKVersion');
    session.call('EnumCameraDevice', 1);
    session.json('JoinRoom', 'bad');
    session.json('SetLogTag', 'bad');
    session.json('NoSuchMethod');
    session.off('never');
    try { session.off(''); } catch {}
    try { session.call('BindingVideoFrame', 'a', 0, 5); } catch {}
    session.destroy();
    const find = folder => fs.readdirSync(folder, { recursive: false, withFileTypes: true })
      .flatMap(entry => entry.isDirectory() ? find(path.join(folder, entry.name)) : [entry.name]);
    report(find(process.env.HOME).concat(find(logRoot)));
  `, { env: { KAVRIN_KEEP_STDOUT: '1' } });
  assert.equal(stdout, '');
  assert.deepEqual(report, []);
});

test('through a pipe, standard output gets every body by the end of the process', async () => {
  const { stdout } = await runChildWell(`
    const session = await new Session().login({ name: 'pipe' });
    session.json('StopPreview', '');
    session.destroy();
  `, { env: { KAVRIN_KEEP_STDOUT: '1' } });
  assert.match(stdout, /^SetLogFilePath:.*SetRootHost:hostInit name:pipe/);
  assert.match(stdout, /method enter\.\.\.method return 0call node api: StopPreview ret: 0/);
  assert.ok(!stdout.includes('\n'), 'no line ends');
  assert.ok(!/\[INFO\]|\[DEBUG\]/.test(stdout), 'no headers');
});

test('a log that cannot be opened is tried again by the next Init', async () => {
  const { report } = await runChildWell(`
    const session = new Session();
    engine.setPlan('Init', { mode: 'hold' });
    const missing = path.join(logRoot, 'missing', 'folder');
    const first = session.init({ logPath: missing });
    session.json('StopPreview');
    const none = fs.readdirSync(logRoot).length;
    const second = session.init();
    session.json('StopPreview');
    const text = log.text();
    session.destroy();
    report({ first, second, none, previews: text.split('call node api: StopPreview,').length - 1 });
  `);
  assert.deepEqual(report, { first: 0, second: 0, none: 0, previews: 1 });
});

test('Init calls in several handles at once open one file', async () => {
  const { report } = await runChildWell(`
    const sessions = [];
    for (let i = 0; i < 20; i++) sessions.push(await new Session().login({ puid: 'user ' + i }));
    for (const session of sessions) session.json('StopPreview');
    const previews = log.records().filter(record => record.message.includes('StopPreview, '));
    for (const session of sessions) session.destroy();
    report({ previews: previews.length, folders: fs.readdirSync(logRoot).length });
  `);
  assert.deepEqual(report, { previews: 20, folders: 20 });
});

test('a folder text longer than the buffer is cut, not overrun', async () => {
  const { report } = await runChildWell(`
    let logPath = logRoot;
    while (logPath.length < 280) {
      logPath = path.join(logPath, 'deep-deep-deep');
      fs.mkdirSync(logPath);
    }
    const session = new Session();
    engine.setPlan('Init', { mode: 'hold' });
    const results = [session.init({ logPath }), session.init({ logPath: 'x'.repeat(100000) })];
    session.destroy();
    report(results);
  `);
  assert.deepEqual(report, [0, 0]);
});

const xdgOnly = { skip: process.platform === 'win32' && 'Windows asks its shell for the folder' };

test('the default folder follows the documents folder of the XDG user directories', xdgOnly,
  async () => {
    const { report } = await runChildWell(`
      const session = new Session();
      const own = path.join(process.env.HOME, 'Own Documents');
      fs.mkdirSync(own);
      fs.mkdirSync(process.env.XDG_CONFIG_HOME, { recursive: true });
      const file = path.join(process.env.XDG_CONFIG_HOME, 'user-dirs.dirs');
      fs.writeFileSync(file, '# comment\\nXDG_DOCUMENTS_DIR="$HOME/Own Documents"\\n');
      const found = session.json('GetLogPath');
      fs.rmSync(file);
      const fallback = session.json('GetLogPath');
      session.destroy();
      const home = process.env.HOME;
      report({ found: path.relative(home, found), fallback: path.relative(home, fallback),
        host: path.parse(process.execPath).name });
    `);
    assert.deepEqual(report, { found: `Own Documents/${report.host}`,
      fallback: `Documents/${report.host}`, host: report.host });
  });

test('the default folder is named after the host, without its extension', async () => {
  const folder = newFolder('host');
  const host = path.join(folder, 'app.exe');
  fs.copyFileSync(process.execPath, host);
  const { report } = await runChildWell(`
    const session = new Session();
    report(path.basename(session.json('GetLogPath')));
    session.destroy();
  `, { node: host });
  assert.equal(report, 'app');
});

test('the path separator stands wherever folders are joined', async t => {
  const session = await newSession(t).login();
  const separators = text => new Set(text.match(/[\\/]/g));
  const only = new Set(path.sep);
  const [[, toldFolder]] = engine.operations().filter(([name]) => name === 'SetLogFilePath');
  assert.equal(toldFolder, `${logRoot}${path.sep}_me`);
  assert.deepEqual(separators(session.json('GetLogPath')), only);
  for (const file of logFiles(logRoot)) assert.deepEqual(separators(file.slice(logRoot.length)), only);
});
