// Init, UnInit, SetLogTag and GetSDKVersion.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { addComponent, componentFile } from './support/components.mjs';
import { asCommand, currentThread, engine, settle, until } from './support/scripted.mjs';
import { runChildWell } from './support/child.mjs';
import { forget, log, loggedIn, logRoot, newSession } from './support/session.mjs';
import { newFolder } from './support/workspace.mjs';

const tag = 'KavrinNodeConferenceEngine::';
const initTag = `${tag}Init`;
const completionTag = `${tag}Init::<lambda_1>::operator ()`;
const lined = records => records.filter(record => !record.tag.startsWith(`${tag}run`))
  .map(record => [record.level, record.tag, record.line, record.message]);

test('Init makes an engine, points it at its folder and host and starts the login', t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'hold' });
  const result = session.init({ rootHost: 'https://root', puid: 'me', name: 'N', password: 'P' });
  assert.equal(result, 0);
  assert.deepEqual(engine.operations(), [
    ['CreateConfEngine', true],
    ['SetLogFilePath', path.join(logRoot, '_me')],
    ['SetRootHost', 'https://root'],
    ['Init', 'me', 'N', 'P'],
  ]);
});

test('every operation is called from the script thread', async t => {
  const session = await newSession(t).join();
  session.json('LeaveRoom');
  session.json('UnInit');
  const elsewhere = engine.calls().filter(call => call.thread !== currentThread());
  assert.deepEqual(elsewhere.map(call => call.operation), ['EnableExternalRender'],
    'but the one that belongs to the completion');
});

test('Init logs the folder, the host and the name', t => {
  const session = newSession(t);
  session.init();
  engine.join();
  log.mark();
  engine.setPlan('Init', { mode: 'hold' });
  session.init({ rootHost: 'h%s', puid: 'me', name: 'n%d', password: 'hidden' });
  assert.deepEqual(lined(log.records()), [
    ['INFO', initTag, 212, `SetLogFilePath:${path.join(logRoot, '_me')}`],
    ['INFO', initTag, 214, 'SetRootHost:h%s'],
    ['INFO', initTag, 216, 'Init name:n%d'],
  ]);
});

test('Init returns before the login is complete; the code comes to the callback', async t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'hold' });
  const calls = [];
  session.init({}, function (...args) { calls.push([this, ...args]); });
  await settle();
  assert.deepEqual(calls, []);
  engine.completeOnly(17);
  await until(() => calls.length);
  await settle();
  assert.deepEqual(calls, [[globalThis, 17]]);
});

test('the completion turns on external rendering when the code is 0 only', async t => {
  const session = newSession(t);
  for (const [code, expected] of [[0, [['EnableExternalRender', true]]], [5, []], [-1, []]]) {
    engine.setPlan('Init', { mode: 'hold' });
    session.init();
    engine.clearCalls();
    engine.completeOnly(code);
    assert.deepEqual(engine.operations(), expected);
  }
});

test('the completion logs its code on the engine thread', t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'hold' });
  session.init();
  log.mark();
  engine.completeOnly(-9);
  const [record, ...more] = log.records();
  assert.deepEqual([record.level, record.tag, record.line, record.message],
    ['INFO', completionTag, 230, 'method return -9']);
  assert.notEqual(record.thread, currentThread());
  assert.deepEqual(more, []);
});

test('a completion from inside the engine operation works like a later one', async t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'inline', code: 4 });
  assert.equal(session.init(), 0);
  await until(() => session.codes.length);
  assert.deepEqual(session.codes, [4]);
});

test('Init with an empty text returns -1 and initialises nothing', t => {
  const session = newSession(t);
  assert.equal(session.withCallback('Init', '', () => assert.fail('called')), -1);
  assert.deepEqual(engine.calls(), []);
  assert.equal(session.json('UnInit'), -1);
});

