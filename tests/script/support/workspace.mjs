// A folder of this process's own, removed at exit, in which home and documents folders live.
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { isMainThread, threadId } from 'node:worker_threads';

const inherited = process.env.KAVRIN_TEST_WORKSPACE;

export const workspace =
  !isMainThread && inherited ? inherited : fs.mkdtempSync(path.join(os.tmpdir(), 'kavrin-'));

export const homeDir = path.join(workspace, 'home');
export const documentsDir = path.join(homeDir, 'Documents');

if (isMainThread) {
  fs.mkdirSync(documentsDir, { recursive: true });
  Object.assign(process.env, {
    HOME: homeDir,
    XDG_CONFIG_HOME: path.join(homeDir, '.config'),
    KAVRIN_TEST_WORKSPACE: workspace,
  });
  delete process.env.XDG_DOCUMENTS_DIR;
  process.on('exit', () => fs.rmSync(workspace, { recursive: true, force: true }));
}

let folders = 0;

// A new, empty folder.
export function newFolder(name = 'folder') {
  const folder = path.join(workspace, `${name}${++folders}-${process.pid}-${threadId}`);
  fs.mkdirSync(folder, { recursive: true });
  return folder;
}
