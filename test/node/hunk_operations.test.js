'use strict';
// Staging, unstaging and discarding one hunk through the add-on, with real git and with a
// stand-in git that shows exactly what was run.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');

const utils = require('../..');
const { makeRepo, commit, git, tempDir, fakeGit } = require('./support/repo');

const PATCH_FILE = '.tarnwick_hunkpatch';

// Returns the patches a client would send for each hunk of `git diff` of one file: the file
// header followed by one hunk.
function hunkPatches(diff) {
  const at = diff.indexOf('\n@@') + 1;
  const header = diff.slice(0, at);
  return diff.slice(at).split(/^(?=@@)/m).map((hunk) => header + hunk);
}

// Returns the hunks of `diff` without the file header, for comparing diffs of a file.
function hunksOf(diff) {
  return diff.slice(diff.indexOf('\n@@') + 1).split(/^(?=@@)/m);
}

// Calls `method` and checks what every call must leave behind: no patch file, same folder.
function call(method, patch, repo) {
  const before = process.cwd();
  const answer = utils[method](patch, repo);
  assert.strictEqual(process.cwd(), before, 'the working folder is restored');
  assert.ok(!fs.existsSync(path.join(repo, PATCH_FILE)), 'the patch file is removed');
  return answer;
}

const lines = (n, edit = () => null) => Array.from({ length: n }, (_, i) => edit(i) ?? `line ${i + 1}`);

// A file of 40 lines with changes at lines 3, 20 and 37: three hunks in `git diff`.
function repoWithThreeHunks(name, eol = '\n', finalNewline = true) {
  const repo = makeRepo(name);
  const join = (list) => list.join(eol) + (finalNewline ? eol : '');
  commit(repo, { 'file.txt': join(lines(40)) }, 'base');
  fs.writeFileSync(path.join(repo, 'file.txt'), join(lines(40, (i) => ([2, 19, 36].includes(i) ? `changed ${i + 1}` : null))));
  return repo;
}

for (const [label, name, eol, finalNewline] of [
  ['plain folder, LF', null, '\n', true],
  ['CR LF line ends', null, '\r\n', true],
  ['no final newline', null, '\n', false],
  ['folder name with spaces and non-ASCII', 'mein Ordner ü 中', '\n', true],
]) {
  test(`stage, unstage and discard the middle hunk: ${label}`, () => {
    const repo = repoWithThreeHunks(name, eol, finalNewline);
    const diff = git(repo, ['diff', '--no-color', 'file.txt']);
    const patches = hunkPatches(diff);
    assert.strictEqual(patches.length, 3);

    assert.strictEqual(call('grsh', patches[1], repo), true);
    assert.deepStrictEqual(hunksOf(git(repo, ['diff', '--cached', '--no-color'])), [hunksOf(patches[1])[0]]);

    assert.strictEqual(call('gruh', patches[1], repo), true);
    assert.strictEqual(git(repo, ['diff', '--cached']), '');

    assert.strictEqual(call('grdh', patches[1], repo), true);
    const left = git(repo, ['diff', '--no-color', 'file.txt']);
    assert.deepStrictEqual(hunksOf(left), [hunksOf(patches[0])[0], hunksOf(patches[2])[0]]);
  });
}

test('a whitespace-only change is staged', () => {
  const repo = makeRepo();
  commit(repo, { 'a.txt': 'one\ntwo\nthree\n' }, 'base');
  fs.writeFileSync(path.join(repo, 'a.txt'), 'one\n    two\nthree\n');
  const patch = git(repo, ['diff', '--no-color']);
  assert.strictEqual(call('grsh', patch, repo), true);
  assert.strictEqual(git(repo, ['show', ':a.txt']), 'one\n    two\nthree\n');
});

test('a hunk that git refuses on standard error alone changes nothing and still answers true', () => {
  const repo = repoWithThreeHunks();
  const [patch] = hunkPatches(git(repo, ['diff', '--no-color']));
  assert.strictEqual(call('grsh', patch.replace('-line 3', '-line x'), repo), true);
  assert.strictEqual(git(repo, ['diff', '--cached']), '');
});

test('the three command lines, run in the repository folder on the bare patch file', () => {
  const repo = makeRepo();
  const fake = fakeGit('');
  try {
    for (const method of ['grsh', 'gruh', 'grdh']) assert.strictEqual(call(method, 'patch text', repo), true);
    assert.deepStrictEqual(fake.calls(), [
      { cwd: repo, args: ['apply', '--ignore-space-change', '--ignore-whitespace', '--whitespace=fix', '--cached', PATCH_FILE] },
      { cwd: repo, args: ['apply', '-R', '--ignore-space-change', '--ignore-whitespace', '--whitespace=fix', '--cached', PATCH_FILE] },
      { cwd: repo, args: ['apply', '-R', '--ignore-space-change', '--ignore-whitespace', '--whitespace=fix', PATCH_FILE] },
    ]);
  } finally {
    fake.restore();
  }
});

test('only git\'s standard output decides the answer', () => {
  const table = [
    ['', true],
    ['error', false],
    ['error\n', true],
    ['error: patch failed', false],
    ['Checking patch a.txt...\nerror: while searching for:\n', false],
    ['Error: something', true],
    ['errors: none', true],
    ['warning: 1 line adds whitespace errors.\n', true],
  ];
  const repo = makeRepo();
  for (const [stdout, expected] of table) {
    const fake = fakeGit(stdout);
    try {
      assert.strictEqual(call('grsh', 'p', repo), expected, JSON.stringify(stdout));
    } finally {
      fake.restore();
    }
  }
});

test('an existing patch file is replaced by the patch and then removed', () => {
  const repo = makeRepo();
  fs.writeFileSync(path.join(repo, PATCH_FILE), 'old content that is longer than the patch');
  const dir = tempDir();
  // The stand-in copies the patch file it is given, so the test sees what git would read.
  const fake = fakeGit('');
  fs.writeFileSync(path.join(path.dirname(fake.script), 'git'),
    `#!/bin/sh\nfor a in "$@"; do last="$a"; done\ncp "$last" '${dir}/seen'\n`, { mode: 0o755 });
  try {
    assert.strictEqual(call('grdh', 'new patch\0with a zero byte', repo), true);
  } finally {
    fake.restore();
  }
  assert.strictEqual(fs.readFileSync(path.join(dir, 'seen'), 'latin1'), 'new patch\0with a zero byte');
});

test('a missing repository folder or missing arguments answer without throwing', () => {
  const missing = path.join(tempDir(), 'gone');
  const fake = fakeGit('');
  try {
    assert.strictEqual(call('grsh', 'p', missing), true);
    // Git then runs in the folder that was current.
    assert.strictEqual(fake.calls()[0].cwd, process.cwd());
    const before = process.cwd();
    assert.strictEqual(typeof utils.gruh(), 'boolean');
    assert.strictEqual(process.cwd(), before);
  } finally {
    fake.restore();
  }
});
