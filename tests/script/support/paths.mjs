// Where the things under test are. KAVRIN_BUILD names the build folder, relative to the project.
import path from 'node:path';
import { fileURLToPath } from 'node:url';

export const projectDir = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../../..');
export const buildDir = path.resolve(projectDir, process.env.KAVRIN_BUILD ?? 'build/release');
// The module beside the scripted engine and its control addon.
export const scriptedDir = path.join(buildDir, 'scripted');
// The module beside the real engine, as a host gets it.
export const distDir = path.join(buildDir, 'dist');
export const moduleFile = 'KavrinConferenceNodeExt.node';
