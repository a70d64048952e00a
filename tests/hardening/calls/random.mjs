// Random numbers that a seed determines.
export class Random {
  #state;

  constructor(seed) {
    this.#state = seed >>> 0;
  }

  // mulberry32
  next() {
    this.#state = (this.#state + 0x6d2b79f5) >>> 0;
    let mixed = this.#state;
    mixed = Math.imul(mixed ^ (mixed >>> 15), mixed | 1);
    mixed ^= mixed + Math.imul(mixed ^ (mixed >>> 7), mixed | 61);
    return ((mixed ^ (mixed >>> 14)) >>> 0) / 4294967296;
  }

  below(bound) {
    return Math.floor(this.next() * bound);
  }

  chance(probability) {
    return this.next() < probability;
  }

  pick(list) {
    return list[this.below(list.length)];
  }

  // One of `choices`, an array of [weight, value].
  weighted(choices) {
    let point = this.below(choices.reduce((sum, [weight]) => sum + weight, 0));
    for (const [weight, value] of choices) {
      point -= weight;
      if (point < 0) return value;
    }
    throw new Error('no choice');
  }
}
