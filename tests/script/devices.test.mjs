// Device lists, screen and window lists, and the volume getters.
import assert from 'node:assert/strict';
import test from 'node:test';
import { engine } from './support/scripted.mjs';
import { forget, log, loggedIn, newSession } from './support/session.mjs';

const tag = name => `KavrinNodeConferenceEngine::${name}`;

const audio = [
  { id: 0, guid: 'g0', name: 'Built-in — 内蔵', isSystemDefault: 1, type: 2 },
  { id: -1, guid: '', name: '', isSystemDefault: 0, type: -2147483648 },
  { id: 2147483647, guid: 'g'.repeat(255), name: 'n'.repeat(255), isSystemDefault: 200, type: 0 },
];

for (const name of ['EnumAudioCaptureDevice', 'EnumSpeakerDevice']) {
  test(`${name} gives an array of device objects`, async t => {
    const session = await loggedIn(t);
    engine.setOutput(name, audio);
    const devices = session.call(name);
    assert.ok(Array.isArray(devices));
    assert.deepEqual(devices, audio.map(({ id, guid, name: text, type, isSystemDefault }) =>
      ({ id, guid, name: text, type, isSystemDefault: isSystemDefault ? 1 : 0 })));
    assert.deepEqual(Object.keys(devices[0]), ['id', 'guid', 'name', 'type', 'isSystemDefault']);
    assert.deepEqual(engine.operations(), [[name]]);
    assert.deepEqual(log.brief(), [
      ['INFO', tag(name), 'args: '], ['INFO', tag(name), 'method return 0, list size:3'],
    ]);
  });

  test(`${name} logs code and size, and gives undefined on a failure`, async t => {
    const session = await loggedIn(t);
    engine.setOutput(name, audio);
    engine.setResult(name, 5);
    assert.equal(session.call(name), undefined);
    assert.deepEqual(log.brief().pop(), ['INFO', tag(name), 'method return 5, list size:3']);
  });
}

const cameras = [{ id: 1, name: 'Camera', guid: '/dev/video0' }, { id: 2, name: '', guid: '' }];

test('EnumCameraDevice gives an array of camera objects', async t => {
  const session = await loggedIn(t);
  engine.setOutput('EnumCameraDevice', cameras);
  const devices = session.call('EnumCameraDevice');
  assert.ok(Array.isArray(devices));
  assert.deepEqual(devices, cameras);
  assert.deepEqual(Object.keys(devices[0]), ['id', 'guid', 'name']);
  assert.deepEqual(log.brief(), [
    ['INFO', tag('EnumCameraDevice'), 'args: '],
    ['INFO', tag('EnumCameraDevice'), 'method return list size:2'],
  ]);
});

const sources = [
  { id: 1, type: 1, name: 'No Such Screen', thumbnailWidth: 2, thumbnailHeight: 65535,
    thumbnail: [0, 1, 254, 255] },
  { id: 2, type: 2, name: 'A window — 窓' },
  { id: 3, type: 0, name: '', thumbnail: [] },
];

test('EnumScreenAndWindow gives an array of source objects', async t => {
  const session = await loggedIn(t);
  engine.setOutput('EnumScreenAndWindow', sources);
  const list = session.call('EnumScreenAndWindow');
  assert.ok(Array.isArray(list));
  assert.deepEqual(Object.keys(list[0]), ['id', 'type', 'thumbnailWidth', 'thumbnailHeight',
    'thumbnailData', 'thumbnailDataLength', 'name']);
  assert.ok(Buffer.isBuffer(list[0].thumbnailData));
  assert.deepEqual([...list[0].thumbnailData], [0, 1, 254, 255]);
  const { thumbnailData, ...rest } = list[0];
  assert.deepEqual(rest, { id: 1, type: 1, thumbnailWidth: 2, thumbnailHeight: 65535,
    thumbnailDataLength: 4, name: 'No Such Screen' });
  assert.deepEqual(list[1], { id: 2, type: 2, thumbnailWidth: 0, thumbnailHeight: 0,
    thumbnailDataLength: 0, name: 'A window — 窓' });
  assert.deepEqual(Object.keys(list[2]),
    ['id', 'type', 'thumbnailWidth', 'thumbnailHeight', 'thumbnailDataLength', 'name']);
  assert.deepEqual(log.brief(), [
    ['INFO', tag('EnumScreenAndWindow'), 'args:'],
    ['INFO', tag('EnumScreenAndWindow'), 'method return list size:3'],
  ]);
});

