'use strict';
// Staging, unstaging and discarding one hunk through git apply: against real git in temporary
// repositories, and against a stand-in git for what each method hands to git.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const utils = require('../..');
const { git, makeRepo, commit, fakeGit } = require('./support/repo');

// Returns the process's current folder as the system sees it (process.cwd() answers from a cache).
function currentFolder() {
  return fs.realpathSync.native('.');
}

// Returns the file header and the hunks of a one-file diff, as a client cuts them.
function cutDiff(diff) {
  const lines = diff.split(/(?<=\n)/);
  let first = lines.findIndex((line) => line.startsWith('@@'));
  if (first < 0) first = lines.length;
  const hunks = [];
  for (const line of lines.slice(first)) {
    if (line.startsWith('@@')) hunks.push('');
    hunks[hunks.length - 1] += line;
  }
  return { header: lines.slice(0, first).join(''), hunks };
}

// Returns a patch holding the file header and hunk `index` of `diff`.
function singleHunkPatch(diff, index) {
  const { header, hunks } = cutDiff(diff);
  return header + hunks[index];
}

// Calls `method` and checks that the process stayed in its folder.
function call(method, patchText, repoPath) {
  const before = currentFolder();
  const answer = utils[method](patchText, repoPath);
  assert.strictEqual(currentFolder(), before, `${method} left the process in another folder`);
  return answer;
}

const lines = (count, edit = {}) => Array.from({ length: count }, (_, i) => `${edit[i] ?? `line ${i}`}\n`).join('');

// Each case: the committed content, the changed content, the hunk to work on, and the content
// that discarding that hunk leaves in the working tree.
const cases = [
  {
    name: 'one hunk of three',
    original: lines(40),
    changed: lines(40, { 2: 'first', 20: 'second', 37: 'third' }),
    hunk: 1,
    discarded: lines(40, { 2: 'first', 37: 'third' }),
  },
  {
    name: 'CR LF line ends',
    original: lines(30).replace(/\n/g, '\r\n'),
    changed: lines(30, { 1: 'one', 25: 'two' }).replace(/\n/g, '\r\n'),
    hunk: 0,
    discarded: lines(30, { 25: 'two' }).replace(/\n/g, '\r\n'),
  },
  {
    name: 'no final newline',
    original: 'alpha\nbeta\ngamma',
    changed: 'alpha\nbeta\nGAMMA',
    hunk: 0,
    discarded: 'alpha\nbeta\ngamma',
  },
  {
    name: 'whitespace-only change',
    original: 'if (x) {\n  y();\n}\n',
    changed: 'if (x) {\n\ty();\n}\n',
    hunk: 0,
    discarded: 'if (x) {\n  y();\n}\n',
  },
  {
    name: 'non-ASCII content',
    original: 'caf\u00e9\nna\u00efve\n\u20ac 1\n',
    changed: 'caf\u00e9\nna\u00efve\n\u20ac 2 \u2713\n',
    hunk: 0,
    discarded: 'caf\u00e9\nna\u00efve\n\u20ac 1\n',
  },
];

test('stages, unstages and discards one hunk with real git', async (t) => {
  for (const c of cases) {
    await t.test(c.name, () => {
      const repo = makeRepo();
      commit(repo, { 'file.txt': c.original }, 'base');
      fs.writeFileSync(path.join(repo, 'file.txt'), c.changed);
      const diff = git(repo, ['diff']);
      const patch = singleHunkPatch(diff, c.hunk);
      const otherHunks = cutDiff(diff).hunks.filter((_, i) => i !== c.hunk);

      assert.strictEqual(call('grsh', patch, repo), true);
      assert.deepStrictEqual(cutDiff(git(repo, ['diff', '--cached'])).hunks, [cutDiff(patch).hunks[0]]);
      assert.deepStrictEqual(cutDiff(git(repo, ['diff'])).hunks, otherHunks);

      assert.strictEqual(call('gruh', patch, repo), true);
      assert.strictEqual(git(repo, ['diff', '--cached']), '');

      assert.strictEqual(call('grdh', patch, repo), true);
      assert.strictEqual(fs.readFileSync(path.join(repo, 'file.txt'), 'utf8'), c.discarded);
      assert.deepStrictEqual(cutDiff(git(repo, ['diff'])).hunks, otherHunks);
    });
  }
});

// Each method hands git its own apply command and the patch; the answer rules themselves are
// the C++ suite's.
test('each method runs its git apply command in the repository on the patch it was given', () => {
  const repo = makeRepo();
  const patch = 'patch body \u00e9\r\n\0after zero\n';
  const fake = fakeGit('', { captureLastArgument: true });
  try {
    for (const method of ['grsh', 'gruh', 'grdh']) assert.strictEqual(call(method, patch, repo), true);
    const calls = fake.calls();
    assert.deepStrictEqual(calls.map((c) => c.args.slice(0, -1).join(' ')), [
      'apply --ignore-space-change --ignore-whitespace --whitespace=fix --cached',
      'apply -R --ignore-space-change --ignore-whitespace --whitespace=fix --cached',
      'apply -R --ignore-space-change --ignore-whitespace --whitespace=fix']);
    for (const c of calls) {
      assert.deepStrictEqual([c.cwd, c.seen], [repo, Buffer.from(patch)]);
      assert.ok(!fs.existsSync(c.args.at(-1)), 'the patch file outlived the call');
    }
  } finally {
    fake.restore();
  }
  const refusing = fakeGit('', { stderr: 'error: patch failed\n', status: 1 });
  try {
    for (const method of ['grsh', 'gruh', 'grdh']) assert.strictEqual(call(method, patch, repo), false);
  } finally {
    refusing.restore();
  }
});
