// execFun, execJsonParamFun and execJsonParamFunWithCallback: counts, names, texts and dispatch.
import assert from 'node:assert/strict';
import test from 'node:test';
import { addon, engine } from './support/scripted.mjs';
import { forget, log, loggedIn, newSession } from './support/session.mjs';

const facade = 'KavrinNodeConferenceEngine::';
const execTag = 'kavrin::ConferenceEngineWrapper::ExecFun';

test('a wrong argument count returns undefined and leaves no trace', async t => {
  const { handle } = await loggedIn(t);
  const all = [handle, 'StopPreview', '', () => {}, 5];
  for (const [name, right] of [['execFun', 3], ['execJsonParamFun', 3],
    ['execJsonParamFunWithCallback', 4]]) {
    for (let count = 0; count <= 5; count++) {
      if (count === right) continue;
      assert.equal(addon[name](...all.slice(0, count)), undefined, `${name} with ${count}`);
    }
  }
  assert.deepEqual(log.records(), []);
  assert.deepEqual(engine.calls(), []);
});

test('the count is checked before the handle', () => {
  assert.equal(addon.execFun({}, 'EnumCameraDevice'), undefined);
  assert.equal(addon.execJsonParamFun(), undefined);
  assert.equal(addon.execJsonParamFunWithCallback(null, 'Init', '{}'), undefined);
});

test('execFun with the handle and "EnumCameraDevice" alone returns undefined', async t => {
  const { handle } = await loggedIn(t);
  assert.equal(addon.execFun(handle, 'EnumCameraDevice'), undefined);
  assert.deepEqual(engine.calls(), []);
});

test('execFun with an empty array reaches the handler with count 0', async t => {
  const session = await loggedIn(t);
  assert.equal(session.call('GetSDKVersion'), -1);
  assert.ok(log.has('ERROR', 'verifyArgsCount',
    'args count error:need args count 2,but real get args count 0'));
});

test('a number in place of the array fails at element 0', async t => {
  const { handle } = await loggedIn(t);
  assert.equal(addon.execFun(handle, 'GetRoomInfo', 5), undefined);
  assert.ok(log.has('ERROR', execTag, /^error:execFun Wrong arguments\. napi_get_element:0:.+$/));
  assert.deepEqual(engine.calls(), []);
});

test('null and undefined in place of the array fail at element 0', async t => {
  const { handle } = await loggedIn(t);
  for (const notAnArray of [null, undefined]) {
    forget();
    assert.equal(addon.execFun(handle, 'GetRoomInfo', notAnArray), undefined);
    assert.ok(log.has('ERROR', execTag, /^error:execFun Wrong arguments\. napi_get_element:0:.+$/));
  }
});

test('an object in place of the array yields 99 elements', async t => {
  const { handle } = await loggedIn(t);
  assert.equal(addon.execFun(handle, 'GetRoomInfo', { length: 0 }), undefined);
  assert.ok(log.has('ERROR', 'verifyArgsCount',
    'args count error:need args count 0,but real get args count 99'));
});

test('elements of every script type are accepted and counted', async t => {
  const session = await loggedIn(t);
  const values = [undefined, null, true, 1, 1.5, NaN, '', 'x', Symbol('s'), {}, [], () => {}, 10n,
    Buffer.alloc(2), new Date(), session.handle.__engine];
  assert.equal(session.call('GetRoomInfo', ...values), undefined);
  assert.ok(log.has('ERROR', 'verifyArgsCount',
    `args count error:need args count 0,but real get args count ${values.length}`));
});

test('an empty text is an argument like any other', async t => {
  const session = await loggedIn(t);
  assert.equal(session.call('GetAttendeeInfo', ''), -1);
  assert.ok(log.has('INFO', `${facade}GetAttendeeInfo`, 'args:'));
});

test('a sparse array reads as undefined at its holes', async t => {
  const { handle } = await loggedIn(t);
  assert.equal(addon.execFun(handle, 'GetRoomInfo', new Array(3)), undefined);
  assert.ok(log.has('ERROR', 'verifyArgsCount',
    'args count error:need args count 0,but real get args count 3'));
});

test('an element that throws when read is logged and calls nothing', async t => {
  const { handle } = await loggedIn(t);
  const list = Object.defineProperty([1], 0, { get() { throw new Error('from the element'); } });
  try {
    assert.equal(addon.execFun(handle, 'GetAttendeeInfo', list), undefined);
  } catch (error) {
    assert.equal(error.message, 'from the element');
  }
  assert.ok(log.has('ERROR', execTag, /^error:execFun Wrong arguments\. napi_get_element:0:.+$/));
  assert.deepEqual(engine.calls(), []);
});

test('a name that is no text is not found', async t => {
  const { handle } = await loggedIn(t);
  for (const name of [5, true, null, undefined, {}, ['StopPreview'], Symbol('n'), () => {}, 1n]) {
    assert.equal(addon.execFun(handle, name, []), -1);
    assert.equal(addon.execJsonParamFun(handle, name, ''), -1);
    assert.equal(addon.execJsonParamFunWithCallback(handle, name, '', () => {}), -1);
  }
  assert.deepEqual(engine.calls(), []);
});