test('thumbnails are copies that script owns', async t => {
  const session = await loggedIn(t);
  engine.setOutput('EnumScreenAndWindow', sources);
  const [first] = session.call('EnumScreenAndWindow');
  first.thumbnailData.fill(9);
  const [second] = session.call('EnumScreenAndWindow');
  assert.deepEqual([...second.thumbnailData], [0, 1, 254, 255]);
});

test('EnumScreenAndWindow gives undefined on a failure', async t => {
  const session = await loggedIn(t);
  engine.setOutput('EnumScreenAndWindow', sources);
  engine.setResult('EnumScreenAndWindow', -4);
  assert.equal(session.call('EnumScreenAndWindow'), undefined);
  assert.deepEqual(log.brief().pop(),
    ['INFO', tag('EnumScreenAndWindow'), 'method return list size:3']);
});

const lists = ['EnumAudioCaptureDevice', 'EnumSpeakerDevice', 'EnumCameraDevice',
  'EnumScreenAndWindow'];

for (const name of lists) {
  test(`${name} without devices gives an empty array`, async t => {
    const session = await loggedIn(t);
    const devices = session.call(name);
    assert.ok(Array.isArray(devices));
    assert.equal(devices.length, 0);
  });

  test(`${name} empties its list before every enumeration`, async t => {
    const session = await loggedIn(t);
    engine.setOutput(name, [{ id: 1 }, { id: 2 }]);
    session.call(name);
    engine.setOutput(name, [{ id: 3 }]);
    assert.deepEqual(session.call(name).map(device => device.id), [3]);
  });

  test(`${name} with an argument gives undefined and logs the count`, async t => {
    const session = await loggedIn(t);
    assert.equal(session.call(name, 1), undefined);
    assert.deepEqual(engine.calls(), []);
    assert.deepEqual(log.brief(), [['ERROR', 'verifyArgsCount',
      'args count error:need args count 0,but real get args count 1']]);
  });

  test(`${name} without an engine gives undefined`, async t => {
    const session = await loggedIn(t);
    session.json('UnInit');
    forget();
    assert.equal(session.call(name), undefined);
    assert.deepEqual(log.brief().map(([, , message]) => message.trim()), ['args:']);
    assert.equal(newSession(t).call(name), undefined);
  });

  test(`${name} lets no exception of the engine out`, async t => {
    const session = await loggedIn(t);
    engine.setOutput(name, name === 'EnumScreenAndWindow' ? sources : [{ id: 1 }]);
    engine.setThrow(name, 'thrown %s');
    assert.equal(session.call(name) ?? -1, -1);
    assert.ok(log.has('ERROR', tag(name), 'thrown %s'));
  });
}

for (const name of ['GetAudioCaptureDeviceVolume', 'GetSpeakerDeviceVolume']) {
  test(`${name} gives the volume, or a failure as a negative code`, async t => {
    const session = await loggedIn(t);
    for (const [code, volume, result] of [[0, 80, 80], [5, 80, -5], [-3, 80, -3], [0, 0, 0],
      [0, -12, -12], [2147483647, 1, -2147483647], [-2147483648, 1, -2147483648]]) {
      forget();
      engine.setResult(name, code);
      engine.setOutput(name, volume);
      assert.equal(session.json(name, ''), result);
      assert.deepEqual(log.brief(), [
        ['INFO', tag(name), 'method enter...'], ['INFO', tag(name), `method return ${code}`],
        ...(code === 0 ? [['INFO', tag(name), `method return volume:${volume}`]] : []),
      ]);
    }
  });

  test(`${name} gives 0 when the engine writes no volume, -1 without an engine`, async t => {
    const session = await loggedIn(t);
    assert.equal(session.json(name, 'ignored'), 0);
    session.json('UnInit');
    assert.equal(session.json(name, ''), -1);
  });
}
