// What the lines of a sequence can name: the module's functions, handles of every kind, values that
// only a hostile script makes, and the scripted engine.
//
// The functions in `m` count their calls, swallow what they may throw and note what they may not.
import { setTimeout as sleep } from 'node:timers/promises';
import {
  addon, engine, externalAt, pointerOf, room,
} from '../../script/support/scripted.mjs';
import { newFolder } from '../../script/support/workspace.mjs';

export { engine, externalAt, room };

const logRoot = newFolder('logs');

// --- What goes wrong ----------------------------------------------------------------------------

class Mine extends Error {}
export const mine = () => new Mine('thrown by the script itself');

// No array: lines put setters on the prototypes of all objects.
const noted = new Set();
export const failures = () => [...noted];
export const fail = what => { if (noted.size < 5) noted.add(what); };

// The module's own errors, and the words of the script machine for what hostile values do.
const expectedErrors = new RegExp([
  '^Expected an object as the first argument$', '^Wrong number of arguments$',
  'Invalid arguments to o(n|ff)\\(\\)', '^Invalid event name$', '^Failed to create reference$',
  '^Failed to create threadsafe function$', '^Argument must be a Buffer$',
  'on a proxy that has been revoked', 'Cannot convert a Symbol value',
].join('|'));

export function judge(error) {
  if (error instanceof Mine || expectedErrors.test(error?.message ?? '')) return;
  fail(`unexpected error: ${error?.stack ?? String(error)}`);
}

const longestCallMs = 20000;
// How many calls there were, and how many engines did not start: those are not destroyed.
export const progress = { calls: 0, failedStarts: 0 };

function wrapped(name) {
  return (...given) => {
    progress.calls += 1;
    const start = Date.now();
    try {
      const result = addon[name](...given);
      if (name === 'createConfEngine') note(result);
      if (given[1] === 'Init' && result === -1) progress.failedStarts += 1;
      if (name === 'destroyConfEngine') noteDestroyed(given[0]);
      return result;
    } catch (error) {
      judge(error);
      return undefined;
    } finally {
      const ms = Date.now() - start;
      if (name === 'execJsonParamFunWithCallback') noteEngine(given[0]);
      if (ms > longestCallMs) fail(`${name} took ${ms} ms`);
    }
  };
}

export const m = Object.fromEntries(Object.keys(addon).map(name => [name, wrapped(name)]));

// --- Handles ------------------------------------------------------------------------------------

// Every handle that script holds and what it stands for: {handle, destroyed}.
const sessions = new WeakMap();
const live = new Set();
const slots = new Map();
const byNumber = new Map();
const destroyed = new Map();
const kDestroyedKept = 50;
let destroyedCount = 0;
let numbers = new BigUint64Array(8);

// Numbers of handles, shared by the threads of the process.
export const shareNumbers = shared => { numbers = new BigUint64Array(shared); };

function note(handle) {
  const made = { handle, destroyed: false };
  sessions.set(handle, made);
  live.add(made);
  const number = pointerOf(handle.__engine);
  byNumber.set(number, made);
  numbers[Math.floor(Math.random() * numbers.length)] = number;
}

export function create(slot) {
  const made = sessions.get(m.createConfEngine());
  slots.set(slot, made);
  return made;
}

const session = slot => slots.get(slot) ?? create(slot);
export const h = slot => session(slot).handle;

function noteDestroyed(value) {
  const known = typeof value === 'object' && value !== null ? sessions.get(value) : undefined;
  if (!known) return;
  known.destroyed = true;
  live.delete(known);
  destroyed.set(destroyedCount++ % kDestroyedKept, known.handle);
}

export const gone = index => destroyed.get(index) ?? {};
export function foreign(index) {
  const stand = { __engine: externalAt(numbers[index]) };
  const owner = byNumber.get(numbers[index]);
  return owner ? standingFor(owner.handle, stand) : stand;
}
export const forged = address => ({ __engine: externalAt(BigInt(address)) });

function standingFor(handle, stand) {
  if (sessions.has(handle)) sessions.set(stand, sessions.get(handle));
  return stand;
}

export const proxied = handle => standingFor(handle, new Proxy(handle, {}));
export const inheriting = handle => standingFor(handle, Object.create(handle));
export const throwing = () => ({ get __engine() { throw mine(); } });

export function acting(handle, act) {
  const external = handle.__engine;
  return standingFor(handle, { get __engine() { act(); return external; } });
}

// A callback that must not run once its handle is destroyed.
export function watched(slot) {
  const owner = session(slot);
  return () => {
    if (owner.destroyed) fail('a callback ran after destroyConfEngine had returned');
  };
}

export function login(user, withLog) {
  return JSON.stringify({ rootHost: 'host', logPath: withLog ? logRoot : '/nonexistent/folder',
    puid: user, password: 'p', name: 'n' });
}

