// One member of the conference: an engine handle and the eight functions that work on it.
import { EventEmitter } from 'node:events';

const pollIntervalMs = 20;

/** Emits each engine event under its name, with the event's values as arguments. */
export class Participant extends EventEmitter {
  constructor(module, userId, name) {
    super();
    this.module = module;
    this.userId = userId;
    this.name = name;
    this.handle = module.createConfEngine();
    this.timer = setInterval(() => this.poll(), pollIntervalMs);
  }

  /** Calls a method with named parameters; throws when the engine refuses. */
  call(method, parameters = {}) {
    const code = this.module.execJsonParamFun(this.handle, method, JSON.stringify(parameters));
    if (code !== 0) throw new Error(`${this.name}: ${method} answered ${code}`);
  }

  /** Calls a method that gives a value back. */
  ask(method, parameters = {}) {
    return this.module.execJsonParamFun(this.handle, method, JSON.stringify(parameters));
  }

  /** Calls a method that takes its arguments as a list. */
  query(method, ...args) {
    return this.module.execFun(this.handle, method, args);
  }

  /** Calls a method that answers later; resolves with the engine's code. */
  later(method, parameters) {
    return new Promise((resolve, reject) => {
      const text = JSON.stringify(parameters);
      const begun = this.module.execJsonParamFunWithCallback(this.handle, method, text, resolve);
      if (begun !== 0) reject(new Error(`${this.name}: ${method} answered ${begun}`));
    });
  }

  /** Resolves with the values of the next event of that name that `accepts` them. */
  next(event, accepts = () => true, timeoutMs = 10_000) {
    return new Promise((resolve, reject) => {
      // One poll may emit many events before a promise is continued, so the listener stays until
      // the right one has come.
      const listener = (...values) => {
        if (accepts(...values)) settle(() => resolve(values));
      };
      const settle = (outcome) => {
        clearTimeout(timer);
        this.off(event, listener);
        outcome();
      };
      const late = new Error(`${this.name}: no ${event} within ${timeoutMs / 1000} seconds`);
      const timer = setTimeout(() => settle(() => reject(late)), timeoutMs);
      this.on(event, listener);
    });
  }

  poll() {
    for (const { key, parms } of this.module.loadNodeEvents(this.handle)) {
      this.emit(key, ...parms);
      this.emit('any', key, parms);
    }
  }

  /** Has the pictures of a member copied into a buffer of ours. */
  watch(userId, streamType, size) {
    const picture = Buffer.alloc(size);
    if (this.query('BindingVideoFrame', userId, streamType, picture) !== 0) {
      throw new Error(`${this.name}: cannot bind a buffer`);
    }
    return picture;
  }

  /** Fetches the newest picture into the watched buffer: {ret, width, height}. */
  fetch(userId, videoSourceType) {
    return JSON.parse(this.ask('GetVideoFrame', { uid: userId, videoSourceType }));
  }

  end() {
    clearInterval(this.timer);
    this.module.destroyConfEngine(this.handle);
  }
}
