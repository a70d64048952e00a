// Reads the log file that the module writes in this process.
import fs from 'node:fs';
import path from 'node:path';

const recordPattern =
  /^(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)\.(\d{1,3}) \[(\d+)\]\[([^:\]]*):(.*?):(\d+)\]\[([A-Z]*)\](.*)$/s;

// One line of a log as {time, milliseconds, thread, file, tag, line, level, message}, or null when
// it does not begin like a record.
export function parseRecord(text) {
  const found = recordPattern.exec(text);
  if (!found) return null;
  const [, time, milliseconds, thread, file, tag, line, level, message] = found;
  return {
    time,
    milliseconds,
    thread: Number(thread),
    file,
    tag,
    line: Number(line),
    level,
    message,
  };
}

// All log files below a folder.
export function logFiles(folder) {
  return fs
    .readdirSync(folder, { withFileTypes: true })
    .flatMap(entry => {
      const inner = path.join(folder, entry.name);
      if (entry.isDirectory()) return logFiles(inner);
      return /^KVNodeExt_.*\.log$/.test(entry.name) ? [inner] : [];
    })
    .sort();
}

export class Log {
  #folder;
  #start = 0;

  constructor(folder) {
    this.#folder = folder;
  }

  get file() {
    const files = logFiles(this.#folder);
    if (files.length !== 1) throw new Error(`${files.length} log files`);
    return files[0];
  }

  get size() {
    return fs.statSync(this.file).size;
  }

  // Text written since the last mark, with the line ends that the module writes: on Windows the C
  // run time makes each of them two characters.
  text() {
    const text = fs.readFileSync(this.file).subarray(this.#start).toString('utf8');
    return process.platform === 'win32' ? text.replaceAll('\r\n', '\n') : text;
  }

  // Later reads begin here.
  mark() {
    this.#start = this.size;
  }

  // The records since the last mark.
  records() {
    const lines = this.text().split('\n');
    lines.pop();
    return lines.map(line => {
      const record = parseRecord(line);
      if (!record) throw new Error(`not a record: ${line.slice(0, 200)}`);
      return record;
    });
  }

  // The records since the last mark as [level, tag, message], without the dispatcher's trace lines.
  brief() {
    return this.records()
      .filter(record => !/^KavrinNodeConferenceEngine::run/.test(record.tag))
      .map(({ level, tag, message }) => [level, tag, message]);
  }

  messages() {
    return this.records().map(record => record.message);
  }

  has(level, tag, message) {
    return this.records().some(
      record =>
        record.level === level &&
        record.tag === tag &&
        (message instanceof RegExp ? message.test(record.message) : record.message === message),
    );
  }
}
