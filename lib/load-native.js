'use strict';
// Finds and loads one of the package's two native modules ("utils", the synchronous face built
// for one module ABI, or "utils_promises", the Node-API face): a source build in build/Release
// when there is one, else the prebuilt binary for this platform, architecture, runtime (Node or
// Electron), module ABI and C library, else fails with one line naming the host, its ABI and the
// command that builds for it. Prebuilt binaries follow prebuildify's file-name tags:
// prebuilds/<platform>-<arch>/<face>.<runtime>.<abi<N> or napi>.<glibc|musl>.node. Written for the
// oldest host (Node 10.11).
const fs = require('fs');
const path = require('path');

const root = path.join(__dirname, '..');
const NAPI_FACES = ['utils_promises'];

// Returns "glibc" or "musl": the C library this process runs on, read from its own mappings.
function linuxLibc() {
  try {
    return /\/ld-musl-|\/libc\.musl-/.test(fs.readFileSync('/proc/self/maps', 'utf8')) ? 'musl' : 'glibc';
  } catch (error) {
    return fs.existsSync('/etc/alpine-release') ? 'musl' : 'glibc';
  }
}

// Returns what picks a prebuilt binary for the running process.
function currentHost() {
  const electron = process.versions.electron;
  return {
    platform: process.platform,
    arch: process.arch,
    runtime: electron ? 'electron' : 'node',
    version: electron || process.versions.node,
    abi: process.versions.modules,
    libc: process.platform === 'linux' ? linuxLibc() : '',
  };
}

// Returns the prebuilt binary's path, relative to the package root, that `face` needs on `host`.
function prebuildFile(face, host) {
  const tags = NAPI_FACES.indexOf(face) >= 0 ? ['node', 'napi'] : [host.runtime, `abi${host.abi}`];
  if (host.libc) tags.push(host.libc);
  return path.join('prebuilds', `${host.platform}-${host.arch}`, `${face}.${tags.join('.')}.node`);
}

// Returns the host as the error lines name it: "Node.js 20.1.0 (module ABI 115, linux-x64, glibc)".
function describeHost(host) {
  const runtime = host.runtime === 'electron' ? 'Electron' : 'Node.js';
  const platform = [`${host.platform}-${host.arch}`].concat(host.libc ? [host.libc] : []).join(', ');
  return `${runtime} ${host.version} (module ABI ${host.abi}, ${platform})`;
}

// Returns the command that builds `face` from source for `host`.
function buildCommand(face, host) {
  if (host.runtime === 'electron') return 'npx @electron/rebuild --force --only tarnwick-native-utils';
  const addonApi = NAPI_FACES.indexOf(face) >= 0 ? 'npm install --save-dev node-addon-api@^8 && ' : '';
  return `${addonApi}npm rebuild tarnwick-native-utils --build-from-source`;
}

function failure(face, host, what, cause) {
  // Node's own reason, on one line and without its advice to rebuild, which the command replaces.
  const reason = cause ? `: ${String(cause.message).replace(/\s*\n\s*/g, ' ').replace(/\.? Please try re-compiling.*$/, '')}` : '';
  const error = new Error(`tarnwick-native-utils: ${what} ${describeHost(host)}${reason}; build ${face}.node for it with: ${buildCommand(face, host)}`);
  if (cause) error.cause = cause;
  return error;
}

// Returns `face`'s exports from the prebuilt binary alone (build/Release is not looked at).
function loadPrebuilt(face, host, packageRoot) {
  const file = prebuildFile(face, host);
  const full = path.join(packageRoot || root, file);
  if (!fs.existsSync(full)) throw failure(face, host, `no prebuilt ${face}.node for`);
  try {
    return require(full);
  } catch (error) {
    throw failure(face, host, `the prebuilt ${file} does not load under`, error);
  }
}

// Returns `face`'s exports: the source build when there is one, else the prebuilt binary.
function loadNative(face) {
  const built = path.join(root, 'build', 'Release', `${face}.node`);
  if (!fs.existsSync(built)) return loadPrebuilt(face, currentHost());
  try {
    return require(built);
  } catch (error) {
    throw failure(face, currentHost(), `the source build build/Release/${face}.node does not load under`, error);
  }
}

module.exports = { loadNative, loadPrebuilt, currentHost, prebuildFile, describeHost };
