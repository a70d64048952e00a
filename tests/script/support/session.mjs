// An engine handle with short ways to call methods on it.
import { Log } from './log.mjs';
import { addon, engine, room, until } from './scripted.mjs';
import { newFolder } from './workspace.mjs';

// The folder that every Init of this process gives unless a test gives another one; the process's
// only log file is below it.
export const logRoot = newFolder('logs');
export const log = new Log(logRoot);

export class Session {
  handle = addon.createConfEngine();
  codes = [];

  // execFun
  call(name, ...args) {
    return addon.execFun(this.handle, name, args);
  }

  // execJsonParamFun
  json(name, params = {}) {
    return addon.execJsonParamFun(this.handle, name, asText(params));
  }

  // execJsonParamFunWithCallback
  withCallback(name, params, callback) {
    return addon.execJsonParamFunWithCallback(this.handle, name, asText(params), callback);
  }

  init(params = {}, callback = code => this.codes.push(code)) {
    const all = { rootHost: 'host', logPath: logRoot, puid: room.localUid, password: 'secret' };
    return this.withCallback('Init', { ...all, name: 'My Name', ...params }, callback);
  }

  // Init, with the login completed and its code delivered. The engine's thread is done when this
  // returns, so that nothing of the login is logged later.
  async login(params = {}) {
    const before = this.codes.length;
    engine.setPlan('Init', { mode: 'hold' });
    this.init(params);
    engine.setPlan('Init', { mode: 'automatic' });
    engine.complete(engine.completions().filter(held => held.operation === 'Init').pop().id);
    await until(() => this.codes.length > before, 'the login');
    return this;
  }

  async join(params = { roomId: room.roomId }) {
    await this.login();
    this.json('JoinRoom', params);
    return this;
  }

  events() {
    return addon.loadNodeEvents(this.handle);
  }

  // Waits until `count` events have come and returns them.
  async eventsWhen(count) {
    const events = [];
    await until(() => events.push(...this.events()) >= count || events.length >= count, 'events');
    return events;
  }

  on(name, callback, context) {
    return addon.on(this.handle, name, callback, context);
  }

  off(name) {
    return addon.off(this.handle, name);
  }

  destroy() {
    if (this.destroyed) return;
    this.destroyed = true;
    addon.destroyConfEngine(this.handle);
  }
}

function asText(params) {
  return typeof params === 'string' ? params : JSON.stringify(params);
}

// A session that ends with the test `t`; the scripted engine starts afresh.
export function newSession(t) {
  engine.reset();
  const session = new Session();
  t.after(() => {
    engine.reset();
    session.destroy();
  });
  return session;
}

// The same, logged in, with nothing noted yet.
export async function loggedIn(t, params) {
  const session = await newSession(t).login(params);
  forget();
  return session;
}

export async function inRoom(t) {
  const session = await newSession(t).join();
  forget();
  return session;
}

// Forgets the calls noted and the records logged so far.
export function forget() {
  engine.clearCalls();
  log.mark();
}
