// A folder of this process's own, removed at exit, in which home and documents folders live.
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { isMainThread, threadId } from 'node:worker_threads';

const inherited = process.env.KAVRIN_TEST_WORKSPACE;

export const workspace =
  !isMainThread && inherited ? inherited : fs.mkdtempSync(path.join(os.tmpdir(), 'kavrin-'));

export const homeDir = path.join(workspace, 'home');
// On Windows the user's own: a process cannot ask the shell for another one.
export const documentsDir =
  path.join(process.platform === 'win32' ? os.homedir() : homeDir, 'Documents');

if (isMainThread) {
  for (const folder of [homeDir, documentsDir]) fs.mkdirSync(folder, { recursive: true });
  Object.assign(process.env, {
    HOME: homeDir,
    XDG_CONFIG_HOME: path.join(homeDir, '.config'),
    KAVRIN_TEST_WORKSPACE: workspace,
  });
  delete process.env.XDG_DOCUMENTS_DIR;
  process.on('exit', removeWorkspace);
}

function removeWorkspace() {
  try {
    fs.rmSync(workspace, { recursive: true, force: true });
  } catch (error) {
    // The module never closes its log, and Windows removes no open file: whoever started the tests
    // gave them a temporary folder and removes that.
    if (process.platform !== 'win32') throw error;
  }
}

let folders = 0;

// A new, empty folder.
export function newFolder(name = 'folder') {
  const folder = path.join(workspace, `${name}${++folders}-${process.pid}-${threadId}`);
  fs.mkdirSync(folder, { recursive: true });
  return folder;
}
