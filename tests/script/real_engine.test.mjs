// The module on its real engine, as a host gets the two: one conference in one process, seen
// through the eight functions alone.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { runChild, runChildWell } from './support/child.mjs';
import { distDir, moduleFile } from './support/paths.mjs';

const skip = process.platform === 'win32' && 'the engine library for Windows is its maker\'s';
const limit = { timeout: 60000, skip };

const participants = `
  const until = async (condition, what) => {
    const deadline = Date.now() + 10000;
    for (;;) {
      const value = await condition();
      if (value) return value;
      if (Date.now() > deadline) throw new Error('waited in vain for ' + what);
      await sleep(5);
    }
  };
  const logPath = fs.mkdtempSync(path.join(process.env.TMPDIR, 'logs-'));
  class Participant {
    handle = addon.createConfEngine();
    seen = [];
    constructor(id) { this.id = id; }
    json(name, params = {}) {
      return addon.execJsonParamFun(this.handle, name, JSON.stringify(params));
    }
    call(name, ...args) { return addon.execFun(this.handle, name, args); }
    later(name, params) {
      return new Promise(resolve => {
        const result = addon.execJsonParamFunWithCallback(this.handle, name,
          JSON.stringify(params), resolve);
        if (result !== 0) throw new Error(name + ' returned ' + result);
      });
    }
    login(params = {}) {
      return this.later('Init', { rootHost: 'conference.test', logPath, puid: this.id,
        password: 'p', name: this.id.toUpperCase(), ...params });
    }
    sees(key, ...values) {
      return until(() => {
        this.seen.push(...addon.loadNodeEvents(this.handle));
        return this.seen.find(event => event.key === key &&
          values.every((value, index) => event.parms[index + 2] === value));
      }, key + ' at ' + this.id);
    }
    end() {
      this.json('LeaveRoom');
      const start = Date.now();
      const result = this.json('UnInit');
      addon.destroyConfEngine(this.handle);
      return { result, ms: Date.now() - start };
    }
  }
`;

const real = { real: true, timeoutMs: 50000 };

test('module and engine stand beside each other and find each other by a relative path', { skip }, () => {
  assert.ok(fs.existsSync(path.join(distDir, 'libKavrinConferenceEngine.so')));
  const dynamic = execFileSync('readelf', ['-d', path.join(distDir, moduleFile)],
    { encoding: 'utf8' });
  assert.match(dynamic, /NEEDED.*\[libKavrinConferenceEngine\.so\]/);
  assert.match(dynamic, /(RUNPATH|RPATH).*\[\$ORIGIN\]/);
});

test('two participants meet, exchange messages and see each other', limit, async () => {
  const { report } = await runChildWell(`${participants}
    const ann = new Participant('ann');
    const bob = new Participant('bob');
    const codes = [await ann.login(), await bob.login()];
    for (const each of [ann, bob]) {
      each.json('EnablePublish', { enableAudio: true, enableVideo: true });
      each.json('EnableSubscribe', { enableAudio: true, enableVideo: true });
      codes.push(each.json('JoinRoom', { roomId: 'r', userExtendedInfo: 'about ' + each.id }));
    }
    await ann.sees('OnRoomMemberStateChange', 'bob', 1);
    await ann.sees('OnRoomMemberStateChange', 'bob', 4);
    await bob.sees('OnRoomMemberStateChange', 'ann', 4);
    const count = bob.json('GetRoomAttendeeCount');
    const info = bob.call('GetAttendeeInfo', 'ann');
    codes.push(ann.json('SendCustomMessage', { msg: 'hello — 你好', toUser: 'bob' }));
    await bob.sees('OnCustomMessage', 'hello — 你好');
    codes.push(await bob.later('AsyncSendCustomMessage', { msg: 'to all', toUser: '' }));
    await ann.sees('OnCustomMessage', 'to all');
    const buffer = Buffer.alloc(1920 * 1080 * 2);
    ann.call('BindingVideoFrame', 'bob', 0, buffer);
    const fetch = () => JSON.parse(ann.json('GetVideoFrame', { uid: 'bob', videoSourceType: 0 }));
    const picture = await until(() => { const f = fetch(); return f.ret === 0 && f; }, 'a picture');
    const first = Buffer.from(buffer.subarray(0, picture.width * picture.height * 1.5));
    await until(() => fetch().ret === 0 && !first.equals(buffer.subarray(0, first.length)),
      'a picture that differs');
    const values = new Set(first).size;
    bob.json('LeaveRoom');
    await ann.sees('OnRoomMemberStateChange', 'bob', 2);
    const afterwards = ann.json('GetRoomAttendeeCount');
    report({ codes, count, info, picture, values, afterwards, ends: [ann.end(), bob.end()] });
  `, real);
  assert.deepEqual(report.codes, [0, 0, 0, 0, 0, 0]);
  assert.equal(report.count, 2);
  assert.equal(report.info.m_pUserId, 'ann');
  assert.equal(report.info.m_pUserExtInfo, 'about ann');
  assert.ok(report.picture.width > 0 && report.picture.height > 0);
  assert.ok(report.values > 2, 'the picture is not blank');
  assert.equal(report.afterwards, 1);
  for (const { result, ms } of report.ends) {
    assert.equal(result, 0);
    assert.ok(ms < 2000, `UnInit took ${ms} ms`);
  }
});