test('Init with an empty object goes ahead with empty texts', t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'hold' });
  assert.equal(session.withCallback('Init', '{}', () => {}), 0);
  assert.deepEqual(engine.operations(), [
    ['CreateConfEngine', true], ['SetLogFilePath', `${path.sep}_`], ['SetRootHost', ''], ['Init', '', '', ''],
  ]);
  assert.equal(session.json('UnInit'), 0);
});

test('Init with an empty object creates the folder that a log path and "_" name', t => {
  const session = newSession(t);
  const logPath = newFolder('empty');
  session.withCallback('Init', JSON.stringify({ logPath }), () => {});
  assert.deepEqual(fs.readdirSync(logPath), ['_']);
});

test('a text that is no JSON object is -1, with the error logged, and makes no engine', async t => {
  const session = await loggedIn(t);
  session.json('UnInit');
  for (const [text, message] of [
    ['{"a":}', /^Parse json fail\. err=Invalid value\.\. offset=\}$/],
    ['[]', /^not object/],
    ['5', /^not object/],
    ['{"rootHost":1}', /^not string\. \(path:.*\)$/],
    ['{"name":[]}', /^not string\. \(path:.*\)$/],
  ]) {
    forget();
    assert.equal(session.withCallback('Init', text, () => assert.fail('called')), -1);
    const [record] = log.records().filter(({ tag: from }) => from === initTag);
    assert.deepEqual([record.level, record.line], ['ERROR', 237]);
    assert.match(record.message, message);
    assert.deepEqual(engine.calls(), []);
  }
});

test('the text "null" is an object without members', t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'hold' });
  assert.equal(session.withCallback('Init', 'null', () => {}), 0);
});

test('a second Init ends the first engine and keeps the first log file', async t => {
  const session = await loggedIn(t);
  const before = log.file;
  const elsewhere = newFolder('elsewhere');
  session.init({ logPath: elsewhere, puid: 'other' });
  engine.join();
  assert.deepEqual(engine.operations().slice(0, 4), [
    ['UnInit'], ['DestroyConfEngine'], ['CreateConfEngine', true],
    ['SetLogFilePath', path.join(elsewhere, '_other')],
  ]);
  assert.equal(log.file, before);
  assert.ok(fs.existsSync(path.join(elsewhere, '_other')));
  assert.equal(engine.live().engines, 1);
});

test('an exception from the engine during Init is -1 and logged', async t => {
  const session = await loggedIn(t);
  for (const operation of ['CreateConfEngine', 'SetLogFilePath', 'SetRootHost', 'Init']) {
    forget();
    engine.setThrow(operation, 'thrown by %s in ' + operation);
    assert.equal(session.init(), -1, operation);
    engine.setThrow(operation);
    assert.deepEqual(lined(log.records()).pop(),
      ['ERROR', initTag, 237, `thrown by %s in ${operation}`]);
  }
  assert.equal(session.json('UnInit'), 0, 'initialized stays set');
  assert.deepEqual(session.codes, [0], 'no callback was called but the first');
});

test('after an Init that failed, the process can end', async () => {
  await runChildWell(`
    const session = await new Session().login();
    engine.setThrow('Init', 'no');
    if (session.init() !== -1) throw new Error('Init went through');
    session.destroy();
  `, { timeoutMs: 20000 });
});

test('an engine whose start failed reports nothing once its handle is gone', async () => {
  const { report } = await runChildWell(`
    const session = new Session();
    engine.setThrow('Init', 'no');
    session.init();
    engine.setThrow('Init');
    engine.fire('OnRoomStateChange', [1], { room });
    const before = session.events().length;
    session.destroy();
    engine.fire('OnRoomStateChange', [1], { room, threads: 8, count: 100 });
    report({ before, ends: engine.operations().slice(-2) });
  `);
  assert.deepEqual(report, { before: 1, ends: [['Init', 'me', 'My Name', 'secret'], ['UnInit']] });
});

test('a callback that is no function is refused with a text', async t => {
  const session = await loggedIn(t);
  engine.setPlan('Init', { mode: 'hold' });
  for (const callback of [undefined, null, 5, 'f', {}]) {
    assert.throws(() => session.withCallback('Init', {}, callback),
      { name: 'Error', message: 'Failed to create threadsafe function' });
  }
  assert.ok(log.has('ERROR', `${tag}LogE`, 'Failed to create threadsafe function'));
});

