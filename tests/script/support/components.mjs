// Component library files with and without a version.
import fs from 'node:fs';
import path from 'node:path';
import { scriptedDir } from './paths.mjs';

const onWindows = process.platform === 'win32';

// Where a file that tells no version has to be to count as a component.
export const componentFile = (folder, name) =>
  path.join(folder, onWindows ? `${name}.dll` : `lib${name}.so`);

// A library whose version resource holds these numbers, made from one that is built for this.
function writeWithVersionResource(file, version) {
  const library = fs.readFileSync(path.join(scriptedDir, 'components', 'versioned.dll'));
  const signature = Buffer.from([0xbd, 0x04, 0xef, 0xfe]);
  const record = library.indexOf(signature);
  const [a, b, c, d] = version.split('.').map(Number);
  library.writeUInt32LE(((a << 16) | b) >>> 0, record + 8);
  library.writeUInt32LE(((c << 16) | d) >>> 0, record + 12);
  fs.writeFileSync(file, library);
}

// Puts a component of this version, such as "4.3.2.1", into a folder.
export function addComponent(folder, name, version) {
  const file = componentFile(folder, name);
  if (onWindows) {
    writeWithVersionResource(file, version);
  } else {
    fs.writeFileSync(`${file}.${version}`, '');
    fs.symlinkSync(`${path.basename(file)}.${version}`, file);
  }
}
