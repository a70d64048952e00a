// Every method that takes a JSON text, by table: keys, types, order, errors and log lines.
import assert from 'node:assert/strict';
import test from 'node:test';
import { engine } from './support/scripted.mjs';
import { forget, log, loggedIn, newSession } from './support/session.mjs';
import {
  badTypeText, engineArguments, forwarders, initialValues, methods, plainCalls, sampleValues,
} from './support/methods.mjs';

const tag = name => `KavrinNodeConferenceEngine::${name}`;
const ofMethod = name => log.brief().filter(([, from]) => from === tag(name));

for (const method of forwarders) {
  const { name, keys } = method;

  test(`${name} passes its keys to the engine and returns the code`, async t => {
    const session = await loggedIn(t);
    const values = sampleValues(method);
    for (const code of [0, 7, -7]) {
      forget();
      engine.setResult(name, code);
      assert.equal(session.json(name, values), code);
      assert.deepEqual(engine.operations(), [[name, ...engineArguments(method, values)]]);
      assert.deepEqual(log.brief(), [
        ['INFO', tag(name), 'method enter...'], ['INFO', tag(name), `method return ${code}`],
      ]);
    }
  });

  test(`${name} takes each key alone and leaves the others at their initial values`, async t => {
    const session = await loggedIn(t);
    const all = sampleValues(method);
    for (const [key] of keys) {
      const values = { [key]: all[key], unknown: 1 };
      engine.clearCalls();
      assert.equal(session.json(name, values), 0);
      assert.deepEqual(engine.operations(), [[name, ...engineArguments(method, values)]], key);
    }
  });

  test(`${name} takes "{}", "null" and null members as absent or initial`, async t => {
    const session = await loggedIn(t);
    const nulls = Object.fromEntries(keys.map(([key]) => [key, null]));
    for (const text of ['{}', 'null', JSON.stringify(nulls)]) {
      engine.clearCalls();
      assert.equal(session.json(name, text), 0);
      assert.deepEqual(engine.operations(), [[name, ...engineArguments(method, {})]], text);
    }
  });

  test(`${name} with a member of a wrong type is -1, logged, and calls nothing`, async t => {
    const session = await loggedIn(t);
    for (const [key, type] of keys) {
      for (const bad of wrongValues[type]) {
        forget();
        assert.equal(session.json(name, `{"${key}":${bad}}`), -1, `${key}: ${bad}`);
        assert.deepEqual(engine.calls(), []);
        const lines = ofMethod(name);
        assert.equal(lines.length, 1);
        assert.equal(lines[0][0], 'ERROR');
        assert.match(lines[0][2], new RegExp(`^${badTypeText[type]}\\. \\(path:.*\\)$`));
      }
    }
  });

  test(`${name} with a text that is no JSON object is -1 and logged`, async t => {
    const session = await loggedIn(t);
    for (const [text, message] of badTexts) {
      forget();
      assert.equal(session.json(name, text), -1, text);
      assert.deepEqual(engine.calls(), []);
      const [[level, , logged], ...more] = ofMethod(name);
      assert.equal(level, 'ERROR');
      assert.match(logged, message);
      assert.deepEqual(more, []);
    }
  });

  test(`${name} with an empty text, or without an engine, is -1 and silent`, async t => {
    const session = await loggedIn(t);
    assert.equal(session.json(name, ''), -1);
    assert.deepEqual(ofMethod(name), []);
    session.json('UnInit');
    forget();
    for (const text of ['', '{}', 'no JSON', JSON.stringify(sampleValues(method))]) {
      assert.equal(session.json(name, text), -1);
    }
    assert.deepEqual(engine.calls(), []);
    assert.deepEqual(ofMethod(name), []);
  });

  test(`${name} turns an exception of the engine into -1`, async t => {
    const session = await loggedIn(t);
    engine.setThrow(name, 'thrown %s');
    assert.equal(session.json(name, '{}'), -1);
    assert.deepEqual(ofMethod(name).pop(), ['ERROR', tag(name), 'thrown %s']);
  });
}

const wrongValues = {
  string: ['5', 'true', '[]', '{}', '1.5'],
  integer: ['"5"', 'true', '[]', '{}', '50.5', '1.0', '1e3', '18446744073709551616'],
  boolean: ['"1"', '[]', '{}', '1.0', '0.0', '"true"', '9223372036854775808',
    '18446744073709551615'],
  list: ['5', '"7"', '{}', 'true'],
};

const badTexts = [
  ['[]', /^not object/], ['5', /^not object/], ['"text"', /^not object/], ['true', /^not object/],
  ['{', /^Parse json fail\. err=.+\. offset=$/],
  ['{"a":}', /^Parse json fail\. err=Invalid value\.\. offset=\}$/],
  ['{} x', /^Parse json fail\. err=.+\. offset=x$/],
  ['\u00ff', /^Parse json fail\. err=.+\. offset=.+/],
];

test('a parse error quotes at most 32 characters from the fault onward', async t => {
  const session = await loggedIn(t);
  session.json('KickOut', `{"a":}${'0123456789'.repeat(10)}`);
  const [[, , message]] = ofMethod('KickOut');
  assert.equal(message.split('. offset=')[1], `}${'0123456789'.repeat(10)}`.slice(0, 32));
});

test('a byte-order signature, whole or in part, is skipped', async t => {
  const session = await loggedIn(t);
  assert.equal(session.json('KickOut', '\ufeff{"userId":"a"}'), 0);
  assert.deepEqual(engine.operations(), [['KickOut', 'a']]);
});

