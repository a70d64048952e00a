// Makes a program that fails as short as it gets, and writes it as a script.
import { Generator } from './generator.mjs';
import { runProgram } from './run.mjs';

const kRuns = 150;
const kAttempts = 2;  // a race may need another one

// The program with its lines written out.
export function expand({ threads }) {
  return {
    threads: threads.map(thread => ({
      ...thread,
      lines: thread.lines ??
        new Generator(thread.seed, { alone: threads.length === 1 }).lines(thread.count),
    })),
  };
}

const withLines = (program, index, lines) => ({
  threads: program.threads.map((thread, i) => (i === index ? { ...thread, lines } : thread)),
});

class Shrinker {
  #runsLeft = kRuns;

  constructor(limitMs) {
    this.limitMs = limitMs;
  }

  async #fails(program) {
    for (let i = 0; i < kAttempts && this.#runsLeft > 0; i++) {
      this.#runsLeft -= 1;
      if ((await runProgram(program, { limitMs: this.limitMs })).failure) return true;
    }
    return false;
  }

  async shrink(program) {
    let best = expand(program);
    if (!(await this.#fails(best))) return null;
    for (let i = best.threads.length - 1; i > 0; i--) {
      const without = { threads: best.threads.filter((_, index) => index !== i) };
      if (await this.#fails(without)) best = without;
    }
    for (let i = 0; i < best.threads.length; i++) best = await this.#shrinkThread(best, i);
    return best;
  }

  // Leaves out ever smaller pieces, the end first: what follows the failure is of no use.
  async #shrinkThread(program, index) {
    let best = program;
    for (let size = Math.ceil(best.threads[index].lines.length / 2); size >= 1; size >>= 1) {
      for (let end = best.threads[index].lines.length; end > 0 && this.#runsLeft > 0; end -= size) {
        const { lines } = best.threads[index];
        const shorter = [...lines.slice(0, Math.max(end - size, 0)), ...lines.slice(end)];
        const candidate = withLines(best, index, shorter);
        if (await this.#fails(candidate)) best = candidate;
      }
    }
    return best;
  }
}

// The shortest failing program found, or null when the failure does not repeat.
export const shrink = (program, limitMs) => new Shrinker(limitMs).shrink(program);

export function asScript(program) {
  return program.threads
    .map(({ lines, terminate, leaveHandles }, index) => {
      const who = index === 0 ? 'main thread' : `worker ${index}`;
      const manners = [terminate && 'terminated', leaveHandles && 'ends with live handles'];
      const title = [who, ...manners.filter(Boolean)].join(', ');
      return `// --- ${title} ---\n${lines.join('\n')}\n`;
    })
    .join('\n');
}
