'use strict';
// Node.js releases for builds and checks: the npm registry serves each as node-linux-<arch>@VERSION
// (bin/node and include/node, headers included). Each is fetched once into UTILS_HOST_CACHE
// (default ~/.cache/tarnwick-hosts), outside the checkout: x64 releases in <cache>/<version>,
// others in <cache>/<arch>-<version>, other packages (an old npm) by a name of their own.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');

const cache = process.env.UTILS_HOST_CACHE || path.join(os.homedir(), '.cache', 'tarnwick-hosts');

// Returns the unpacked folder of npm package `packageName` (name@version) in <cache>/<name>,
// fetching it once unless `marker` (a file in it) is already there; throws with npm's or tar's
// message when that fails.
function registryPackage(packageName, name, marker) {
  const home = path.join(cache, name);
  const folder = path.join(home, 'package');
  if (fs.existsSync(path.join(folder, marker))) return folder;
  fs.rmSync(home, { recursive: true, force: true });
  fs.mkdirSync(home, { recursive: true });
  const packed = spawnSync('npm', ['pack', '--silent', packageName, '--pack-destination', home], { encoding: 'utf8' });
  if (packed.status !== 0) throw new Error(`npm pack ${packageName} failed: ${packed.stderr || packed.error}`);
  const tarball = path.join(home, packed.stdout.trim().split('\n').pop());
  const unpacked = spawnSync('tar', ['xzf', tarball, '-C', home], { encoding: 'utf8' });
  if (unpacked.status !== 0) throw new Error(`cannot unpack ${tarball}: ${unpacked.stderr}`);
  fs.rmSync(tarball);
  return folder;
}

// Returns the folder of release `version` for `arch` (bin/node, include/node), fetching it once.
function nodeRelease(version, arch = 'x64') {
  return registryPackage(`node-linux-${arch}@${version}`, arch === 'x64' ? version : `${arch}-${version}`, path.join('bin', 'node'));
}

// Returns the module ABI (NODE_MODULE_VERSION) that the headers in release folder `folder` give.
function moduleAbi(folder) {
  const header = fs.readFileSync(path.join(folder, 'include', 'node', 'node_version.h'), 'utf8');
  const match = /#define NODE_MODULE_VERSION (\d+)/.exec(header);
  if (!match) throw new Error(`no NODE_MODULE_VERSION in ${folder}/include/node/node_version.h`);
  return match[1];
}

module.exports = { cache, registryPackage, nodeRelease, moduleAbi };