test('integers keep their low 32 bits', async t => {
  const session = await loggedIn(t);
  for (const [text, value] of [['4294967297', 1], ['-1', -1], ['2147483648', -2147483648],
    ['18446744073709551615', -1], ['-9223372036854775808', 0], ['9223372036854775807', -1],
    ['null', 0], ['-0', 0]]) {
    engine.clearCalls();
    assert.equal(session.json('SetSpeakerDeviceVolume', `{"volume":${text}}`), 0, text);
    assert.deepEqual(engine.operations(), [['SetSpeakerDeviceVolume', value]], text);
  }
});

test('booleans are JSON booleans or integers', async t => {
  const session = await loggedIn(t);
  for (const [text, value] of [['1', true], ['0', false], ['null', false], ['true', true],
    ['false', false], ['-1', true], ['9223372036854775807', true], ['4294967296', true]]) {
    engine.clearCalls();
    assert.equal(session.json('MuteRoom', `{"isEnable":${text}}`), 0, text);
    assert.deepEqual(engine.operations(), [['MuteRoom', value]], text);
  }
});

test('integer lists take null elements as 0 and null as empty', async t => {
  const session = await loggedIn(t);
  for (const [text, list] of [['null', []], ['[1,null,3]', [1, 0, 3]], ['[]', []],
    ['[4294967297,-1]', [1, -1]]]) {
    engine.clearCalls();
    assert.equal(session.json('StartScreenShare', `{"excludeWindowList":${text}}`), 0);
    assert.deepEqual(engine.operations()[0][1].excludedWindows, list);
  }
  for (const bad of ['[1,"2"]', '[1.5]', '[[]]', '[true]']) {
    forget();
    assert.equal(session.json('StartScreenShare', `{"excludeWindowList":${bad}}`), -1);
    assert.match(ofMethod('StartScreenShare')[0][2], /^not integer\. \(path:.*\)$/);
  }
});

test('a key that occurs twice, another case or a deeper key', async t => {
  const session = await loggedIn(t);
  assert.equal(session.json('KickOut', '{"userid":"a","UserId":"b","x":{"userId":"c"}}'), 0);
  assert.deepEqual(engine.operations(), [['KickOut', '']]);
  engine.clearCalls();
  assert.equal(session.json('KickOut', '{"userId":"first","userId":"second"}'), 0);
  assert.deepEqual(engine.operations(), [['KickOut', 'first']]);
});

test('a bad member that is not a key of the method does no harm', async t => {
  const session = await loggedIn(t);
  assert.equal(session.json('KickOut', '{"isEnable":"x","userId":"a","volume":1.5}'), 0);
  assert.deepEqual(engine.operations(), [['KickOut', 'a']]);
});

test('volume indications come at most once a second', async t => {
  const session = await loggedIn(t);
  for (const [cycleTime, sent] of [[200, 1000], [1500, 1500], [1000, 1000], [0, 1000], [-5, 1000],
    [1001, 1001], [2147483647, 2147483647], [4294967296, 1000]]) {
    engine.clearCalls();
    session.json('EnableAudioVolumeIndication', { isEnable: true, cycleTime });
    assert.deepEqual(engine.operations(), [['EnableAudioVolumeIndication', true, sent]]);
  }
});

test('the guid of a device record has no effect on what the engine gets', async t => {
  const session = await loggedIn(t);
  for (const name of ['SetCameraDevice', 'StartScreenShare', 'UpdateScreenShareSrcInfo']) {
    engine.clearCalls();
    session.json(name, { guid: 'x', deviceId: 3 });
    session.json(name, { deviceId: 3 });
    const [first, second] = engine.operations();
    assert.deepEqual(first, second);
    assert.equal(session.json(name, { guid: 5 }), -1, 'though its type is checked');
  }
  assert.equal(engine.live().options, 0);
});

for (const method of plainCalls) {
  const { name, returnLevel = 'INFO' } = method;
  test(`${name} ignores its text, calls the engine and returns the code`, async t => {
    const session = await loggedIn(t);
    engine.setResult(name, 3);
    for (const text of ['', '{}', 'no JSON', '[']) {
      forget();
      assert.equal(session.json(name, text), 3);
      assert.deepEqual(engine.operations(), [[name]]);
      assert.deepEqual(log.brief(), [
        ['INFO', tag(name), 'method enter...'], [returnLevel, tag(name), 'method return 3'],
      ]);
    }
    session.json('UnInit');
    forget();
    assert.equal(session.json(name, ''), -1);
    assert.deepEqual(ofMethod(name), []);
    assert.deepEqual(engine.calls(), []);
  });
}

test('the tables cover every JSON method that forwards', () => {
  const own = ['SetLogTag', 'UnInit', 'JoinRoom', 'SendCustomMessage', 'GetRoomAttendeeCount',
    'GetLogPath', 'GetVideoFrame', 'UnbindingVideoFrame', 'GetAudioCaptureDeviceVolume',
    'GetSpeakerDeviceVolume'];
  const covered = [...forwarders, ...plainCalls].map(method => method.name);
  const all = methods.filter(method => method.kind === 'J').map(method => method.name);
  assert.equal(all.length, 50);
  assert.deepEqual([...covered, ...own].sort(), all.sort());
});

test('SubscribeData before CreateDataChannel is forwarded like any other call', async t => {
  const session = await loggedIn(t);
  engine.setResult('SubscribeData', -77);
  assert.equal(session.json('SubscribeData', { topic: 'a' }), -77);
  assert.deepEqual(engine.operations(), [['SubscribeData', 'a']]);
});

test('nothing is forwarded before Init', t => {
  const session = newSession(t);
  for (const method of [...forwarders, ...plainCalls]) {
    assert.equal(session.json(method.name, sampleValues(method)), -1, method.name);
  }
  assert.deepEqual(engine.calls(), []);
  assert.deepEqual(Object.keys(initialValues).length, 4);
});
