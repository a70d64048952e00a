// Makes random sequences of calls: one line of script per step, each of which stands for itself, so
// that any part of a sequence is a sequence too.
import { methods } from '../../script/support/methods.mjs';
import { Random } from './random.mjs';
import { listenerNames, users, Values } from './values.mjs';

// The callbacks of the engine's sink and the kinds of their arguments behind the room.
const callbacks = {
  OnRtcStats: 'iiiii', OnAudioStateChanged: 'ti', OnVideoStateChanged: 'tiii', OnActiveSpeaker: 'ti',
  OnRoomMemberStateChange: 'us', OnRoomStateChange: 'i', OnRoomError: 'it', OnCustomMessage: 'ttt',
  OnAudioDeviceStateChange: 'ii', OnAudioDefaultDeviceChanged: 'i', OnVideoDeviceStateChange: 'i',
  OnNetworkQuality: 'uii', OnSnapshotTaken: 'titiii', OnAudioVolumeIndication: 'v',
  OnAudioDeviceVolumeChanged: 'iib', OnDataMessageReceived: 't', OnDataChannelStateChanged: 'it',
  OnRoomMemberVideoFrame: 'up',
};

// What an engine that fails half-way may throw from. Not the end of an engine: nobody is there to
// take that.
const throwingOperations = ['Init', 'UnInit', 'JoinRoom', 'EnableExternalRender', 'GetRoomInfo',
  'SendCustomMessage', 'EnumCameraDevice', 'SetLogFilePath', 'StartPreview', 'GetRoomAttendees'];

const outputs = {
  GetRoomAttendees: ['[{"id":"ann","name":"Ann"},{"id":null},{}]', '[]'],
  GetRoomInfo: ['{"roomId":"r","users":[{"id":"ann"},{"name":"no id"}]}', '{}'],
  EnumAudioCaptureDevice: ['[{"id":1,"name":"m","guid":"g","isSystemDefault":1}]', '[]'],
  EnumSpeakerDevice: ['[{"id":-1,"name":"\\ud83d\\ude00"}]', '[]'],
  EnumCameraDevice: ['[{"id":1},{"id":2}]', '[]'],
  EnumScreenAndWindow: ['[{"id":1,"type":2,"thumbnail":[1,2,3],"thumbnailWidth":9}]', '[{"id":5}]'],
  GetSpeakerDeviceVolume: ['50'],
};

const kNesting = 2;

export class Generator {
  #depth = 0;