test('UnInit before Init is -1, and so is a second one', async t => {
  const session = newSession(t);
  assert.equal(session.json('UnInit'), -1);
  await session.login();
  assert.equal(session.json('UnInit'), 0);
  assert.equal(session.json('UnInit'), -1);
});

test('UnInit ends the engine and logs each step', async t => {
  const session = await loggedIn(t);
  engine.setResult('UnInit', 77);
  assert.equal(session.json('UnInit', 'any text'), 0);
  assert.deepEqual(engine.operations(), [['UnInit'], ['DestroyConfEngine']]);
  assert.deepEqual(lined(log.records()), [
    ['INFO', `${tag}UnInit`, 250, 'method enter...'],
    ['INFO', `${tag}UnInit`, 252, 'method return 77'],
    ['INFO', `${tag}UnInit`, 254, 'DestroyConfEngine.'],
  ]);
});

test('UnInit drops a login that is still pending: its callback is not called', async t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'hold' });
  session.init({}, () => assert.fail('called'));
  assert.equal(session.json('UnInit'), 0);
  engine.completeOnly(0);
  await settle();
  assert.ok(!engine.operations().some(([operation]) => operation === 'EnableExternalRender'));
});

test('a completion that was posted before UnInit is still delivered', async t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'hold' });
  session.init();
  engine.completeOnly(0);
  assert.equal(session.json('UnInit'), 0);
  await until(() => session.codes.length);
  assert.deepEqual(session.codes, [0]);
});

test('a login that completes inside UnInit, on another thread, does not block', async t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'hold' });
  session.init();
  const [{ id }] = engine.completions();
  engine.addHook('UnInit', { run: asCommand('complete', { id, code: 0 }), ownThread: true });
  assert.equal(session.json('UnInit'), 0);
  await settle();
  assert.ok(session.codes.length <= 1);
});

test('the user id is the one whose login completed, whatever its code', async t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'hold' });
  session.init({ puid: 'first' });
  assert.equal(session.call('BindingVideoFrame', 'first', 0, Buffer.alloc(6)), 0);
  const frame = () => {
    engine.fireFrame('first', { width: 2, height: 2, streamType: 0 });
    return JSON.parse(session.json('GetVideoFrame', { uid: 'first', forceGetFrame: true })).ret;
  };
  assert.equal(frame(), -2, 'not the local user yet');
  engine.completeOnly(8);
  assert.equal(frame(), 0, 'the local user');
});

test('SetLogTag names the folder of the next Init', async t => {
  const session = newSession(t);
  engine.setPlan('Init', { mode: 'hold' });
  const folderOf = params => {
    engine.clearCalls();
    session.init(params);
    return engine.operations().find(([operation]) => operation === 'SetLogFilePath')[1];
  };
  assert.equal(session.json('SetLogTag', { tag: 'desk' }), 0);
  assert.equal(folderOf({ puid: 'a' }), path.join(logRoot, 'desk_a'));
  assert.ok(fs.statSync(path.join(logRoot, 'desk_a')).isDirectory());
  assert.equal(session.json('SetLogTag', ''), 0, 'an empty text');
  assert.equal(folderOf({ puid: 'b' }), path.join(logRoot, 'desk_b'), 'leaves the tag alone');
  for (const text of ['{}', '{"tag":null}', '{"tag":""}']) {
    session.json('SetLogTag', { tag: 'desk' });
    assert.equal(session.json('SetLogTag', text), 0);
    assert.equal(folderOf({ puid: 'c' }), path.join(logRoot, '_c'), `${text} empties the tag`);
  }
});

