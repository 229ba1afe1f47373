'use strict';
// Which prebuilt binary the loader takes for a host, its one line when there is none, and the
// source build for Electron hosts.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { loadPrebuilt, currentHost } = require('../../lib/load-native');

// A package folder whose prebuilt binaries for linux-x64 are `files`, each holding no binary, so
// that taking one fails with "does not load" and passing it over with "no prebuilt".
function packageWith(files) {
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'utils-load-native-'));
  test.after(() => fs.rmSync(dir, { recursive: true, force: true }));
  fs.mkdirSync(path.join(dir, 'prebuilds', 'linux-x64'), { recursive: true });
  for (const file of files) fs.writeFileSync(path.join(dir, 'prebuilds', 'linux-x64', file), 'not a binary');
  return dir;
}

test('Electron of module ABI 64 never takes Node 10\'s synchronous face, but takes the Node-API face', () => {
  const dir = packageWith(['utils.node.abi64.glibc.node', 'utils_promises.node.napi.glibc.node']);
  const node10 = { platform: 'linux', arch: 'x64', runtime: 'node', version: '10.11.0', abi: '64', libc: 'glibc' };
  const electron4 = { ...node10, runtime: 'electron', version: '4.0.3' };
  assert.throws(() => loadPrebuilt('utils', node10, dir), /the prebuilt prebuilds\/linux-x64\/utils\.node\.abi64\.glibc\.node does not load/);
  assert.throws(() => loadPrebuilt('utils', electron4, dir),
    { message: 'tarnwick-native-utils: no prebuilt utils.node for Electron 4.0.3 (module ABI 64, linux-x64, glibc); build utils.node for it with: npx @electron/rebuild --force --only tarnwick-native-utils' });
  assert.throws(() => loadPrebuilt('utils_promises', electron4, dir), /the prebuilt prebuilds\/linux-x64\/utils_promises\.node\.napi\.glibc\.node does not load/);
});

test('a host with no binary of its own gets one line naming it, its module ABI and the command that builds for it', () => {
  const host = { ...currentHost(), abi: '999' };
  assert.throws(() => loadPrebuilt('utils', host), {
    message: `tarnwick-native-utils: no prebuilt utils.node for Node.js ${process.versions.node} (module ABI 999, ${process.platform}-${process.arch}${host.libc ? `, ${host.libc}` : ''}); build utils.node for it with: npm rebuild tarnwick-native-utils --build-from-source`,
  });
});

// Runs the build script with a stand-in node-gyp and npm's settings `env`; returns its status, its
// error output, and the arguments and nodedir setting node-gyp received.
function build(env) {
  const dir = packageWith([]);
  fs.writeFileSync(path.join(dir, 'node-gyp.js'), `require('fs').writeFileSync(${JSON.stringify(path.join(dir, 'seen'))}, JSON.stringify([process.argv.slice(2), process.env.npm_config_nodedir ?? null]));`);
  const clean = Object.fromEntries(Object.entries(process.env).filter(([key]) => !/^npm_config_/.test(key)));
  const run = spawnSync(process.execPath, [path.join(__dirname, '..', '..', 'scripts', 'build-addon.js')],
    { env: { ...clean, npm_config_node_gyp: path.join(dir, 'node-gyp.js'), ...env(dir) }, encoding: 'utf8' });
  const seen = path.join(dir, 'seen');
  const [args, nodedir] = fs.existsSync(seen) ? JSON.parse(fs.readFileSync(seen, 'utf8')) : [];
  return { status: run.status, stderr: run.stderr, args, nodedir, dir };
}

// An Electron application's .npmrc settings reach node-gyp: its headers from an address, or offline
// from the folder npm_config_nodedir names; incomplete ones fail in one line; none build for this Node.
test('npm\'s Electron settings reach node-gyp, online or offline; without them the build uses this Node', () => {
  const electron = { npm_config_runtime: 'electron', npm_config_target: '30.1.0' };
  const online = build(() => ({ ...electron, npm_config_disturl: 'http://127.0.0.1:9/h', npm_config_nodedir: '/usr' }));
  assert.deepStrictEqual([online.status, online.args, online.nodedir],
    [0, ['rebuild', '--runtime=electron', '--target=30.1.0', '--dist-url=http://127.0.0.1:9/h', '--jobs=max'], null], online.stderr);
  const offline = build((dir) => {
    fs.mkdirSync(path.join(dir, 'include', 'node'), { recursive: true });
    fs.writeFileSync(path.join(dir, 'include', 'node', 'node.h'), '');
    return { ...electron, npm_config_nodedir: dir };
  });
  assert.deepStrictEqual([offline.status, offline.args], [0, ['rebuild', '--runtime=electron', '--target=30.1.0', `--nodedir=${offline.dir}`, '--jobs=max']], offline.stderr);
  const incomplete = build(() => ({ npm_config_runtime: 'electron' }));
  assert.notStrictEqual(incomplete.status, 0);
  assert.match(incomplete.stderr, /^utils: cannot build the add-on: .*npm_config_target.*\n$/);
  assert.strictEqual(incomplete.args, undefined);
  const node = build(() => ({ npm_config_nodedir: '/usr' }));
  assert.strictEqual(node.status, 0, node.stderr);
  assert.match(node.args[1], /^--nodedir=/);
});
