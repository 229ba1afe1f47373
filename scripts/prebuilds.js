'use strict';
// `npm run prebuilds`: the prebuilt binaries the package ships, in prebuilds/<platform>-<arch>/
// under the names lib/load-native.js asks for. For linux-x64 and linux-arm64 (cross-built with
// Debian's g++-aarch64-linux-gnu): the promise face once (Node-API 3, any host) and the
// synchronous face once per Node.js major from 10 to 26 whose headers npm has for that
// architecture (node-linux-<arch>@VERSION, fetched once into the cache of scripts/node-release.js;
// nothing else is downloaded). The core is compiled once per architecture, with the promise face;
// each host then compiles and links only its binding against that core library. The binaries
// load on glibc 2.28 and later: libstdc++ is linked in (hidden, so it never meets the host's),
// and the glibc symbols newer than 2.28 are bound to older ones (scripts/prebuilds/glibc_floor.cc).
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawn, spawnSync } = require('child_process');
const { nodeRelease, moduleAbi } = require('./node-release');
const { findNodeGyp } = require('./build-addon');

const root = path.join(__dirname, '..');

// The Node.js release built against for each major: its first (17.9.1 for 17, whose 17.0.0 headers
// are broken; 10.11.0, the oldest this package supports); for arm64 the first that npm has.
const HOSTS = {
  x64: ['10.11.0', '11.0.0', '12.0.0', '13.0.0', '14.0.0', '15.0.0', '16.0.0', '17.9.1', '18.0.0',
    '19.0.0', '20.0.0', '21.0.0', '22.0.0', '23.0.0', '24.0.0', '25.0.0', '26.0.0'],
  arm64: ['10.18.1', '14.12.0', '16.0.0', '18.0.0', '19.0.1', '20.0.0', '22.0.0', '23.4.0', '24.20.0', '26.2.0'],
};
// The headers the core and the Node-API face are built against (any release with Node-API 3
// would do).
const NAPI_HOST = '20.0.0';
const TOOLS = {
  x64: { prefix: '', gypArch: 'x64' },
  arm64: { prefix: 'aarch64-linux-gnu-', gypArch: 'arm64' },
};
// Calls that glibc_floor.cc binds to versions glibc 2.28 has.
const WRAPPED = ['pthread_sigmask', 'stat64', 'lstat64', 'dlsym', 'dladdr', 'dlopen', 'arc4random'];

function fail(message) {
  process.stderr.write(`prebuilds: ${message}\n`);
  process.exit(1);
}

// Runs `command` and resolves with its output; rejects with the output when it fails.
function run(command, args, options) {
  return new Promise((resolve, reject) => {
    const child = spawn(command, args, { ...options, stdio: ['ignore', 'pipe', 'pipe'] });
    let output = '';
    child.stdout.on('data', (chunk) => { output += chunk; });
    child.stderr.on('data', (chunk) => { output += chunk; });
    child.on('error', reject);
    child.on('close', (status) => {
      const shown = output.split('\n').filter((line) => !/^gyp info /.test(line)).join('\n');
      if (status === 0) resolve(output);
      else reject(new Error(`${path.basename(command)} ${args.join(' ')} exited with status ${status}:\n${shown}`));
    });
  });
}

// Returns a folder in which node-gyp builds binding.gyp against the package's own sources without
// touching the package's build/.
function scratch(work, name) {
  const dir = path.join(work, name);
  fs.mkdirSync(dir);
  fs.copyFileSync(path.join(root, 'binding.gyp'), path.join(dir, 'binding.gyp'));
  for (const entry of ['src', 'scripts', 'node_modules']) fs.symlinkSync(path.join(root, entry), path.join(dir, entry));
  return dir;
}

// Returns the environment and compiler prefix of builds for `arch`.
function toolchain(arch, floorObject) {
  const { prefix } = TOOLS[arch];
  const env = { ...process.env };
  for (const key of Object.keys(env)) {
    if (/^npm_config_(nodedir|target|runtime|disturl|arch|target_arch)$/.test(key)) delete env[key];
  }
  Object.assign(env, {
    CC: `${prefix}gcc`,
    CXX: `${prefix}g++`,
    LINK: `${prefix}g++`,
    AR: `${prefix}ar`,
    // Each function in a section of its own, so that the link keeps only what is called.
    CXXFLAGS: '-ffunction-sections -fdata-sections',
    LDFLAGS: ['-static-libstdc++', '-Wl,--exclude-libs,ALL', '-Wl,--gc-sections', '-s', floorObject, ...WRAPPED.map((name) => `-Wl,--wrap=${name}`)].join(' '),
  });
  return env;
}

