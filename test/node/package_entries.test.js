'use strict';
// What a user reaches through the package's name: both entries by require and by import, and the
// build settings npm passes for an Electron host handed on to node-gyp.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const { spawnSync } = require('child_process');
const { tempDir } = require('./support/repo');

const METHODS = ['cd', 'smc', 'grsh', 'gruh', 'grdh', 'gafh', 'mtgcld', 'mtgch'];
const root = path.join(__dirname, '..', '..');

test('both entries load by require and by import, with the eight methods as named exports', async () => {
  for (const [name, file] of [['tarnwick-native-utils', 'index.js'], ['tarnwick-native-utils/promises', 'promises.js']]) {
    const required = require(name);
    assert.strictEqual(required, require(path.join(root, file)), name);
    const imported = await import(name);
    for (const method of METHODS) assert.strictEqual(imported[method], required[method], `${name} ${method}`);
    assert.strictEqual(imported.default, required, name);
  }
});

// Runs the build script with a stand-in node-gyp and `env`; returns its status, its error output
// and the arguments and nodedir setting node-gyp received.
function build(env) {
  const dir = tempDir();
  fs.writeFileSync(path.join(dir, 'node-gyp.js'), `require('fs').writeFileSync(${JSON.stringify(path.join(dir, 'seen'))},
    JSON.stringify({ args: process.argv.slice(2), nodedir: process.env.npm_config_nodedir }));`);
  const clean = Object.fromEntries(Object.entries(process.env).filter(([key]) => !/^npm_config_(runtime|target|disturl)$/.test(key)));
  const run = spawnSync(process.execPath, [path.join(root, 'scripts', 'build-addon.js')],
    { env: { ...clean, npm_config_node_gyp: path.join(dir, 'node-gyp.js'), npm_config_nodedir: '/usr', ...env }, encoding: 'utf8' });
  const seen = path.join(dir, 'seen');
  return { status: run.status, stderr: run.stderr, ...(fs.existsSync(seen) ? JSON.parse(fs.readFileSync(seen, 'utf8')) : {}) };
}

test('the settings npm passes for an Electron host reach node-gyp; without them the build uses this Node', () => {
  const electron = build({ npm_config_runtime: 'electron', npm_config_target: '30.1.0', npm_config_disturl: 'http://127.0.0.1:9/h' });
  assert.strictEqual(electron.status, 0, electron.stderr);
  assert.deepStrictEqual(electron.args, ['rebuild', '--runtime=electron', '--target=30.1.0', '--dist-url=http://127.0.0.1:9/h', '--jobs=max']);
  assert.strictEqual(electron.nodedir, undefined);
  const incomplete = build({ npm_config_runtime: 'electron' });
  assert.notStrictEqual(incomplete.status, 0);
  assert.match(incomplete.stderr, /^utils: cannot build the add-on: .*npm_config_target.*\n$/);
  assert.strictEqual(incomplete.args, undefined);
  const node = build({});
  assert.strictEqual(node.status, 0, node.stderr);
  assert.match(node.args[1], /^--nodedir=/);
});
