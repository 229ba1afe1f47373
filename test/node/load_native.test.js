'use strict';
// Which prebuilt binary the loader takes for a host, and its one line when there is none.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
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
