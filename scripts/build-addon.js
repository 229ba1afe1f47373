'use strict';
// Builds build/Release/utils.node against the headers of the Node.js that runs this script, so the
// build never downloads headers. Any failure ends in one line that says what is missing.
const fs = require('fs');
const path = require('path');
const { spawnSync } = require('child_process');

const root = path.join(__dirname, '..');

function fail(message) {
  process.stderr.write(`utils: cannot build the add-on: ${message}\n`);
  process.exit(1);
}

// Returns the folder that holds include/node for the running Node.js, or null.
function findNodeDir() {
  const candidates = [];
  if (process.env.npm_config_nodedir) candidates.push(process.env.npm_config_nodedir);
  candidates.push(path.resolve(path.dirname(process.execPath), '..'));
  return candidates.find((dir) => fs.existsSync(path.join(dir, 'include', 'node', 'node.h'))
    && fs.existsSync(path.join(dir, 'include', 'node', 'common.gypi'))) || null;
}

// Returns a command that starts node-gyp: npm's own copy when run by npm, else one found beside Node.
function findNodeGyp() {
  const candidates = [
    process.env.npm_config_node_gyp,
    path.resolve(path.dirname(process.execPath), '..', 'lib', 'node_modules', 'npm', 'node_modules', 'node-gyp', 'bin', 'node-gyp.js'),
  ];
  try {
    candidates.push(require.resolve('node-gyp/bin/node-gyp.js'));
  } catch (e) { /* not installed locally */ }
  return candidates.find((file) => file && fs.existsSync(file)) || null;
}

function hasCompiler() {
  const cxx = process.env.CXX || 'c++';
  const probe = spawnSync(cxx, ['--version'], { stdio: 'ignore', shell: !!process.env.CXX });
  return probe.status === 0;
}

const nodeDir = findNodeDir();
if (!nodeDir) {
  fail(`no Node.js headers beside ${process.execPath} (expected include/node/node.h and common.gypi; install your distribution's Node.js development headers or set npm_config_nodedir)`);
}
if (!hasCompiler()) fail('no C++ compiler found (install g++ or clang++, or set CXX)');
if (spawnSync('python3', ['--version'], { stdio: 'ignore' }).status !== 0
    && spawnSync('python', ['--version'], { stdio: 'ignore' }).status !== 0) {
  fail('no Python found, which node-gyp needs (install python3)');
}
const nodeGyp = findNodeGyp();
if (!nodeGyp) fail('node-gyp not found (run the build through npm, or install node-gyp)');

const run = spawnSync(process.execPath, [nodeGyp, 'rebuild', `--nodedir=${nodeDir}`, '--jobs=max'], {
  cwd: root,
  stdio: process.env.UTILS_VERBOSE_BUILD ? 'inherit' : ['ignore', 'pipe', 'pipe'],
  encoding: 'utf8',
  maxBuffer: 64 * 1024 * 1024,
});
if (run.status !== 0) {
  // node-gyp's progress lines are noise once it failed; the compiler's messages are what matter.
  const output = `${run.stdout || ''}${run.stderr || ''}`.split('\n').filter((line) => !/^gyp info /.test(line));
  process.stderr.write(output.join('\n'));
  fail(`node-gyp exited with status ${run.status} (compiler output above)`);
}
process.stdout.write(`utils: built ${path.join('build', 'Release', 'utils.node')} against ${nodeDir}\n`);
