// Which libraries a native module did not find.
'use strict';

const fs = require('node:fs');
const path = require('node:path');

// The names of the libraries that a Windows image imports. Delayed imports are not among them.
function importsOf(file) {
  const image = fs.readFileSync(file);
  const header = image.readUInt32LE(0x3c);
  const optionalHeader = header + 24;
  const sectionTable = optionalHeader + image.readUInt16LE(header + 20);
  const sectionCount = image.readUInt16LE(header + 6);
  const position = (address) => {
    for (let i = 0; i < sectionCount; i++) {
      const at = sectionTable + 40 * i;
      const offset = address - image.readUInt32LE(at + 12);
      if (offset >= 0 && offset < image.readUInt32LE(at + 16)) return image.readUInt32LE(at + 20) + offset;
    }
    throw new RangeError('an address outside the image');
  };
  const names = [];
  for (let at = position(image.readUInt32LE(optionalHeader + 120)); ; at += 20) {
    const nameAddress = image.readUInt32LE(at + 12);
    if (nameAddress === 0) return names;
    const start = position(nameAddress);
    names.push(image.toString('latin1', start, image.indexOf(0, start)));
  }
}

// Where Windows looks for the libraries of a module in `folder`.
function searchFolders(folder) {
  const windows = process.env.SystemRoot ?? 'C:\\Windows';
  const fromPath = (process.env.PATH ?? '').split(path.delimiter).filter(Boolean);
  return [folder, path.join(windows, 'System32'), windows, process.cwd(), ...fromPath];
}

// "KavrinRTCEngine.dll (needed by KavrinConferenceEngine.dll)" for everything that is not found.
function missingOnWindows(module) {
  const folder = path.dirname(module);
  const folders = searchFolders(folder);
  const seen = new Set();
  const missing = [];
  const visit = (file) => {
    for (const name of importsOf(file)) {
      // Names of system interfaces, behind which the loader finds libraries of its own accord.
      if (/^(api|ext)-ms-/i.test(name) || seen.has(name.toLowerCase())) continue;
      seen.add(name.toLowerCase());
      const found = folders.map((place) => path.join(place, name)).find((path) => fs.existsSync(path));
      if (found === undefined) missing.push(`${name} (needed by ${path.basename(file)})`);
      else if (path.dirname(found) === folder) visit(found);
    }
  };
  visit(module);
  return missing;
}

/** The libraries whose absence kept `module` from being loaded; `error` is what the host threw. */
function missingLibraries(module, error) {
  const named = /^(\S+\.so\S*): cannot open shared object file/.exec(error.message);
  if (named !== null) return [named[1]];
  if (process.platform !== 'win32') return [];
  try {
    return missingOnWindows(module);
  } catch {
    return []; // not an image that can be read: the host's message has to do
  }
}

module.exports = { missingLibraries };
