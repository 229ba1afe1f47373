'use strict';
// Builds build/Release/utils.node (the synchronous add-on) and build/Release/utils_promises.node
// (the promise face, when node-addon-api is installed) in one node-gyp run, against the headers
// of the Node.js that runs this script, so the build never downloads headers. When npm passes the
// settings of another host (npm_config_runtime=electron with npm_config_target and
// npm_config_disturl, as an Electron application's .npmrc sets them), those reach node-gyp
// instead, which then builds against that host's headers from that address, or offline from the
// folder npm_config_nodedir names. Any failure ends in one line that says what is missing. Also
// the module that finds node-gyp for scripts/prebuilds.js.
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

// Returns node-gyp's arguments for the host npm names, or null when it names none but this Node.
function otherHostArguments() {
  const { npm_config_runtime: runtime, npm_config_target: target, npm_config_disturl: distUrl } = process.env;
  if (runtime === 'electron') {
    // Offline, Electron's headers unpacked in a folder that npm_config_nodedir names.
    const nodeDir = process.env.npm_config_nodedir;
    const headers = !distUrl && nodeDir && fs.existsSync(path.join(nodeDir, 'include', 'node', 'node.h')) ? nodeDir : null;
    if (!target || (!distUrl && !headers)) {
      fail('npm_config_runtime=electron also needs npm_config_target (the Electron version) and npm_config_disturl (where its headers are) or, offline, npm_config_nodedir (a folder holding its include/node); or run npx @electron/rebuild');
    }
    return [`--runtime=electron`, `--target=${target}`, headers ? `--nodedir=${headers}` : `--dist-url=${distUrl}`];
  }
  if (runtime && runtime !== 'node') fail(`npm_config_runtime=${runtime} is not a host this add-on builds for (node or electron)`);
  if (target && target.replace(/^v/, '') !== process.versions.node) {
    return ['--runtime=node', `--target=${target}`, ...(distUrl ? [`--dist-url=${distUrl}`] : [])];
  }
  return null;
}

// Builds both modules, or ends the process with one line saying what is missing.
function build() {
  const hostArguments = otherHostArguments();
  const nodeDir = hostArguments ? null : findNodeDir();
  if (!hostArguments && !nodeDir) {
    fail(`no Node.js headers beside ${process.execPath} (expected include/node/node.h and common.gypi; install your distribution's Node.js development headers or set npm_config_nodedir)`);
  }
  if (!hasCompiler()) fail('no C++ compiler found (install g++ or clang++, or set CXX)');
  if (spawnSync('python3', ['--version'], { stdio: 'ignore' }).status !== 0
      && spawnSync('python', ['--version'], { stdio: 'ignore' }).status !== 0) {
    fail('no Python found, which node-gyp needs (install python3)');
  }
  const nodeGyp = findNodeGyp();
  if (!nodeGyp) fail('node-gyp not found (run the build through npm, or install node-gyp)');

  // A nodedir (npm's own setting included) would make node-gyp take this Node's headers again.
  const env = { ...process.env };
  if (hostArguments) delete env.npm_config_nodedir;
  const run = spawnSync(process.execPath, [nodeGyp, 'rebuild', ...(hostArguments || [`--nodedir=${nodeDir}`]), '--jobs=max'], {
    cwd: root,
    env,
    stdio: process.env.UTILS_VERBOSE_BUILD ? 'inherit' : ['ignore', 'pipe', 'pipe'],
    encoding: 'utf8',
    maxBuffer: 64 * 1024 * 1024,
  });
  if (run.status !== 0) {
    // node-gyp's progress lines are noise once it failed; the compiler's messages are what matter.
    const output = `${run.stdout || ''}${run.stderr || ''}`.split('\n').filter((line) => !/^gyp info /.test(line));
    process.stderr.write(output.join('\n'));
    fail(`node-gyp exited with status ${run.status} (its output above)`);
  }
  const host = hostArguments ? hostArguments.join(' ') : nodeDir;
  // Without node-addon-api (a source build in a client's project) binding.gyp leaves the promise
  // face out, which then loads from its prebuilt binary.
  const promises = fs.existsSync(path.join(root, 'build', 'Release', 'utils_promises.node'))
    ? 'and utils_promises.node' : '(not utils_promises.node: node-addon-api is not installed)';
  process.stdout.write(`utils: built build/Release/utils.node ${promises} against ${host}\n`);
}

module.exports = { findNodeGyp };

if (require.main === module) build();
