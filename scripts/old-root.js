'use strict';
// An older Debian root to load binaries in: Debian 11 "bullseye" (glibc 2.31, the libstdc++ of
// GCC 10), the oldest release the Debian mirror here serves (Debian 10's glibc 2.28 lives only on
// the archive, which this network does not reach). Made once with debootstrap's first stage (the
// packages unpacked, nothing run inside) into UTILS_ROOT_CACHE (default ~/.cache/tarnwick-roots),
// outside the checkout. A program runs on it through the root's own dynamic loader and libraries.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');

const cache = process.env.UTILS_ROOT_CACHE || path.join(os.homedir(), '.cache', 'tarnwick-roots');
const SUITE = 'bullseye';
const MIRROR = 'http://deb.debian.org/debian';
// Beyond the minimal base: Node 26 for arm64 needs libatomic.
const EXTRA = ['libatomic1'];
const ARCHES = {
  x64: { debian: 'amd64', triplet: 'x86_64-linux-gnu', loader: 'ld-linux-x86-64.so.2' },
  arm64: { debian: 'arm64', triplet: 'aarch64-linux-gnu', loader: 'ld-linux-aarch64.so.1' },
};

// Returns the root's folder for `arch` ("x64" or "arm64"), making it first when it is missing;
// throws with debootstrap's output when that fails.
function oldRoot(arch) {
  const { debian, triplet } = ARCHES[arch];
  const dir = path.join(cache, `${SUITE}-${debian}`);
  if (fs.existsSync(path.join(dir, 'lib', triplet, 'libc.so.6'))) return dir;
  const partial = `${dir}.partial`;
  fs.rmSync(partial, { recursive: true, force: true });
  fs.mkdirSync(cache, { recursive: true });
  const made = spawnSync('debootstrap', ['--foreign', '--variant=minbase', `--include=${EXTRA.join(',')}`, `--arch=${debian}`, SUITE, partial, MIRROR],
    { encoding: 'utf8', maxBuffer: 64 * 1024 * 1024 });
  if (made.status !== 0) {
    throw new Error(`debootstrap of ${SUITE} ${debian} failed: ${made.error || `${made.stdout}${made.stderr}`.slice(-2000)}`);
  }
  // The first stage unpacks only the required packages; the added ones are unpacked here.
  const debPaths = fs.readFileSync(path.join(partial, 'debootstrap', 'debpaths'), 'utf8').split('\n').map((line) => line.split(' '));
  for (const extra of EXTRA) {
    const deb = debPaths.find((entry) => entry[0] === extra);
    const unpacked = deb && spawnSync('dpkg-deb', ['-x', path.join(partial, deb[1]), partial], { encoding: 'utf8' });
    if (!unpacked || unpacked.status !== 0) throw new Error(`cannot unpack ${extra} into ${partial}: ${unpacked ? unpacked.stderr : 'not fetched'}`);
  }
  fs.rmSync(path.join(partial, 'var', 'cache', 'apt', 'archives'), { recursive: true, force: true });
  fs.renameSync(partial, dir);
  return dir;
}

// Returns the command and leading arguments that run an `arch` program on the root `dir`: its
// dynamic loader with its library folders (under qemu-user for arm64, which reads the loader from
// the root given with -L).
function onRoot(arch, dir) {
  const { triplet, loader } = ARCHES[arch];
  if (arch === 'arm64') return ['qemu-aarch64', ['-L', dir]];
  const libraries = [path.join(dir, 'lib', triplet), path.join(dir, 'usr', 'lib', triplet)].join(':');
  return [path.join(dir, 'lib', triplet, loader), ['--library-path', libraries]];
}

module.exports = { oldRoot, onRoot, SUITE };
