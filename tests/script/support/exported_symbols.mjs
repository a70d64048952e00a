// The symbols that a shared library exports.
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';

const fromSharedObject = file =>
  execFileSync('nm', ['-D', '--defined-only', file], { encoding: 'utf8' })
    .trim().split('\n').map(line => line.split(' ').pop().replace(/@.*/, ''));

// Windows comes without a tool that lists them: the names are read from the image itself.
function fromImage(file) {
  const image = fs.readFileSync(file);
  const header = image.readUInt32LE(0x3c);
  const optionalHeader = header + 24;
  const sections = Array.from({ length: image.readUInt16LE(header + 6) }, (_, index) => {
    const at = optionalHeader + image.readUInt16LE(header + 20) + 40 * index;
    const [address, size, data] = [12, 16, 20].map(offset => image.readUInt32LE(at + offset));
    return { address, size, data };
  });
  const position = address => {
    const section = sections.find(s => address >= s.address && address < s.address + s.size);
    return address - section.address + section.data;
  };
  const textAt = at => image.toString('latin1', at, image.indexOf(0, at));
  const exportTable = position(image.readUInt32LE(optionalHeader + 112));
  const names = position(image.readUInt32LE(exportTable + 32));
  return Array.from({ length: image.readUInt32LE(exportTable + 24) },
    (_, index) => textAt(position(image.readUInt32LE(names + 4 * index))));
}

export const exportedSymbols = process.platform === 'win32' ? fromImage : fromSharedObject;
