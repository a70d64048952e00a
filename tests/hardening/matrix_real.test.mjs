// All methods through every entry point in every state on the real engine, beside the rules that
// the scripted engine is held to. The module decides everything but the codes that an engine
// answers; where the real engine answers, its own table says what.
import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import path from 'node:path';
import test from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { entriesOf, expected, kindOf, states } from '../script/support/matrix.mjs';
import { methods } from '../script/support/methods.mjs';
import { distDir, moduleFile } from '../script/support/paths.mjs';
import { answersOf } from './matrix/real_answers.mjs';
import { seconds } from './support/measure.mjs';

const addon = createRequire(import.meta.url)(path.join(distDir, moduleFile));
// No log: the records would be printed among the results.
const logPath = '/nonexistent/folder';
const entries = entriesOf(addon, logPath);

const login = JSON.stringify({ rootHost: 'matrix.test', logPath, puid: 'ann', password: 'p', name: 'Ann' });

async function until(condition, what) {
  const deadline = Date.now() + 10000;
  while (!condition()) {
    if (Date.now() > deadline) throw new Error(`waited in vain for ${what}`);
    await sleep(1);
  }
}

const joined = handle => addon.loadNodeEvents(handle)
  .some(({ key, parms }) => key === 'OnRoomStateChange' && parms[2] === 2);

async function enter(state) {
  const handle = addon.createConfEngine();
  if (state === 'before Init') return handle;
  let code = null;
  addon.execJsonParamFunWithCallback(handle, 'Init', login, answer => { code = answer; });
  if (state === 'login pending') return handle;
  await until(() => code === 0, 'the login');
  addon.execJsonParamFun(handle, 'JoinRoom', '{"roomId":"r"}');
  await until(() => joined(handle), 'the room');
  if (state === 'after UnInit') addon.execJsonParamFun(handle, 'UnInit', '');
  return handle;
}

for (const [stateName, state] of Object.entries(states)) {
  for (const [entryName, entry] of Object.entries(entries)) {
    test(`${entryName} ${stateName}`, { timeout: seconds(120) }, async () => {
      const got = {};
      const wanted = {};
      for (const method of methods) {
        for (const [form, make] of Object.entries(entry.forms)) {
          const handle = await enter(stateName);
          const given = make(entry.kind === 'A' ? method.name : method);
          const result = kindOf(entry.call(handle, method, given));
          addon.destroyConfEngine(handle);
          const cell = `${method.name}, ${form}`;
          const ruled = expected(method, entry, form, state, { code: 'code', volume: 'volume' });
          const allowed = answersOf(method.name, ruled, stateName);
          got[cell] = result;
          wanted[cell] = allowed.includes(result) ? result : allowed;
        }
      }
      assert.deepEqual(got, wanted);
      assert.equal(Object.keys(got).length, 61 * Object.keys(entry.forms).length);
    });
  }
}