// --- Values -------------------------------------------------------------------------------------

export const text = length => 'x'.repeat(length);
export const wideText = length => '你'.repeat(length);
export const loneSurrogates = length => '\ud800'.repeat(length);
export const nested = depth => '['.repeat(depth) + ']'.repeat(depth);
export const hugeMember = key => `{${JSON.stringify(key)}:"${text(2000000)}"}`;

export function cyclic() {
  const object = {};
  object.self = object;
  return object;
}

export function cyclicArray() {
  const list = ['a'];
  list.push(list);
  return list;
}

export function deepArray(depth) {
  let list = [];
  for (let i = 0; i < depth; i++) list = [list];
  return list;
}

export const sparse = length => new Array(length);

export function revokedProxy() {
  const { proxy, revoke } = Proxy.revocable({}, {});
  revoke();
  return proxy;
}

const thrower = () => { throw mine(); };
const traps = ['get', 'set', 'has', 'deleteProperty', 'ownKeys', 'getOwnPropertyDescriptor',
  'defineProperty', 'getPrototypeOf', 'isExtensible'];
const hostileTraps = Object.fromEntries(traps.map(name => [name, thrower]));
export const hostileProxy = () => new Proxy({}, hostileTraps);

export function gettingArray(list, act) {
  Object.defineProperty(list, 0, { get() { act(); return 'a'; }, configurable: true });
  return list;
}

export function shrinkingArray(length) {
  const list = Array.from({ length }, () => 'a');
  return gettingArray(list, () => { list.length = 0; });
}

export function detached(length) {
  const memory = new ArrayBuffer(length);
  const view = new Uint8Array(memory);
  structuredClone(memory, { transfer: [memory] });
  return view;
}

const resizableBuffers = new Set();
const canResize = 'resize' in ArrayBuffer.prototype;

export function resizable(length, most) {
  if (!canResize) return Buffer.alloc(length);
  const memory = new ArrayBuffer(length, { maxByteLength: most });
  resizableBuffers.add(memory);
  if (resizableBuffers.size > 10) resizableBuffers.delete(resizableBuffers.values().next().value);
  return new Uint8Array(memory);
}

export function resizeBuffers() {
  for (const memory of resizableBuffers) memory.resize(Math.floor(Math.random() * memory.maxByteLength));
}

export function shrunk(length) {
  const view = resizable(length, length);
  if (canResize) view.buffer.resize(1);
  return view;
}

export function grown(length, most) {
  const view = resizable(length, most);
  if (canResize) view.buffer.resize(most);
  return view;
}

export const shared = length => new Uint8Array(new SharedArrayBuffer(length));

// --- Hostile surroundings -----------------------------------------------------------------------

// Runs `body` while setting `property` on a plain object runs `act`, once.
export function withSetter(property, act, body) {
  let acted = false;
  Object.defineProperty(Object.prototype, property, {
    configurable: true,
    set() {
      if (acted) return;
      acted = true;
      act();
    },
  });
  try {
    body();
  } catch (error) {
    judge(error);
  } finally {
    delete Object.prototype[property];
  }
}

// The next call of JSON.parse runs `act`.
export function parseActs(act) {
  const { parse } = JSON;
  JSON.parse = source => {
    JSON.parse = parse;
    act();
    return parse(source);
  };
}

export const collect = () => globalThis.gc?.();

export async function turn(times) {
  for (let i = 0; i <= times; i++) await sleep(0);
}

// --- The engine ---------------------------------------------------------------------------------

const attempt = act => {
  try {
    act();
  } catch (error) {
    if (!/no such (engine|completion)/.test(error.message)) throw error;
  }
};

export const fire = (name, given, more) => attempt(() => engine.fire(name, given, more));

// The engine that was made last, and the session of the handle that made it.
let newest = { number: 0 };

function noteEngine(handle) {
  const number = engine.newestEngine();
  if (number !== newest.number) newest = { number, owner: sessions.get(handle) };
}

// Callbacks of an engine that has been stopped, as long as the handle behind it lives: not even an
// engine that forgets to stop outlives that.
export function fireLate(name, given, more) {
  if (!newest.owner || newest.owner.destroyed) return;
  fire(name, given, { ...more, late: true });
}

export function completeSome(index, more) {
  const held = engine.completions();
  if (held.length) attempt(() => engine.complete(held[index % held.length].id, index % 2, more));
}

// Ends the engine's threads and forgets its notes, which would fill the memory.
export function tidy() {
  engine.join();
  engine.clearCalls();
}

// Destroys whatever is left, the handles that script has lost included.
export function finish() {
  for (const { handle } of live) m.destroyConfEngine(handle);
}