// Builds `targets` of binding.gyp against `headers` in a scratch folder; returns its build/Release.
async function gypBuild(nodeGyp, work, name, arch, headers, env, targets, gypArgs) {
  const dir = scratch(work, name);
  await run(process.execPath, [nodeGyp, 'configure', `--nodedir=${headers}`, `--arch=${TOOLS[arch].gypArch}`, '--', ...gypArgs], { cwd: dir, env });
  await run(process.execPath, [nodeGyp, 'build', '--jobs=2', ...targets], { cwd: dir, env });
  return path.join(dir, 'build', 'Release');
}

// Runs `tasks` (functions returning promises), at most `limit` at a time; resolves with their
// results.
async function pool(tasks, limit) {
  const results = [];
  let next = 0;
  const worker = async () => {
    while (next < tasks.length) {
      const index = next;
      next += 1;
      results[index] = await tasks[index]();
    }
  };
  await Promise.all(Array.from({ length: limit }, worker));
  return results;
}

async function main() {
  const nodeGyp = findNodeGyp();
  if (!nodeGyp) fail('node-gyp not found (run this through npm)');
  for (const arch of Object.keys(TOOLS)) {
    const compiler = `${TOOLS[arch].prefix}g++`;
    const debian = arch === 'x64' ? 'g++' : 'g++-aarch64-linux-gnu';
    if (spawnSync(compiler, ['--version'], { stdio: 'ignore' }).status !== 0) fail(`${compiler} not found (Debian: apt-get install ${debian})`);
  }
  const started = Date.now();
  const releases = {};
  for (const arch of Object.keys(HOSTS)) {
    for (const version of new Set([NAPI_HOST, ...HOSTS[arch]])) {
      try {
        releases[`${arch} ${version}`] = nodeRelease(version, arch);
      } catch (error) {
        fail(error.message);
      }
    }
  }
  const fetched = Date.now();

  const work = fs.mkdtempSync(path.join(os.tmpdir(), 'utils-prebuilds-'));
  process.on('exit', () => fs.rmSync(work, { recursive: true, force: true }));
  const out = path.join(root, 'prebuilds');
  fs.rmSync(out, { recursive: true, force: true });

  // Per architecture: the floor object, then the core with the promise face.
  const cores = {};
  await pool(Object.keys(TOOLS).map((arch) => async () => {
    const floorObject = path.join(work, `glibc_floor-${arch}.o`);
    await run(`${TOOLS[arch].prefix}g++`, ['-O2', '-fPIC', '-c', path.join(__dirname, 'prebuilds', 'glibc_floor.cc'), '-o', floorObject], {});
    const env = toolchain(arch, floorObject);
    const release = await gypBuild(nodeGyp, work, `${arch}-napi`, arch, releases[`${arch} ${NAPI_HOST}`], env, ['utils_promises'], []);
    const folder = path.join(out, `linux-${arch}`);
    fs.mkdirSync(folder, { recursive: true });
    fs.copyFileSync(path.join(release, 'utils_promises.node'), path.join(folder, 'utils_promises.node.napi.glibc.node'));
    cores[arch] = { library: path.join(release, 'obj.target', 'core.a'), env };
  }), 2);

  // Per host: the synchronous binding alone, linked with its architecture's core.
  const jobs = [];
  for (const arch of Object.keys(HOSTS)) {
    for (const version of HOSTS[arch]) {
      jobs.push(async () => {
        const headers = releases[`${arch} ${version}`];
        const abi = moduleAbi(headers);
        const release = await gypBuild(nodeGyp, work, `${arch}-${version}`, arch, headers, cores[arch].env, ['utils'], [`-Dcore_library=${cores[arch].library}`]);
        const file = path.join(out, `linux-${arch}`, `utils.node.abi${abi}.glibc.node`);
        if (fs.existsSync(file)) throw new Error(`two hosts of module ABI ${abi} for ${arch}`);
        fs.copyFileSync(path.join(release, 'utils.node'), file);
        return [arch, version, abi];
      });
    }
  }
  const built = await pool(jobs, os.cpus().length);
  const seconds = (to, from) => ((to - from) / 1000).toFixed(0);
  for (const arch of Object.keys(HOSTS)) {
    const list = built.filter((entry) => entry[0] === arch).map((entry) => `${entry[1]}:${entry[2]}`);
    process.stdout.write(`prebuilds: linux-${arch}: utils_promises (Node-API) and utils for ${list.length} hosts (version:ABI ${list.join(' ')})\n`);
  }
  process.stdout.write(`prebuilds: releases ready in ${seconds(fetched, started)} s, built in ${seconds(Date.now(), fetched)} s\n`);
}

module.exports = { HOSTS, NAPI_HOST };

if (require.main === module) {
  main().catch((error) => fail(error.message));
}
