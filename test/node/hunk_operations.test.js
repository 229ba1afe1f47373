'use strict';
// Staging, unstaging and discarding one hunk through git apply: against real git in temporary
// repositories, and against a stand-in git for the exact command lines and the output rule.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const os = require('os');
const path = require('path');
const utils = require('../..');
const { tempDir, git, makeRepo, commit, fakeGit } = require('./support/repo');

// The private patch files of the calls, in the system's temporary folder.
const PATCH_PREFIX = 'tarnwick-hunk-';
const patchFiles = () => fs.readdirSync(os.tmpdir()).filter((name) => name.startsWith(PATCH_PREFIX));

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

// Calls `method` and checks what every call must leave behind: no patch file, the same folder.
function call(method, patchText, repoPath) {
  const before = currentFolder();
  const answer = utils[method](patchText, repoPath);
  assert.strictEqual(currentFolder(), before, `${method} left the process in another folder`);
  assert.deepStrictEqual(patchFiles(), [], `${method} left its patch file`);
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
  for (const folderName of [undefined, 'my repo \u00e9t\u00e9 \u65e5\u672c']) {
    for (const c of cases) {
      await t.test(`${c.name}${folderName ? ` in "${folderName}"` : ''}`, () => {
        const repo = makeRepo(folderName);
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
  }
});

const COMMANDS = {
  grsh: ['apply', '--ignore-space-change', '--ignore-whitespace', '--whitespace=fix', '--cached'],
  gruh: ['apply', '-R', '--ignore-space-change', '--ignore-whitespace', '--whitespace=fix', '--cached'],
  grdh: ['apply', '-R', '--ignore-space-change', '--ignore-whitespace', '--whitespace=fix'],
};

// What git prints on standard output or standard error, and the answer it gives when git exits 0.
const OUTPUTS = [
  ['', true],
  ['error', false],
  ['error\n', true],
  [' error', true],
  ['error: patch failed: file.txt:3\n', false],
  ['Checking patch file.txt...\nerror: while searching for:\n', false],
  ['warning: 1 line adds whitespace errors.\nerror: ', false],
  ['Error: something\n', true],
  ['ERROR: something\n', true],
  ['errors: none\n', true],
  ['error:no space\n', true],
];

test('runs the exact git apply command on a private copy of the patch and reads its answer', async (t) => {
  const repo = makeRepo('repo with space \u00e9');
  const patch = 'patch body \u00e9\r\nwith "quotes" and $(no expansion)\n\0after zero\n';
  const runs = [];
  for (const [output, expected] of OUTPUTS) {
    runs.push([{ stdout: output }, expected], [{ stderr: output }, expected], [{ stdout: output, status: 1 }, false]);
  }
  for (const [{ stdout = '', stderr = '', status = 0 }, expected] of runs) {
    await t.test(JSON.stringify({ stdout, stderr, status }), () => {
      const fake = fakeGit(stdout, { captureLastArgument: true, stderr, status });
      try {
        for (const method of Object.keys(COMMANDS)) assert.strictEqual(call(method, patch, repo), expected, method);
        const calls = fake.calls();
        assert.deepStrictEqual(calls.map((c) => c.args.slice(0, -1)), Object.values(COMMANDS));
        for (const c of calls) {
          assert.strictEqual(c.cwd, repo);
          assert.strictEqual(path.dirname(c.args.at(-1)), os.tmpdir());
          assert.match(path.basename(c.args.at(-1)), /^tarnwick-hunk-\w{6}$/);
          assert.deepStrictEqual(c.seen, Buffer.from(patch));
        }
      } finally {
        fake.restore();
      }
    });
  }
});

test('a repository folder that cannot be entered runs nothing and answers false', () => {
  const fake = fakeGit('');
  try {
    for (const folder of [path.join(tempDir(), 'missing'), '', 'undefined']) {
      for (const method of Object.keys(COMMANDS)) assert.strictEqual(call(method, 'patch', folder), false);
    }
    assert.strictEqual(fake.calls().length, 0);
  } finally {
    fake.restore();
  }
});
