// The geometry of screens and windows on a display, and its absence without one.
import assert from 'node:assert/strict';
import test from 'node:test';
import { runChildWell } from './support/child.mjs';
import { DisplayClient, displayServer, startDisplay } from './support/display.mjs';
import { engine } from './support/scripted.mjs';
import { loggedIn } from './support/session.mjs';

const noDisplay = process.platform === 'win32'
  ? 'X servers are the other system\'s; tests/windows has monitors and windows'
  : 'Xvfb is not installed';
const display = { skip: displayServer ? false : noDisplay, timeout: 60000 };

// What EnumScreenAndWindow gives for `sources`, and the lines it logs, in a process on `name`.
async function enumerate(name, sources) {
  const { report } = await runChildWell(`
    const session = await new Session().login();
    engine.setOutput('EnumScreenAndWindow', ${JSON.stringify(sources)});
    log.mark();
    const list = session.call('EnumScreenAndWindow');
    const lines = log.brief();
    session.destroy();
    report({ list, keys: list.map(source => Object.keys(source)), lines });
  `, { env: { DISPLAY: name } });
  return report;
}

const geometryOf = ({ x, y, width, height }) => [x, y, width, height];
const none = [undefined, undefined, undefined, undefined];

test('a screen has the place of the monitor of its name', display, async t => {
  const name = await startDisplay(t, { width: 800, height: 600 });
  const { list, keys, lines } = await enumerate(name, [
    { id: 7, type: 1, name: 'screen', thumbnail: [1, 2, 3], thumbnailWidth: 1, thumbnailHeight: 1 },
    { id: 8, type: 0, name: 'Screen' },
    { id: 9, type: 1, name: '' },
  ]);
  assert.deepEqual(list.map(geometryOf), [[0, 0, 800, 600], none, none]);
  assert.deepEqual(keys[0], ['id', 'type', 'thumbnailWidth', 'thumbnailHeight', 'thumbnailData',
    'thumbnailDataLength', 'x', 'y', 'width', 'height', 'name']);
  assert.deepEqual(keys[1], ['id', 'type', 'thumbnailWidth', 'thumbnailHeight',
    'thumbnailDataLength', 'name']);
  assert.deepEqual(lines, [
    ['INFO', 'KavrinNodeConferenceEngine::EnumScreenAndWindow', 'args:'],
    ['INFO', 'KavrinNodeConferenceEngine::EnumScreenAndWindow', 'method return list size:3'],
    ['INFO', 'kv_engine::convertScreenShareDeviceInfoVerctor',
      'ScreenShareDeviceInfo:id:7,type:1,name:screen,left:0,top:0,right:800,bottom:600'],
  ]);
});

test('a window has its own place; hidden, gone and unknown ones have none', display, async t => {
  const name = await startDisplay(t, { width: 800, height: 600 });
  const client = await DisplayClient.connect(t, name);
  const outer = client.createWindow({ x: 100, y: 50, width: 320, height: 240 });
  const inner = client.createWindow({ x: 10, y: 20, width: 64, height: 48, parent: outer });
  const left = client.createWindow({ x: -30, y: -40, width: 200, height: 100 });
  const hidden = client.createWindow({ x: 0, y: 0, width: 50, height: 50 });
  const gone = client.createWindow({ x: 0, y: 0, width: 50, height: 50 });
  [outer, inner, left, hidden, gone].forEach(window => client.show(window));
  client.hide(hidden);
  client.destroy(gone);
  await client.sync();
  const windows = [outer, inner, left, hidden, gone, 0, -1, 123456789];
  const { list, lines } = await enumerate(name,
    windows.map((id, index) => ({ id, type: 2, name: `window ${index} %s` })));
  assert.deepEqual(list.map(geometryOf), [
    [100, 50, 320, 240], [110, 70, 64, 48], [-30, -40, 200, 100], none, none, none, none, none,
  ]);
  assert.deepEqual(lines.slice(2).map(([, , message]) => message), [
    `ScreenShareDeviceInfo:id:${outer},type:2,name:window 0 %s,left:100,top:50,right:420,bottom:290`,
    `ScreenShareDeviceInfo:id:${inner},type:2,name:window 1 %s,left:110,top:70,right:174,bottom:118`,
    `ScreenShareDeviceInfo:id:${left},type:2,name:window 2 %s,left:-30,top:-40,right:170,bottom:60`,
  ]);
});

test('a display that is not there, or none, gives no geometry', { timeout: 60000 }, async () => {
  for (const name of [':99999', 'nonsense', '']) {
    const { list } = await enumerate(name,
      [{ id: 1, type: 1, name: 'screen' }, { id: 2, type: 2, name: 'window' }]);
    assert.deepEqual(list.map(geometryOf), [none, none]);
  }
});

test('the list is empty again when the next enumeration finds nothing', async t => {
  const session = await loggedIn(t);
  engine.setOutput('EnumScreenAndWindow', [{ id: 1, type: 1, name: 'a', thumbnail: [1] }]);
  assert.equal(session.call('EnumScreenAndWindow').length, 1);
  engine.setOutput('EnumScreenAndWindow', []);
  assert.deepEqual(session.call('EnumScreenAndWindow'), []);
});