test('a boolean name gives its text, which is not found either', async t => {
  const { handle } = await loggedIn(t);
  assert.equal(addon.execFun(handle, true, []), -1);
  assert.ok(log.has('ERROR', `${facade}runFunction`, 'node api method not found:true'));
});

test('names from Object.prototype and near misses are not found', t => {
  const session = newSession(t);
  for (const name of ['', 'constructor', '__proto__', 'toString', 'init', 'INIT', ' Init', 'Init ',
    'x'.repeat(100000)]) {
    assert.equal(session.call(name), -1);
    assert.equal(session.json(name), -1);
    assert.equal(session.withCallback(name, {}, () => {}), -1);
  }
});

test('a text that is no text reaches the handler empty', async t => {
  const { handle } = await loggedIn(t);
  assert.equal(addon.execJsonParamFun(handle, 'JoinRoom', {}), -1);
  assert.ok(log.has('INFO', `${facade}runJsonParamFunction`, 'call node api: JoinRoom, param: '));
  for (const text of [5, null, undefined, [], Symbol('s')]) {
    assert.equal(addon.execJsonParamFun(handle, 'JoinRoom', text), -1);
    assert.equal(addon.execJsonParamFunWithCallback(handle, 'AsyncSendCustomMessage', text,
      () => {}), -1);
  }
  assert.deepEqual(engine.calls(), []);
});

test('a name ends at its first NUL', async t => {
  const session = await loggedIn(t);
  assert.equal(session.json('StopPreview\0 and more'), 0);
  assert.deepEqual(engine.operations(), [['StopPreview']]);
});

test('runFunction traces its way in and out at DEBUG', async t => {
  const session = await loggedIn(t);
  session.call('GetRoomInfo');
  const traces = log.records().filter(record => record.tag === `${facade}runFunction`);
  assert.deepEqual(traces.map(({ level, message }) => [level, message]), [
    ['DEBUG', 'enter node api method:GetRoomInfo==============================>'],
    ['DEBUG', '<==============================leave node api method:GetRoomInfo'],
  ]);
});

test('runFunction reports a JSON method as not found', async t => {
  const session = await loggedIn(t);
  assert.equal(session.call('JoinRoom'), -1);
  assert.deepEqual(log.records().map(({ level, tag, message }) => [level, tag, message]),
    [['ERROR', `${facade}runFunction`, 'node api method not found:JoinRoom']]);
  assert.equal(session.call('JoinRoom'), -1, 'the second time as well');
});

test('runJsonParamFunction traces the call with its text and the result', async t => {
  const session = await loggedIn(t);
  engine.setResult('KickOut', 42);
  session.json('KickOut', { userId: 'a' });
  const traces = log.records().filter(record => record.tag === `${facade}runJsonParamFunction`);
  assert.deepEqual(traces.map(({ level, message }) => [level, message]), [
    ['INFO', 'call node api: KickOut, param: {"userId":"a"}'],
    ['INFO', 'call node api: KickOut ret: 42'],
  ]);
});

test('runJsonParamFunction reports unknown names', async t => {
  const session = await loggedIn(t);
  assert.equal(session.json('GetRoomInfo', '{}'), -1);
  assert.deepEqual(log.records().map(({ level, tag, message }) => [level, tag, message]), [
    ['INFO', `${facade}runJsonParamFunction`, 'call node api: GetRoomInfo, param: {}'],
    ['ERROR', `${facade}runJsonParamFunction`,
      'call npde api: GetRoomInfo failed! not found method.'],
  ]);
});

test('runJsonParamFunctionWithCallback traces the call and the result', async t => {
  const session = await loggedIn(t);
  assert.equal(session.withCallback('AsyncSendCustomMessage', '', () => {}), -1);
  const traces = log.records();
  const tag = `${facade}runJsonParamFunctionWithCallback`;
  assert.deepEqual(traces.map(record => [record.level, record.tag, record.message]), [
    ['INFO', tag, 'call node api: AsyncSendCustomMessage, param: '],
    ['INFO', tag, 'call node api: AsyncSendCustomMessage ret: -1'],
  ]);
});

test('GetVideoFrame through the JSON entry point writes no line', async t => {
  const session = await loggedIn(t);
  assert.equal(typeof session.json('GetVideoFrame', { uid: 'a' }), 'string');
  assert.deepEqual(log.records(), []);
});

test('GetVideoFrame through execFun is traced by nothing but the not-found line', async t => {
  const session = await loggedIn(t);
  assert.equal(session.call('GetVideoFrame'), -1);
  assert.deepEqual(log.messages(), ['node api method not found:GetVideoFrame']);
});

test('GetVideoFrame through the callback entry point is logged and not found', async t => {
  const session = await loggedIn(t);
  assert.equal(session.withCallback('GetVideoFrame', '{}', () => {}), -1);
  assert.deepEqual(log.messages(), [
    'call node api: GetVideoFrame, param: {}',
    'call npde api: GetVideoFrame failed! not found method.',
  ]);
});

test('a "%" in a text is written as it is', async t => {
  const session = await loggedIn(t);
  const text = '{"userId":"%s%n%d%%"}';
  session.json('KickOut', text);
  assert.ok(log.has('INFO', `${facade}runJsonParamFunction`,
    `call node api: KickOut, param: ${text}`));
  assert.deepEqual(engine.operations(), [['KickOut', '%s%n%d%%']]);
});
