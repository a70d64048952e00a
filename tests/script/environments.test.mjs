// Several script environments in one process, and how environments and processes end.
import assert from 'node:assert/strict';
import test from 'node:test';
import { runChild, runChildWell } from './support/child.mjs';
import { addon, engine, externalAt, pointerOf, room, settle, until } from './support/scripted.mjs';
import { log, loggedIn, newSession, Session } from './support/session.mjs';
import { Environment } from './support/worker.mjs';

const limit = { timeout: 60000 };

// Opens the log before any worker does.
(await new Session().login()).destroy();

function afresh(t) {
  engine.reset();
  t.after(() => engine.reset());
}

const nothingLives = () =>
  assert.deepEqual(engine.live(), { engines: 0, options: 0, users: 0, infos: 0, completions: 0 });

test('a worker has a conference of its own', limit, async t => {
  afresh(t);
  const environment = new Environment(t, `
    const session = await new Session().login();
    session.json('JoinRoom', { roomId: 'r' });
    engine.fire('OnRoomStateChange', [5], { room });
    const events = session.events();
    const threads = engine.calls().map(call => call.thread);
    session.destroy();
    report({ codes: session.codes, events, own: new Set(threads).size });
  `);
  const { codes, events } = await environment.next();
  assert.deepEqual(codes, [0]);
  assert.deepEqual(events, [{ key: 'OnRoomStateChange', parms: ['me', 'room 1', 5] }]);
  assert.equal(await environment.ended, 0);
  nothingLives();
});

test('a handle of another environment is refused', limit, async t => {
  const session = newSession(t);
  const environment = new Environment(t, `
    const sessions = Array.from({ length: 10 }, () => new Session());
    report(sessions.map(each => pointerOf(each.handle.__engine)));
    await new Promise(resolve => parentPort.once('message', resolve));
    let refused = 0;
    try {
      addon.loadNodeEvents({ __engine: externalAt(workerData) });
    } catch (error) {
      refused += error.message === 'Expected an object as the first argument';
    }
    sessions.forEach(each => each.destroy());
    report(refused);
  `, pointerOf(session.handle.__engine));
  for (const address of await environment.next()) {
    assert.throws(() => addon.loadNodeEvents({ __engine: externalAt(address) }),
      { name: 'TypeError', message: 'Expected an object as the first argument' });
  }
  environment.worker.postMessage('go on');
  assert.equal(await environment.next(), 1);
  await environment.ended;
});

test('all environments write into one log file', limit, async t => {
  const session = await loggedIn(t);
  const environment = new Environment(t, `
    const session = await new Session().login({ puid: 'worker user' });
    session.json('KickOut', { userId: 'from the worker' });
    session.destroy();
    report((await import('node:fs')).readdirSync(logRoot));
  `);
  assert.deepEqual(await environment.next(), ['_worker user'], 'the folder, but no file below it');
  await environment.ended;
  session.json('KickOut', { userId: 'from the main thread' });
  const kicks = log.records().filter(record => record.message.includes('KickOut, param'));
  assert.deepEqual(kicks.map(record => /from the [a-z ]+/.exec(record.message)[0]),
    ['from the worker', 'from the main thread']);
  assert.notEqual(kicks[0].thread, kicks[1].thread);
});

const endings = {
  'runs to its end': '',
  'calls process.exit': 'process.exit(0);',
  // Not before the report has arrived: an error may overtake it.
  'throws': "parentPort.once('message', () => { throw new Error('the end'); });",
};

for (const [what, end] of Object.entries(endings)) {
  test(`an environment that ${what} with live handles tears them down`, limit, async t => {
    afresh(t);
    const environment = new Environment(t, `
      const session = await new Session().login();
      session.json('JoinRoom', { roomId: 'r' });
      session.call('BindingVideoFrame', 'me', 0, Buffer.alloc(100));
      if (${JSON.stringify(end)} !== '') session.on('onFrameSizeChanged', () => {}, {});
      new Session();
      report('ready');
      ${end}
    `);
    await environment.next();
    environment.worker.postMessage('end');
    await environment.ended.catch(error => assert.equal(error.message, 'the end'));
    assert.deepEqual(engine.operations().slice(-2), [['UnInit'], ['DestroyConfEngine']]);
    nothingLives();
  });
}

test('a worker terminated with live handles tears them down in order', limit, async t => {
  afresh(t);
  const environment = new Environment(t, `
    engine.setPlan('SendCustomMessage', { mode: 'hold' });
    for (let i = 0; i < 3; i++) {
      const session = await new Session().login();
      session.on('onFrameSizeChanged', () => {}, {});
      session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, () => {});
      session.call('BindingVideoFrame', 'me', 0, Buffer.alloc(100));
    }
    report('ready');
    await new Promise(() => {});
  `);
  await environment.next();
  await environment.terminate();
  const byEngine = new Map();
  for (const call of engine.calls()) {
    byEngine.set(call.engine, [...(byEngine.get(call.engine) ?? []), call.operation]);
  }
  assert.equal(byEngine.size, 3);
  for (const operations of byEngine.values()) {
    assert.deepEqual(operations.slice(-2), ['UnInit', 'DestroyConfEngine']);
  }
  assert.equal(engine.live().engines, 0);
  for (const { id } of engine.completions()) engine.complete(id, 0, { threads: 2 });
  nothingLives();
});