  // `alone`: the only thread of its process, which allows callbacks after UnInit.
  constructor(seed, { alone = false } = {}) {
    this.random = new Random(seed);
    this.values = new Values(this.random, () => this.#nested());
    this.alone = alone;
  }

  lines(count) {
    return Array.from({ length: count }, () => this.line());
  }

  line() {
    const make = this.random.weighted([
      [4, () => `create(${this.values.slot()});`],
      [3, () => this.#destroy()],
      [4, () => this.#start()],
      [40, () => this.#method()],
      [6, () => this.#misuse()],
      [8, () => `m.loadNodeEvents(${this.values.handle()});`],
      [10, () => this.#listener()],
      [12, () => this.#picture()],
      [3, () => this.#hostileGlobals()],
      [12, () => this.#engine()],
      [10, () => this.#traffic()],
      [6, () => `await turn(${this.random.below(3)});`],
    ]);
    return make();
  }

  // A statement that runs inside another call.
  #nested() {
    if (this.#depth >= kNesting) return '';
    this.#depth += 1;
    const make = this.random.weighted([
      [4, () => this.#destroy()],
      [2, () => `m.execJsonParamFun(h(${this.values.slot()}), "UnInit", "");`],
      [2, () => this.#start()],
      [3, () => this.#method()],
      [2, () => `m.loadNodeEvents(${this.values.handle()});`],
      [3, () => this.#listener()],
      [2, () => this.#picture()],
      [1, () => 'throw mine();'],
      [1, () => this.#traffic()],
    ]);
    const source = make();
    this.#depth -= 1;
    return source;
  }

  #destroy() {
    return `m.destroyConfEngine(${this.values.handle()});`;
  }

  #start() {
    const slot = this.values.slot();
    return this.random.weighted([
      [6, `m.execJsonParamFunWithCallback(h(${slot}), "Init", ${this.values.initJson()}, watched(${slot}));`],
      [3, `m.execJsonParamFun(h(${slot}), "JoinRoom", '{"roomId":"r"}');`],
      [1, `m.execJsonParamFun(h(${slot}), "LeaveRoom", "");`],
      [1, `m.execJsonParamFun(h(${slot}), "UnInit", "");`],
    ]);
  }

  #method() {
    const { random, values } = this;
    const method = random.pick(methods);
    const kind = random.chance(0.92) ? method.kind : random.pick(['A', 'J', 'K']);
    // Only complete texts for the method that makes folders.
    const name = method.name === 'Init' || random.chance(0.93) ? JSON.stringify(method.name) : values.name();
    const handle = values.handle();
    if (kind === 'A') return `m.execFun(${handle}, ${name}, ${values.argumentList(method)});`;
    const safe = name === JSON.stringify(method.name) ? method : { ...method, name: 'Init' };
    const json = values.json(safe);
    if (kind === 'J') return `m.execJsonParamFun(${handle}, ${name}, ${json});`;
    const callback = handle.startsWith('h(') && random.chance(0.6)
      ? `watched(${handle.slice(2, -1)})` : values.callback();
    return `m.execJsonParamFunWithCallback(${handle}, ${name}, ${json}, ${callback});`;
  }

  // Any function with any arguments.
  #misuse() {
    const { random, values } = this;
    const name = random.pick(['destroyConfEngine', 'execFun', 'execJsonParamFun',
      'execJsonParamFunWithCallback', 'loadNodeEvents', 'on', 'off', 'createConfEngine']);
    const given = Array.from({ length: random.below(6) }, () => values.value());
    if (random.chance(0.5) && given.length) given[0] = values.handle();
    return `m.${name}(${given.join(', ')});`;
  }

  #listener() {
    const { random, values } = this;
    const slot = values.slot();
    const name = random.pick(listenerNames);
    return random.weighted([
      [6, () => `m.on(h(${slot}), "${name}", watched(${slot}), ${values.value()});`],
      [3, () => `m.on(${values.handle()}, "${name}", ${values.callback()}, ${values.value()});`],
      [1, () => `m.on(h(${slot}), "Init", watched(${slot}), {});`],
      [1, () => `m.on(h(${slot}), "SendCustomMessage", watched(${slot}), {});`],
      [1, () => `m.on(${values.handle()}, ${values.value()}, ${values.callback()}, ${values.value()});`],
      [5, () => `m.off(h(${slot}), "${name}");`],
      [1, () => `m.off(h(${slot}), "Init");`],
      [1, () => `m.off(${values.handle()}, ${values.value()});`],
    ])();
  }

  #picture() {
    const { random, values } = this;
    const user = JSON.stringify(values.user());
    const type = random.below(4);
    const request = JSON.stringify(JSON.stringify(
      { uid: JSON.parse(user), videoSourceType: type, forceGetFrame: random.chance(0.4) }));
    return random.weighted([
      [4, () => `m.execFun(${values.handle()}, "BindingVideoFrame", [${user}, ${type}, ${values.buffer()}]);`],
      [5, () => `m.execJsonParamFun(${values.handle()}, "GetVideoFrame", ${request});`],
      [2, () => `m.execJsonParamFun(${values.handle()}, "UnbindingVideoFrame", ${request});`],
      [1, () => 'resizeBuffers();'],
    ])();
  }

  // Script that runs inside the module because of what it did to the host's own objects.
  #hostileGlobals() {
    const { random, values } = this;
    const act = `() => { ${this.#nested()} }`;
    const property = random.pick(['key', 'parms', 'uid', '0', 'id', 'm_pUserId', 'm_roomId']);
    return random.weighted([
      [3, () => `withSetter("${property}", ${act}, () => { m.loadNodeEvents(h(${values.slot()})); });`],
      [2, () => `withSetter("${property}", ${act}, () => { ${this.#nested()} });`],
      [1, () => `parseActs(${act});`],
      [1, () => 'collect();'],
    ])();
  }

  #engine() {
    const { random } = this;
    const operation = random.pick(methods.filter(method => method.operation)).operation;
    const output = random.pick(Object.keys(outputs));
    return random.weighted([
      [3, () => `engine.setResult("${operation}", ${random.pick([0, 0, 0, 7, -1, 2147483647])});`],
      [3, () => `engine.setOutput("${output}", ${random.pick(outputs[output])});`],
      [2, () => `engine.setPlan("Init", ${this.#plan(['automatic', 'inline', 'hold', 'hold', 'drop'])});`],
      [2, () => `engine.setPlan("SendCustomMessage", ${this.#plan(['automatic', 'inline', 'drop'])});`],
      [5, () => `completeSome(${random.below(9)}, { threads: ${random.below(4)}, times: ${1 + random.below(3)}, keep: ${random.chance(0.3)} });`],
      [1, () => `engine.setThrow("${random.pick(throwingOperations)}", "no");`],
      [4, () => `engine.setThrow("${random.pick(throwingOperations)}");`],
      [1, () => 'tidy();'],
    ])();
  }

  #plan(modes) {
    const { random } = this;
    return JSON.stringify({ mode: random.pick(modes), code: random.pick([0, 0, 1, -5]),
      text: random.pick(['', 'text', null]), delayMs: random.below(4), late: random.chance(0.5) });
  }

  #traffic() {
    const { random } = this;
    const callback = random.pick(Object.keys(callbacks));
    const given = [...callbacks[callback]].map(kind => this.#argument(kind));
    const room = random.chance(0.8) ? 'room' : '{ roomId: "", localUid: "" }';
    const threads = random.pick([1, 2, 8, 8]);
    const count = 1 + random.below(6);
    if (this.alone && random.chance(0.1)) {
      return `fireLate("${callback}", [${given.join(', ')}], { room: ${room}, threads: ${threads}, count: ${count} });`;
    }
    return `fire("${callback}", [${given.join(', ')}], { room: ${room}, threads: ${threads}, ` +
      `count: ${count}, background: ${random.chance(0.7)}, intervalUs: ${random.pick([0, 0, 100])} });`;
  }

  #argument(kind) {
    const { random } = this;
    switch (kind) {
      case 'i': return random.pick(['0', '1', '-1', '7', '2147483647', '65535']);
      case 's': return random.pick(['1', '2', '4', '5', '7', '8', '18', '0']);
      case 'b': return random.pick(['true', 'false']);
      case 'u': return JSON.stringify(random.pick(users));
      case 'v': return random.pick(['[]', '[{ uid: "ann", volume: 3 }]', '[{ uid: "", volume: 100 }, {}]']);
      case 'p': return this.#frame();
      default: return random.pick(['null', '""', '"text"', '"\\0"', '"{}"', '"x".repeat(2000)', '"%s"']);
    }
  }

  #frame() {
    const { random } = this;
    const width = random.pick([4, 4, 8, 32, 160, 0, 1, 3]);
    const height = random.pick([2, 4, 8, 90, 0, 1]);
    return `{ width: ${width}, height: ${height}, streamType: ${random.below(4)}, ` +
      `seed: ${random.below(256)}, withoutData: ${random.chance(0.05)} }`;
  }
}
