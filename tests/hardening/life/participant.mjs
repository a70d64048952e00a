// One member of a conference, on either engine library, whose callbacks tell when they come late.
//
// KAVRIN_LIBRARY names the library: "scripted", or "real" for the one that a host gets.
import { createRequire } from 'node:module';
import path from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { distDir, moduleFile } from '../../script/support/paths.mjs';

export const isScripted = process.env.KAVRIN_LIBRARY !== 'real';
const scripted = isScripted ? await import('../../script/support/scripted.mjs') : null;
const addon = scripted?.addon ?? createRequire(import.meta.url)(path.join(distDir, moduleFile));
export const engine = scripted?.engine;

export const chance = probability => Math.random() < probability;
export const below = bound => Math.floor(Math.random() * bound);

// What all participants of this environment saw.
export const seen = { callbacks: 0, late: 0, slowestMs: 0, teardowns: 0 };

const rootHost = 'hardening.test';
const logPath = process.env.KAVRIN_LOGS ?? '/nonexistent/folder';

export class Participant {
  handle = addon.createConfEngine();
  ended = false;

  constructor(id) {
    this.id = id;
  }

  json(name, parameters = {}) {
    return addon.execJsonParamFun(this.handle, name, JSON.stringify(parameters));
  }

  call(name, ...given) {
    return addon.execFun(this.handle, name, given);
  }

  // A callback that must not run once destroyConfEngine has returned.
  watched(then = () => {}) {
    return value => {
      seen.callbacks += 1;
      if (this.ended) seen.late += 1;
      then(value);
    };
  }

  later(name, parameters, then) {
    return addon.execJsonParamFunWithCallback(this.handle, name, JSON.stringify(parameters),
      this.watched(then));
  }

  init(then, folder = logPath) {
    const login = { rootHost, logPath: folder, puid: this.id, password: 'p', name: this.id };
    return this.later('Init', login, then);
  }

  login() {
    return new Promise(resolve => this.init(resolve));
  }

  // Sends and receives all there is.
  enter(room) {
    for (const name of ['EnablePublish', 'EnableSubscribe']) {
      this.json(name, { enableAudio: true, enableVideo: true });
    }
    this.json('JoinRoom', { roomId: room });
    this.json('StartPreview');
    this.buffer = Buffer.alloc(1920 * 1080 * 1.5);
    this.call('BindingVideoFrame', this.id, 0, this.buffer);
    this.listen();
  }

  listen() {
    for (const name of ['onFrameSizeChanged', 'onBufferOverflow']) {
      addon.on(this.handle, name, this.watched(), { name });
    }
  }

  unlisten() {
    for (const name of ['onFrameSizeChanged', 'onBufferOverflow']) addon.off(this.handle, name);
  }

  send(then) {
    return this.later('AsyncSendCustomMessage', { msg: 'text', toUser: '' }, then);
  }

  fetch() {
    const text = this.json('GetVideoFrame', { uid: this.id, videoSourceType: 0 });
    return typeof text === 'string' ? JSON.parse(text).ret : text;
  }

  poll() {
    return addon.loadNodeEvents(this.handle);
  }

  // Ends by one of the ways that script has; destroyConfEngine is always the last of them.
  end() {
    const start = performance.now();
    if (chance(0.3)) this.json('LeaveRoom');
    if (chance(0.3)) this.json('UnInit');
    addon.destroyConfEngine(this.handle);
    this.ended = true;
    seen.teardowns += 1;
    seen.slowestMs = Math.max(seen.slowestMs, performance.now() - start);
  }
}

// Lets the scripted engine's threads report everything at once, in the background; the real one
// does so by itself.
export function flood(id) {
  if (!isScripted) return;
  const room = { roomId: 'r', localUid: id };
  const more = { room, threads: 2, count: 100, background: true, intervalUs: 20 };
  engine.fire('OnDataMessageReceived', ['data'], more);
  engine.fire('OnRoomMemberStateChange', ['b', 4], more);
  engine.fireFrame(id, { width: 8, height: 8, streamType: 0 }, more);
  engine.fireFrame(id, { width: 16, height: 8, streamType: 0 }, { ...more, count: 3 });
}

// Completions come some time after they were asked for, even when nobody waits any more.
export function answerLate() {
  if (!isScripted) return;
  engine.setPlan('SendCustomMessage', { mode: 'automatic', delayMs: 2, late: true });
  engine.setPlan('Init', { mode: 'automatic', delayMs: 1, late: chance(0.5) });
}

// What is still there of the scripted engine when everybody has left.
export function leftOver() {
  if (!isScripted) return 0;
  engine.reset();
  return Object.values(engine.live()).reduce((sum, count) => sum + count, 0);
}

export { sleep };
