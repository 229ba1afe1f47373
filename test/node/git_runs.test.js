'use strict';
// The git-running methods end to end, through the add-on and real git: each method's arguments
// reach git, git's answer comes back as the view or the boolean, and git's failures as the empty
// answer. What the views hold for every shape of git output is the C++ suite's to show. TZ=UTC.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const utils = require('../..');
const { makeRepo, commit, git, tempDir } = require('./support/repo');

// Returns the hunks of a one-file diff, each with the file header (less its blob names) in front.
function hunkPatches(diff) {
  const [header, ...hunks] = diff.replace(/^index .*\n/m, '').split(/^(?=@@)/m);
  return hunks.map((hunk) => header + hunk);
}

test('grsh, gruh and grdh stage, unstage and discard one hunk of several', () => {
  const lines = (edit) => Array.from({ length: 40 }, (_, i) => `${edit[i] ?? `line ${i} caf\u00e9`}\r\n`).join('');
  const repo = makeRepo();
  commit(repo, { 'f.txt': lines({}) }, 'base');
  fs.writeFileSync(path.join(repo, 'f.txt'), `${lines({ 2: 'first', 20: 'second', 37: 'third' })}no final line feed`);
  const patches = hunkPatches(git(repo, ['diff']));
  assert.strictEqual(patches.length, 3);
  assert.strictEqual(utils.grsh(patches[1], repo), true);
  assert.deepStrictEqual([hunkPatches(git(repo, ['diff', '--cached'])), hunkPatches(git(repo, ['diff'])).length], [[patches[1]], 2]);
  assert.strictEqual(utils.gruh(patches[1], repo), true);
  assert.strictEqual(git(repo, ['diff', '--cached']), '');
  assert.strictEqual(utils.grdh(patches[1], repo), true);
  assert.strictEqual(fs.readFileSync(path.join(repo, 'f.txt'), 'utf8'),
    `${lines({ 2: 'first', 37: 'third' })}no final line feed`);
});

test('mtgcld lists a real file\'s commits newest first, across a rename', () => {
  const repo = makeRepo();
  const first = commit(repo, { 'old.txt': 'one\n' }, 'Add the file', 1600000000);
  git(repo, ['mv', 'old.txt', 'new.txt']);
  const moved = commit(repo, {}, 'Rename <it> & "go"', 1600086400);
  const last = commit(repo, { 'new.txt': 'two\n' }, 'Change it', 1600172800);
  const short = (hash) => git(repo, ['rev-parse', '--short', hash]).trim();
  assert.strictEqual(utils.mtgcld('new.txt', repo, short(last)),
    `<option data-dfp='new.txt' data-dlcid='${last}' value='${short(last)}'  selected >${short(last)} 15 Sep 2020 Change it</option>`
    + `<option data-dfp='new.txt' data-dlcid='${moved}' value='${short(moved)}' >${short(moved)} 14 Sep 2020 Rename &lt;it&gt; &amp; &quot;go&quot;</option>`
    + `<option data-dfp='old.txt' data-dlcid='${first}' value='${short(first)}' >${short(first)} 13 Sep 2020 Add the file</option>`);
  assert.strictEqual(utils.mtgcld('missing.txt', repo, ''), '');
});

test('mtgch shows a real file as in HEAD, with git\'s lines or the caller\'s', () => {
  const repo = makeRepo();
  const first = commit(repo, { 'a.txt': 'one\n\ntwo <&>\n' }, 'first');
  const second = commit(repo, { 'a.txt': 'one\n\nTWO <&>\n' }, 'second', 1600003600);
  fs.writeFileSync(path.join(repo, 'a.txt'), 'changed in the work tree\n');
  const view = (content, ...rest) => [...utils.mtgch('a.txt', repo, 'ffffff', content, ...rest)
    .matchAll(/data-dlinenumber='(\d+)' data-commitid='(\w+)'>.*?width: (\d+)px;'>\d+<\/span><span class='line-contents'>(.*?)<\/span>/gs)]
    .map((m) => [Number(m[1]), m[2], Number(m[3]), m[4]]);
  assert.deepStrictEqual(view(null), [[1, first, 35, '\tone'], [2, first, 35, '\t'], [3, second, 35, '\tTWO <&>']]);
  assert.deepStrictEqual(view(''), view(null));
  assert.deepStrictEqual(view('A\n\nC').map((line) => line[3]), ['A', '\n', 'C']);
  // An omitted fourth argument is converted like any other: it reads as "undefined".
  assert.deepStrictEqual(utils.mtgch('a.txt', repo, 'ffffff'), utils.mtgch('a.txt', repo, 'ffffff', 'undefined'));
  assert.strictEqual(view('x\n'.repeat(999))[0][2], 45);
  assert.strictEqual(utils.mtgch('untracked.txt', repo, 'ffffff', null), '');
  assert.strictEqual(utils.mtgch('a.txt', tempDir(), 'ffffff', null), '');
});
