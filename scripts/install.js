'use strict';
// npm's install script. Keeps the prebuilt binaries when both faces load from them under this
// Node.js; builds from source (scripts/build-addon.js) when they do not, when asked to
// (npm_config_build_from_source=true, which `npm rebuild --build-from-source` sets), for an
// Electron host (npm_config_runtime=electron, which has no prebuilt synchronous face), or in a
// git checkout (a contributor's `npm install`). A Node.js that npm_config_target or
// npm_config_nodedir names does not count: its prebuilt binary is chosen when it runs, and a
// global nodedir would otherwise send every other Node.js to a compiler. Prints one line saying
// which. Written for the oldest host (Node 10.11).
const fs = require('fs');
const path = require('path');
const { spawnSync } = require('child_process');
const { currentHost, describeHost } = require('../lib/load-native');

const root = path.join(__dirname, '..');
const FACES = ['utils', 'utils_promises'];

// Returns why this install builds from source whatever the prebuilt binaries do, or null.
function sourceBuildAsked() {
  const env = process.env;
  const asked = env.npm_config_build_from_source;
  if (asked === 'true' || asked === 'tarnwick-native-utils') return 'asked by npm_config_build_from_source';
  if (env.npm_config_runtime && env.npm_config_runtime !== 'node') return `for the host npm names: npm_config_runtime=${env.npm_config_runtime}`;
  if (fs.existsSync(path.join(root, '.git'))) return 'a git checkout';
  return null;
}

// Returns null when both faces load from their prebuilt binaries (in a child process, so that a
// binary that crashes on load cannot take the install with it), else the loader's one line.
function prebuiltFailure() {
  const check = `const load = require(${JSON.stringify(path.join(root, 'lib', 'load-native.js'))});
    const host = load.currentHost();
    ${JSON.stringify(FACES)}.forEach((face) => load.loadPrebuilt(face, host));`;
  const child = spawnSync(process.execPath, ['-e', check], { encoding: 'utf8' });
  if (child.status === 0) return null;
  const lines = `${child.stderr || ''}`.split('\n');
  return lines.find((line) => /tarnwick-native-utils: /.test(line)) || lines.find((line) => line.trim() !== '')
    || `the check ended with status ${child.status}`;
}

function buildFromSource(reason) {
  const build = spawnSync(process.execPath, [path.join(__dirname, 'build-addon.js')],
    { stdio: ['ignore', 'pipe', 'inherit'], encoding: 'utf8' });
  if (build.status !== 0) process.exit(build.status || 1);
  const built = `${build.stdout || ''}`.trim().replace(/^utils: /, '');
  process.stdout.write(`tarnwick-native-utils: built from source (${reason}): ${built}\n`);
}

const asked = sourceBuildAsked();
const failure = asked ? null : prebuiltFailure();
if (asked) {
  buildFromSource(asked);
} else if (failure) {
  buildFromSource(`no prebuilt binary loads: ${failure.replace(/^tarnwick-native-utils: /, '').replace(/; build .*$/, '')}`);
} else {
  // A source build of an earlier install (for Electron, say) stays, and is loaded before them.
  const earlier = FACES.some((face) => fs.existsSync(path.join(root, 'build', 'Release', `${face}.node`)));
  const host = describeHost(currentHost());
  process.stdout.write(earlier
    ? `tarnwick-native-utils: keeping the earlier source build in build/Release, which is loaded before the prebuilt binaries for ${host} (delete that folder to use them)\n`
    : `tarnwick-native-utils: using the prebuilt binaries for ${host}; nothing built\n`);
}
