// Script environments beside the main one, in threads of this process.
import fs from 'node:fs';
import path from 'node:path';
import { Worker } from 'node:worker_threads';
import { supportUrl } from './child.mjs';
import { newFolder } from './workspace.mjs';

const prelude = `
  import { parentPort, workerData } from 'node:worker_threads';
  import { setTimeout as sleep } from 'node:timers/promises';
  import { addon, asCommand, engine, externalAt, pointerOf, room, settle, until }
    from '${supportUrl('scripted.mjs')}';
  import { Session, log, logRoot } from '${supportUrl('session.mjs')}';
  const report = value => parentPort.postMessage(value);
`;

// A running environment; it ends with the test `t` at the latest.
export class Environment {
  #messages = [];
  #waiting = [];

  constructor(t, source, workerData = {}) {
    const file = path.join(newFolder('worker'), 'worker.mjs');
    fs.writeFileSync(file, prelude + source);
    this.worker = new Worker(file, { workerData });
    // The exit code, or the error that ended the environment; either way it is gone by then.
    this.ended = new Promise((resolve, reject) => {
      let failure = null;
      this.worker.on('error', error => {
        failure = error;
        this.#waiting.forEach(waiting => waiting.reject(error));
      });
      this.worker.on('exit', code => (failure ? reject(failure) : resolve(code)));
    });
    this.ended.catch(() => {});
    t.after(() => this.terminate());
    this.worker.on('message', message => {
      const waiting = this.#waiting.shift();
      if (waiting) waiting.resolve(message);
      else this.#messages.push(message);
    });
  }

  // The next value that the environment reports.
  next() {
    if (this.#messages.length) return Promise.resolve(this.#messages.shift());
    return new Promise((resolve, reject) => this.#waiting.push({ resolve, reject }));
  }

  terminate() {
    return this.worker.terminate();
  }
}