test('SetLogTag with a bad text is -1 and logged at line 168', async t => {
  const session = await loggedIn(t);
  for (const [text, message] of [['{', /^Parse json fail\. err=/], ['{"tag":5}', /^not string/],
    ['[]', /^not object/]]) {
    forget();
    assert.equal(session.json('SetLogTag', text), -1);
    const [record] = log.records().filter(({ tag: from }) => from === `${tag}SetLogTag`);
    assert.deepEqual([record.level, record.line], ['ERROR', 168]);
    assert.match(record.message, message);
  }
});

test('Init creates one level of folders only', t => {
  const session = newSession(t);
  const logPath = path.join(newFolder('parent'), 'missing');
  engine.setPlan('Init', { mode: 'hold' });
  assert.equal(session.init({ logPath }), 0);
  assert.equal(fs.existsSync(logPath), false);
  assert.deepEqual(engine.operations()[1], ['SetLogFilePath', path.join(logPath, '_me')]);
});

test('GetSDKVersion gives the version that the library reports', async t => {
  const session = await loggedIn(t);
  engine.setOutput('GetSDKVersion', '9.8.7.6');
  assert.equal(session.call('GetSDKVersion', '/none', '1.0.0'), '9.8.7.6');
  assert.deepEqual(engine.operations(), [['GetSDKVersion', 256]]);
  assert.deepEqual(lined(log.records()), [
    ['DEBUG', `${tag}GetSDKVersion`, 58, 'call node api method GetSDKVersion'],
    ['DEBUG', `${tag}GetSDKVersion`, 82, 'method return confSDKVersion 9.8.7.6'],
  ]);
});

test('GetSDKVersion needs no Init', t => {
  const session = newSession(t);
  engine.setOutput('GetSDKVersion', '1.2.3.4');
  assert.equal(session.call('GetSDKVersion', '', ''), '1.2.3.4');
});

test('GetSDKVersion with another count than two is -1', async t => {
  const session = await loggedIn(t);
  for (const args of [[], ['/none'], ['/none', '1', '2']]) {
    forget();
    assert.equal(session.call('GetSDKVersion', ...args), -1);
    assert.deepEqual(engine.calls(), []);
    assert.deepEqual(lined(log.records())[0],
      ['DEBUG', `${tag}GetSDKVersion`, 58, 'call node api method GetSDKVersion']);
    assert.ok(log.has('ERROR', 'verifyArgsCount',
      `args count error:need args count 2,but real get args count ${args.length}`));
  }
});

test('without a version from the library, the component files tell theirs', async t => {
  const session = await loggedIn(t);
  const folder = newFolder('components');
  for (const [name, version] of [['KavrinConferenceEngine', '4.3.2.1'],
    ['KavrinRTCEngine', '1.10.0.2'], ['KavrinRoomClient', '2.0.0.0']]) {
    addComponent(folder, name, version);
  }
  assert.equal(session.call('GetSDKVersion', folder, 'p%s'), '4.3.2.1');
  assert.deepEqual(lined(log.records()), [
    ['DEBUG', `${tag}GetSDKVersion`, 58, 'call node api method GetSDKVersion'],
    ['DEBUG', `${tag}GetSDKVersion`, 79, 'method return electronSdkVersion p%s confSDKVersion ' +
      '4.3.2.1 RTCEngineVerion 1.10.0.2 roomclientVersion 2.0.0.0'],
    ['DEBUG', `${tag}GetSDKVersion`, 82, 'method return confSDKVersion 4.3.2.1'],
  ]);
});

test('component files without a version, or none at all, give an empty version', async t => {
  const session = await loggedIn(t);
  const folder = newFolder('components');
  fs.writeFileSync(componentFile(folder, 'KavrinConferenceEngine'), '');
  for (const where of [folder, path.join(folder, 'missing'), '', '/', 'x'.repeat(10000)]) {
    assert.equal(session.call('GetSDKVersion', where, ''), '');
  }
});

test('a version of the full buffer length is passed whole', async t => {
  const session = await loggedIn(t);
  engine.setOutput('GetSDKVersion', 'v'.repeat(1000));
  assert.equal(session.call('GetSDKVersion', '', ''), 'v'.repeat(255));
});