test('workers terminated with events, pictures and posts in flight', limit, async t => {
  afresh(t);
  for (let round = 0; round < 8; round++) {
    const environment = new Environment(t, `
      const session = await new Session().login();
      session.on('onFrameSizeChanged', () => {}, {});
      session.on('onBufferOverflow', () => {}, {});
      session.call('BindingVideoFrame', 'me', 0, Buffer.alloc(10));
      report('ready');
      for (;;) {
        session.events();
        session.json('GetVideoFrame', { uid: 'me' });
        session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, () => {});
        await sleep(0);
      }
    `);
    await environment.next();
    const flood = { room, threads: 2, count: 100000, background: true };
    engine.fire('OnDataMessageReceived', ['data'], { ...flood, intervalUs: 50 });
    engine.fireFrame('me', { width: 8, height: 8, streamType: 0 }, { ...flood, intervalUs: 50 });
    await settle(round * 3);
    await environment.terminate();
    engine.join();
    nothingLives();
  }
});

test('a worker terminated while it waits inside an operation ends when that returns', limit,
  async t => {
    afresh(t);
    const environment = new Environment(t, `
      const session = await new Session().login();
      engine.block('StartPreview');
      report('ready');
      session.json('StartPreview');
      report('not reached');
    `);
    await environment.next();
    await until(() => engine.waiting().length, 'the worker to wait');
    const ended = environment.terminate();
    engine.release('StartPreview');
    await ended;
    nothingLives();
  });

test('a worker terminated while it waits for a message ends when that is answered', limit,
  async t => {
    afresh(t);
    const environment = new Environment(t, `
      const session = await new Session().login();
      engine.setPlan('SendCustomMessage', { mode: 'hold' });
      report('ready');
      session.json('SendCustomMessage', { msg: 'm' });
      report('not reached');
    `);
    await environment.next();
    await until(() => engine.completions().length, 'the worker to wait');
    const ended = environment.terminate();
    engine.completeOnly(0);
    await ended;
    nothingLives();
  });

test('completions that come after their environment has ended reach nothing', limit, async t => {
  afresh(t);
  const environment = new Environment(t, `
    const session = await new Session().login();
    engine.setPlan('SendCustomMessage', { mode: 'hold' });
    engine.setPlan('Init', { mode: 'hold' });
    for (let i = 0; i < 5; i++) session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, () => {});
    new Session().init();
    report('ready');
    process.exit(0);
  `);
  await environment.next();
  await environment.ended;
  assert.equal(engine.live().engines, 0);
  const calls = engine.calls().length;
  for (const { id } of engine.completions()) engine.complete(id, 0, { threads: 3, times: 3 });
  assert.equal(engine.calls().length, calls, 'no engine was called');
  nothingLives();
});

test('several environments at once see their own events only', limit, async t => {
  const session = await loggedIn(t);
  const environments = [1, 2, 3].map(number => new Environment(t, `
    const seen = [];
    for (let i = 0; i < 20; i++) {
      const session = new Session();
      engine.setPlan('Init', { mode: 'automatic' });
      session.init({ puid: 'user ' + workerData });
      await until(() => session.codes.length, 'the login');
      const own = engine.calls().filter(call => call.operation === 'Init' &&
        call.arguments[0] === 'user ' + workerData).pop().engine;
      engine.fire('OnRoomStateChange', [0],
        { engine: own, room: { roomId: 'r', localUid: 'user ' + workerData }, count: 50 });
      seen.push(...session.events().map(event => event.parms[0]));
      session.destroy();
    }
    report(seen);
  `, number));
  for (const [index, environment] of environments.entries()) {
    const seen = await environment.next();
    assert.equal(seen.length, 1000);
    assert.deepEqual([...new Set(seen)], [`user ${index + 1}`]);
    await environment.ended;
  }
  assert.deepEqual(session.events(), []);
  assert.equal(session.json('StopPreview'), 0);
});

test('a worker can come and go many times', limit, async t => {
  afresh(t);
  for (let i = 0; i < 15; i++) {
    const environment = new Environment(t, `
      const session = await new Session().login();
      session.on('onFrameSizeChanged', () => {}, {});
      engine.fireFrame('me', { width: 4, height: 4, streamType: 0 });
      report(session.events().length);
      process.exit();
    `);
    await environment.next();
    await environment.ended;
  }
  nothingLives();
});

const lastWords = {
  'by running out of work': '',
  'by process.exit': 'process.exit(0);',
  'by process.exit in a listener':
    "session.on('onFrameSizeChanged', () => process.exit(0), {});" +
    "engine.fireFrame('me', { width: 4, height: 4, streamType: 0 });",
  'by process.exit in a completion': "session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, " +
    '() => process.exit(0));',
  'by process.exit with events in flight':
    "session.on('onFrameSizeChanged', () => {}, {});" +
    "engine.fire('OnDataMessageReceived', ['d'], { threads: 2, count: 1e6, intervalUs: 20, " +
    "background: true }); setTimeout(() => process.exit(0), 20);",
  'by process.exit with a login pending':
    "engine.setPlan('Init', { mode: 'hold' }); new Session().init(); process.exit(0);",
  'by process.exit with a message that answers later':
    "engine.setPlan('SendCustomMessage', { mode: 'automatic', delayMs: 30, late: true });" +
    "session.withCallback('AsyncSendCustomMessage', { msg: 'm' }, () => {}); process.exit(0);",
};

for (const [what, source] of Object.entries(lastWords)) {
  test(`a process that ends ${what} with live handles ends well`, limit, async () => {
    await runChildWell(`
      const session = await new Session().login();
      session.call('BindingVideoFrame', 'me', 0, Buffer.alloc(100));
      ${source}
    `, { timeoutMs: 20000 });
  });
}

test('a process that ends by an exception with live handles reports it and no signal', limit,
  async () => {
    const result = await runChild(`
      const session = await new Session().login();
      session.on('onFrameSizeChanged', () => {}, {});
      throw new Error('the end');
    `, { timeoutMs: 20000 });
    assert.equal(result.signal, null);
    assert.equal(result.code, 1);
    assert.match(result.stderr, /the end/);
  });
