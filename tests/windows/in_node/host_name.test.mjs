// The module in a host of another name than node.exe: its imports are bound to that host, and the
// default folder has its name.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { runChildWell } from '../../script/support/child.mjs';
import { documentsDir, newFolder } from '../../script/support/workspace.mjs';

test('a renamed host can load and use the module', async () => {
  const host = path.join(newFolder('host'), 'app.exe');
  fs.copyFileSync(process.execPath, host);
  const { report } = await runChildWell(`
    const session = await new Session().login();
    const folder = session.json('GetLogPath');
    engine.fire('OnVideoDeviceStateChange', [1]);
    const events = await session.eventsWhen(1);
    session.destroy();
    report({ host: path.basename(process.execPath), functions: Object.keys(addon).length, folder, events });
  `, { node: host });
  assert.equal(report.host, 'app.exe');
  assert.equal(report.functions, 8);
  assert.equal(report.folder, path.join(documentsDir, 'app'));
  assert.equal(report.events.length, 1);
  assert.ok(fs.statSync(report.folder).isDirectory());
});
