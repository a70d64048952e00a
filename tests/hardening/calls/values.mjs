// Random script values, as source text that stage.mjs gives a meaning to.
import { methods } from '../../script/support/methods.mjs';

export const kSlots = 5;

export const users = ['me', 'ann', 'bob', '', 'a_0', '_', 'ann_'];
export const listenerNames = ['onFrameSizeChanged', 'onBufferOverflow'];

const plainValues = [
  'undefined', 'null', 'true', 'false', '0', '-1', '1', '2.5', 'NaN', '-Infinity', '4294967296',
  '1e308', '-2147483649', '10n', '-1n', '(1n << 70n)', 'Symbol("s")', 'Symbol.iterator',
  '""', '"text"', '"\\0"', '"a\\0b"', '"\\ud800"', '"\\udfff\\ud800"', '"😀"', '"%s%n%d"',
  '"[1]"', '"{}x"', '"\\n"', '() => {}', 'async () => {}', 'class {}', 'new Date(0)', '/x/',
  'new Map()', 'Promise.resolve()', 'Object.create(null)', 'Object.freeze({})', 'cyclic()',
  'cyclicArray()', 'globalThis', 'new Proxy({}, {})', 'revokedProxy()', 'hostileProxy()',
  'new String("boxed")', 'new Number(7)', '[]', '{}', '[[]]', '[,,1]', 'sparse(3000000)',
  'sparse(4294967295)', 'deepArray(2000)', 'externalAt(0n)', 'externalAt(4096n)', 'new WeakRef({})',
];

const buffers = [
  'Buffer.alloc(0)', 'Buffer.alloc(1)', 'Buffer.alloc(24)', 'Buffer.alloc(64)',
  'Buffer.alloc(1536)', 'Buffer.alloc(30000)', 'detached(64)', 'resizable(24, 4096)',
  'shrunk(4096)', 'grown(8, 4096)', 'new Uint8Array(96)', 'new Uint8Array(100).subarray(3, 90)',
  'new DataView(new ArrayBuffer(50))', 'new ArrayBuffer(50)', 'new Float64Array(30)',
  'shared(512)', 'shared(24)',
];

const hugeTexts = ['text(100000)', 'text(1000000)', 'wideText(300000)', 'loneSurrogates(50000)'];

const brokenJson = [
  '{', '[', '"', '{"a"', '{"a":}', '{"a":1,}', 'nul', '01', '1e', '-', '"\\u12', '"\\ud800"',
  '{"isEnable":1e400}', '\ufeff{}', '\ufeff', '[[[[', '}{', '{}{}', '{"\\u0000":1}', '\u0000',
  '{"userId":"\\u0000"}', '{"isEnable":tru', '/* */{}',
];

// Texts that decode to nothing: Init must not get them, they would make it use the root folder.
const wholeJson = ['{}', 'null', '[]', '1', '"text"', 'true', '[{}]', '{"userId":{}}', '[null]',
  '{"":""}', '{"isEnable":true,"isEnable":"x"}'];

const quoted = text => JSON.stringify(text);

export class Values {
  // `action` makes the source of a statement that a getter, proxy or callback runs.
  constructor(random, action) {
    this.random = random;
    this.action = action;
  }

  slot() {
    return this.random.below(kSlots);
  }

  user() {
    return this.random.pick(users);
  }

  // Something that is good for a handle more often than not.
  handle() {
    const slot = this.slot();
    return this.random.weighted([
      [120, `h(${slot})`],
      [4, `gone(${this.random.below(4)})`],
      [2, `foreign(${this.random.below(8)})`],
      [2, `forged(${quoted(`${this.random.below(2 ** 31)}`)})`],
      [1, 'forged("0")'],
      [2, `proxied(h(${slot}))`],
      [2, `inheriting(h(${slot}))`],
      [2, 'throwing()'],
      [1, 'hostileProxy()'],
      [1, 'revokedProxy()'],
      [1, '({})'],
      [1, '({ __engine: 5 })'],
      [3, `acting(h(${slot}), () => { ${this.action()} })`],
      [2, this.value()],
    ]);
  }

  value() {
    return this.random.weighted([
      [60, this.random.pick(plainValues)],
      [14, this.random.pick(buffers)],
      [1, this.random.pick(hugeTexts)],
      [3, `h(${this.slot()})`],
      [2, 'throwing()'],
    ]);
  }

  buffer() {
    return this.random.chance(0.85) ? this.random.pick(buffers) : this.value();
  }

  callback() {
    const { random } = this;
    return random.weighted([
      [10, '() => {}'],
      [2, '() => { throw mine(); }'],
      [2, `() => { ${this.action()} }`],
      [1, 'async () => { throw mine(); }'],
      [1, this.value()],
    ]);
  }

  name() {
    return this.random.weighted([
      [40, quoted(this.random.pick(methods).name)],
      [2, this.value()],
      [1, quoted(this.random.pick(methods).name.toLowerCase())],
      [1, quoted(`${this.random.pick(methods).name}\0`)],
      [1, '"n".repeat(100000)'],
    ]);
  }

  // The third argument of execFun.
  argumentList(method) {
    const { random } = this;
    const count = random.chance(0.7) ? method.count ?? random.below(4) : random.below(5);
    const elements = Array.from({ length: count }, () => this.value());
    return random.weighted([
      [12, `[${elements.join(', ')}]`],
      [2, this.value()],
      [1, `gettingArray([${elements.join(', ')}], () => { ${this.action()} })`],
      [1, `shrinkingArray(${random.below(6)})`],
      [1, `new Proxy([${elements.join(', ')}], {})`],
    ]);
  }

  // A JSON parameter text for a method, or something else in its place.
  json(method) {
    const { random } = this;
    if (method.name === 'Init') return random.chance(0.8) ? this.initJson() : quoted(random.pick(brokenJson));
    return random.weighted([
      [30, quoted(this.memberText(method))],
      [4, quoted(random.pick(brokenJson))],
      [3, quoted(random.pick(wholeJson))],
      [2, this.value()],
      [1, `nested(${1 + random.below(5000)})`],
      [1, `hugeMember(${quoted((method.keys ?? [])[0]?.[0] ?? 'x')})`],
      [1, '""'],
    ]);
  }

  initJson() {
    return `login(${quoted(this.user())}, ${this.random.chance(0.3)})`;
  }

  memberText(method) {
    const members = {};
    for (const [key, type] of method.keys ?? []) {
      if (this.random.chance(0.85)) members[key] = this.memberValue(key, type);
    }
    return JSON.stringify(members);
  }

  memberValue(key, type) {
    const { random } = this;
    if (random.chance(0.1)) return random.pick([null, {}, [], 'x', -1.5, 1e300, [{}], true]);
    if (/^(uid|userId|toUser)$/.test(key)) return this.user();
    if (key === 'videoSourceType') return random.below(4);
    switch (type) {
      case 'string': return random.pick(['', 'text', 'a\0b', '😀', '\ud800', 'x'.repeat(300)]);
      case 'integer': return random.pick([0, 1, -1, 7, 2 ** 31, -(2 ** 63), 2 ** 53, 1000]);
      case 'boolean': return random.pick([true, false, 0, 1, 2 ** 40]);
      default: return Array.from({ length: random.below(20) }, () => random.pick([1, null, -5]));
    }
  }
}
