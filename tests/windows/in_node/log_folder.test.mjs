// A log folder with a Chinese name: with code page 936 the module finds it by its name; with 1252
// the name's UTF-8 bytes go to the system as they are. KAVRIN_CODE_PAGE tells which one is set.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { logFiles } from '../../script/support/log.mjs';
import { newSession } from '../../script/support/session.mjs';
import { newFolder } from '../../script/support/workspace.mjs';

const name = '会议 日志';
const asReadByteForByte = new TextDecoder('windows-1252').decode(Buffer.from(name));
const onDisk = process.env.KAVRIN_CODE_PAGE === '936' ? name : asReadByteForByte;

test(`the log is in the folder that code page ${process.env.KAVRIN_CODE_PAGE} names`, async t => {
  const parent = newFolder('parent');
  fs.mkdirSync(path.join(parent, onDisk));
  const session = newSession(t);
  session.json('SetLogTag', { tag: 'tag' });
  await session.login({ logPath: `${parent}\\${name}`, puid: 'me' });
  assert.deepEqual(fs.readdirSync(parent), [onDisk]);
  const [file] = logFiles(parent);
  assert.match(path.relative(path.join(parent, onDisk), file),
    /^tag_me\\KavrinConferenceNodeExt\\KVNodeExt_\d{6}\.\d{1,3}\.log$/);
  const text = fs.readFileSync(file, 'latin1');
  assert.ok(text.includes('\r\n') && !/[^\r]\n/.test(text), 'lines end as Windows text files do');
});