test('a login without a user id is answered with a code that is not 0', limit, async () => {
  const { report } = await runChildWell(`${participants}
    const nobody = new Participant('');
    const code = await nobody.login();
    nobody.end();
    report(code);
  `, real);
  assert.notEqual(report, 0);
});

test('a snapshot is an image file, and its event names it', limit, async () => {
  const { report } = await runChildWell(`${participants}
    const ann = new Participant('ann');
    await ann.login();
    ann.json('EnablePublish', { enableAudio: false, enableVideo: true });
    ann.json('JoinRoom', { roomId: 'r' });
    ann.json('StartPreview');
    const filePath = path.join(process.env.TMPDIR, 'picture.png');
    const code = await until(() => ann.json('TakeSnapshot', { userId: 'ann', srcType: 0, filePath })
      === 0, 'a snapshot');
    const event = await ann.sees('OnSnapshotTaken', 'ann');
    const head = fs.readFileSync(filePath).subarray(0, 8).toString('latin1');
    ann.end();
    report({ code, parms: event.parms.slice(2), head, filePath });
  `, real);
  assert.equal(report.head, '\x89PNG\r\n\x1a\n');
  const [user, type, file, width, height, code] = report.parms;
  assert.deepEqual([user, type, file, code], ['ann', 0, report.filePath, 0]);
  assert.ok(width > 0 && height > 0);
});

test('a participant that is dropped in the middle of everything leaves the others at peace', limit,
  async () => {
    const { report } = await runChildWell(`${participants}
      const ann = new Participant('ann');
      await ann.login();
      ann.json('EnableSubscribe', { enableAudio: true, enableVideo: true });
      ann.json('JoinRoom', { roomId: 'r' });
      for (let i = 0; i < 10; i++) {
        const guest = new Participant('guest ' + i);
        await guest.login();
        guest.json('EnablePublish', { enableAudio: true, enableVideo: true });
        guest.json('JoinRoom', { roomId: 'r' });
        guest.later('AsyncSendCustomMessage', { msg: 'm', toUser: '' });
        await sleep(i * 3);
        addon.destroyConfEngine(guest.handle);
        await ann.sees('OnRoomMemberStateChange', 'guest ' + i, 2);
      }
      const count = ann.json('GetRoomAttendeeCount');
      ann.end();
      report(count);
    `, real);
    assert.equal(report, 1);
  });

for (const [what, source] of Object.entries({
  'process.exit': 'process.exit(0);',
  'running out of work': '',
})) {
  test(`a process that ends by ${what} in the middle of a conference ends well`, limit, async () => {
    await runChildWell(`${participants}
      for (const id of ['ann', 'bob']) {
        const each = new Participant(id);
        await each.login();
        each.json('EnablePublish', { enableAudio: true, enableVideo: true });
        each.json('JoinRoom', { roomId: 'r' });
      }
      await sleep(100);
      ${source}
    `, { ...real, timeoutMs: 20000 });
  });
}

test('a process that ends by an exception in the middle of a conference says so', limit,
  async () => {
    const result = await runChild(`${participants}
      const ann = new Participant('ann');
      await ann.login();
      ann.json('EnablePublish', { enableAudio: true, enableVideo: true });
      ann.json('JoinRoom', { roomId: 'r' });
      addon.on(ann.handle, 'onFrameSizeChanged', () => {}, {});
      throw new Error('the end');
    `, { ...real, timeoutMs: 20000 });
    assert.equal(result.signal, null);
    assert.equal(result.code, 1);
    assert.match(result.stderr, /the end/);
  });

test('workers hold conferences with each other and can be terminated at any time', limit,
  async () => {
    const { report } = await runChildWell(`
      import { Worker, isMainThread, workerData, parentPort } from 'node:worker_threads';
      import { fileURLToPath } from 'node:url';
      ${participants}
      if (isMainThread) {
        const outcomes = [];
        for (let round = 0; round < 5; round++) {
          const workers = ['a', 'b', 'c'].map(id =>
            new Worker(fileURLToPath(import.meta.url), { workerData: id }));
          outcomes.push(...await Promise.all(workers.map(worker =>
            new Promise((resolve, reject) => worker.on('message', resolve).on('error', reject)))));
          await Promise.all(workers.map(worker => worker.terminate()));
        }
        report(outcomes);
      } else {
        const each = new Participant(workerData);
        await each.login();
        each.json('EnablePublish', { enableAudio: true, enableVideo: true });
        each.json('EnableSubscribe', { enableAudio: true, enableVideo: true });
        each.json('JoinRoom', { roomId: 'r' });
        addon.on(each.handle, 'onFrameSizeChanged', () => {}, {});
        await until(() => each.json('GetRoomAttendeeCount') === 3, 'all three');
        parentPort.postMessage('met');
        for (;;) { addon.loadNodeEvents(each.handle); await sleep(1); }
      }
    `, real);
    assert.deepEqual(report, Array(15).fill('met'));
  });
