// The module on the scripted engine, and that engine's controls.
//
// Importing this file loads both into the process and sends what the module prints through C stdio
// to a file, away from the test runner's reports.
import fs from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { isMainThread } from 'node:worker_threads';
import { moduleFile, scriptedDir } from './paths.mjs';
import { workspace } from './workspace.mjs';

const require = createRequire(import.meta.url);
const control = require(path.join(scriptedDir, 'scripted_control.node'));

const stdoutFile = path.join(workspace, 'stdout.txt');
if (isMainThread && !process.env.KAVRIN_KEEP_STDOUT) control.captureStdout(stdoutFile);

export const addon = require(path.join(scriptedDir, moduleFile));

// What the module has printed so far.
export function stdoutText() {
  control.flushStdout();
  return fs.readFileSync(stdoutFile, 'utf8');
}

// An external that wraps `address` (a BigInt), the address that an external wraps, the Node-API
// version that the module in a file asks for, and the calling thread's number as logs show it.
export const { externalAt, pointerOf, apiVersionOf, currentThread } = control;

// Kept, because tests put functions of their own in their place.
const { parse, stringify } = JSON;

function command(name, members = {}) {
  const answer = parse(control.command(stringify({ ...members, command: name })));
  if (answer.error !== undefined) throw new Error(`${name}: ${answer.error}`);
  return answer.value;
}

// A command as hooks take it.
export const asCommand = (name, members = {}) => ({ ...members, command: name });

export const engine = {
  reset: () => command('reset'),
  calls: (from = 0) => command('calls', { from }),
  // The noted calls as [operation, ...arguments], without those that only make or destroy engines.
  operations: () => command('calls').map(call => [call.operation, ...call.arguments]),
  clearCalls: () => command('clearCalls'),
  setResult: (operation, result) => command('setResult', { operation, result }),
  setThrow: (operation, text = null) => command('setThrow', { operation, text }),
  setOutput: (operation, output) => command('setOutput', { operation, output }),
  // plan: {mode: 'automatic' | 'inline' | 'hold' | 'drop', code, text, delayMs, late}
  setPlan: (operation, plan) => command('setPlan', { text: '', ...plan, operation }),
  // hook: {run: asCommand(...), ownThread, afterGate, times}
  addHook: (operation, hook) => command('addHook', { ...hook, operation }),
  block: operation => command('block', { operation }),
  release: operation => command('release', { operation }),
  waiting: () => command('waiting'),
  // Calls a callback of the engine's sink; `more` as callbacks.h says.
  fire: (callback, args, more = {}) => command('fire', { callback, arguments: args, ...more }),
  // Shows a picture; picture: {width, height, streamType, seed, withoutData}
  fireFrame: (user, picture, more = {}) =>
    command('fire', { callback: 'OnRoomMemberVideoFrame', arguments: [user, picture], ...more }),
  completions: () => command('completions'),
  complete: (id, code = 0, more = {}) => command('complete', { id, code, ...more }),
  // Answers the only held completion.
  completeOnly(code = 0, more = {}) {
    const held = command('completions');
    if (held.length !== 1) throw new Error(`${held.length} completions are held`);
    return this.complete(held[0].id, code, more);
  },
  // Lets a thread of the engine wait until a completion of `operation` is held and call it; the
  // completion stays held.
  completeSoon: (operation, code = 0) => command('completeSoon', { operation, code }),
  // Makes two threads write the same `size` bytes without a lock.
  race: size => command('race', { size }),
  join: () => command('join'),
  live: () => command('live'),
  newestEngine: () => command('newestEngine'),
};

export const room = { roomId: 'room 1', localUid: 'me' };

// The bytes of a picture that fireFrame shows.
export function pictureBytes({ width, height, seed = 0 }) {
  const size = Math.floor((width * height * 3) / 2);
  return Buffer.from(Array.from({ length: size }, (_, i) => (seed + 7 * i) & 255));
}

// Waits until `condition` holds; fails after `timeoutMs`.
export async function until(condition, what = 'a condition', timeoutMs = 10000) {
  const deadline = Date.now() + timeoutMs;
  for (;;) {
    const value = await condition();
    if (value) return value;
    if (Date.now() > deadline) throw new Error(`waited in vain for ${what}`);
    await sleep(2);
  }
}

// Lets deliveries that are already queued for this thread run.
export async function settle(turns = 5) {
  for (let i = 0; i < turns; i++) await sleep(1);
}
