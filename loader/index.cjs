// The package's entry: loads the native module that fits the host and exports its functions.
//
// The module is the prebuilt one of the host's platform, or in a checkout the one built there. When
// it cannot be loaded, the error says which file that was and which library it missed.
'use strict';

const fs = require('node:fs');
const path = require('node:path');

const { missingLibraries } = require('./missing_libraries.cjs');

const root = path.join(__dirname, '..');
const platform = `${process.platform}-${process.arch}`;
const name = 'KavrinConferenceNodeExt.node';
const localBuilds = { 'linux-x64': 'release', 'win32-x64': 'windows' };

function candidates() {
  const files = [path.join(root, 'prebuilds', platform, name)];
  const preset = localBuilds[platform];
  if (preset !== undefined) files.push(path.join(root, 'build', preset, 'dist', name));
  return files;
}

function failure(message, code, cause) {
  return Object.assign(new Error(message, cause && { cause }), { code });
}

function find() {
  const files = candidates();
  const found = files.find((file) => fs.existsSync(file));
  if (found !== undefined) return found;
  const places = files.map((file) => `\n  ${file}`).join('');
  throw failure(`There is no module for ${platform}; looked for:${places}`, 'MODULE_NOT_FOUND');
}

function load(file) {
  try {
    return require(file);
  } catch (error) {
    const missing = missingLibraries(file, error);
    const reason = missing.length === 0 ? error.message : `library not found: ${missing.join(', ')}`;
    throw failure(`Cannot load ${file}: ${reason}`, error.code ?? 'ERR_DLOPEN_FAILED', error);
  }
}

module.exports = load(find());
