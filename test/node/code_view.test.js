'use strict';
// "mtgch" end to end: real repositories, a stand-in git with odd output checked against the same
// pattern run by JavaScript's own backtracking engine, and paths the shell would otherwise read.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const utils = require('../..');
const { makeRepo, commit, fakeGit, tempDir } = require('./support/repo');

// The record pattern with \s spelled out, since JavaScript's \s also takes non-ASCII spaces.
const S = '[ \\t\\n\\v\\f\\r]';
const RECORD = new RegExp(`([0-9a-f]+)${S}(\\d+)${S}(\\d+)(${S}\\d+)?\\r?\\nauthor${S}([^\\n]+)\\r?\\n?`
  + `author-mail${S}([^\\n]+)\\r?\\nauthor-time${S}([^\\n]+)\\r?\\n?author-tz${S}([^\\n]+)\\r?\\n`
  + `committer${S}([^\\n]+)\\r?\\ncommitter-mail${S}([^\\n]+)\\r?\\ncommitter-time${S}([^\\n]+)\\r?\\n`
  + `committer-tz${S}([^\\n]+)\\r?\\nsummary${S}([^\\n]+)\\r?\\n(boundary\\r?\\n)?(previous${S}([^\\n]+)\\r?\\n)?`
  + `filename${S}([^\\n]+)\\r?\\n([^\\n]+)\\r?\\n`, 'g');

// Returns the code view of `blame` (bytes) for a six-digit `base`, built in JavaScript.
function expectedView(blame, base, contentText) {
  const text = blame.toString('latin1');
  const channels = (hex) => [0, 2, 4].map((i) => (hex.length > i ? parseInt(hex.slice(i, i + 2), 16) : 0));
  const baseRgb = channels(base);
  const lines = contentText === '' ? null : Buffer.from(contentText, 'utf8').toString('latin1').split('\n');
  const width = lines ? Math.max(35, 10 * String(lines.length).length + 5) : 35;
  let out = '';
  for (const m of text.matchAll(RECORD)) {
    const id = m[1];
    const n = m[3].startsWith('0') ? BigInt(`0o${m[3].match(/^[0-7]*/)[0] || '0'}`) : BigInt(m[3]);
    const number = (n > 18446744073709551615n ? 18446744073709551615n : n).toString();
    let color = id.slice(0, 6);
    const sum = channels(color).reduce((s, v, i) => s + Math.abs(v - baseRgb[i]), 0);
    if (sum <= 267) color = `${color.slice(0, 4)}ff`;
    let content = lines ? (n >= 1n && n <= BigInt(lines.length) ? lines[Number(n) - 1] : '') : m[18];
    if (content === '') content = '\n';
    out += `<div class='line' data-color='${color}' data-dlinenumber='${number}' data-commitid='${id}'>`
      + `<span class='line-number nohighlight' style='border-right: 1px solid #${color}; background-color: #${color}33;`
      + ` width: ${width}px;'>${number}</span><span class='line-contents'>${content}</span></div>`;
  }
  return Buffer.from(out, 'latin1').toString('utf8');
}

function elements(html) {
  return [...html.matchAll(/<div class='line' data-color='(\w*)' data-dlinenumber='(\d+)' data-commitid='(\w+)'><span[^>]*width: (\d+)px;'>\d+<\/span><span class='line-contents'>([^]*?)<\/span><\/div>/g)]
    .map((m) => ({ color: m[1], n: Number(m[2]), id: m[3], width: Number(m[4]), content: m[5] }));
}

test('real repository: lines, commits, colours and content sources', () => {
  const repo = makeRepo();
  const first = commit(repo, { 'a.txt': 'one\n\ntwo <&>\nthree\n' }, 'first');
  const second = commit(repo, { 'a.txt': 'one\n\nTWO <&>\nthree\n' }, 'second', 1600003600);
  const cwd = process.cwd();
  const view = utils.mtgch('a.txt', repo, 'ffffff', null);
  assert.strictEqual(process.cwd(), cwd);
  const lines = elements(view);
  assert.deepStrictEqual(lines.map((l) => [l.n, l.id, l.content, l.width]),
    [[1, first, '\tone', 35], [2, first, '\t', 35], [3, second, '\tTWO <&>', 35], [4, first, '\tthree', 35]]);
  assert.strictEqual(utils.mtgch('a.txt', repo, 'ffffff', ''), view);
  assert.strictEqual(utils.mtgch('a.txt', repo, 'ffffff'), utils.mtgch('a.txt', repo, 'ffffff', 'undefined'));
  assert.deepStrictEqual(elements(utils.mtgch('a.txt', repo, 'ffffff')).map((l) => l.content),
    ['undefined', '\n', '\n', '\n']);
  assert.deepStrictEqual(elements(utils.mtgch('a.txt', repo, 'ffffff', 'A\n\nC')).map((l) => l.content),
    ['A', '\n', 'C', '\n']);
  const nines = 'x\n'.repeat(999);
  assert.strictEqual(elements(utils.mtgch('a.txt', repo, 'ffffff', nines))[0].width, 45);
  assert.strictEqual(elements(utils.mtgch('a.txt', repo, 'ffffff', nines.slice(0, -1)))[0].width, 35);
  assert.strictEqual(utils.mtgch('a.txt', tempDir(), 'ffffff', null), '');
  fs.writeFileSync(path.join(repo, 'new.txt'), 'untracked\n');
  assert.strictEqual(utils.mtgch('new.txt', repo, 'ffffff', null), '');
  assert.strictEqual(process.cwd(), cwd);
});

test('stand-in git output: odd shapes match the pattern run by JavaScript', () => {
  const rec = (id, nums, author, line, nl = '\n') => `${id} ${nums}${nl}author ${author}${nl}author-mail <a@b>${nl}`
    + `author-time 1600000000${nl}author-tz +0000${nl}committer C${nl}committer-mail <c@b>${nl}`
    + `committer-time 1${nl}committer-tz +0000${nl}summary s${nl}boundary${nl}filename f${nl}${line}${nl}`;
  const outputs = [
    rec('e0e4f0aa', '1 1 3', 'A', '\tx') + rec('1a2b3c', '2 2', '', '\ty') + rec('595959', '3 3', 'B', '\t<b>'),
    rec('abc', '1 1', 'author-mail x', '\tz', '\r\n') + 'garbage\n' + rec('5a5a5a', '2 012', 'A author-mail', '\t\xe9'),
    'abc 1 1\nauthor A author-mail m\nauthor-time 1 author-tz 2\ncommitter C\ncommitter-mail m\ncommitter-time 1\n'
      + 'committer-tz 2\nsummary s\nprevious abc f\nfilename f\n\tq\n',
  ];
  let seed = 7;
  const next = () => { seed = (seed * 1103515245 + 12345) % 2147483648; return seed; };
  const pieces = ['\n', '\r\n', '', ' ', 'author-mail x ', 'abc 1 1\n', 'author-tz 1\n', '\t'];
  for (let i = 0; i < 20; i += 1) {
    const base = rec(`${(next() % 0xffffff).toString(16)}`, `${next() % 9} ${next() % 9}`, 'A', '\tl');
    const cut = next() % base.length;
    outputs.push(base.slice(0, cut) + pieces[next() % pieces.length] + base.slice(cut) + base);
  }
  for (const output of outputs) {
    const bytes = Buffer.from(output, 'latin1');
    const git = fakeGit(bytes);
    try {
      for (const content of ['', 'one\ntwo\n\nfour']) {
        for (const base of ['ffffff', '000000', '808080']) {
          assert.strictEqual(utils.mtgch('f.txt', '.', base, content), expectedView(bytes, base, content));
        }
      }
      assert.deepStrictEqual(git.calls()[0].args, ['blame', '--line-porcelain', 'HEAD', 'f.txt']);
    } finally {
      git.restore();
    }
  }
});

test('paths the shell would read reach git unchanged and run nothing', () => {
  const names = ['"; touch x; "', '$(touch x)', '`touch x`', 'back\\slash\\', 'sp ace \u00e9\u4ef6.txt', "it's"];
  const repo = makeRepo();
  const files = {};
  for (const name of names) files[name] = `${name}\n`;
  commit(repo, files, 'hostile');
  for (const name of names) {
    const lines = elements(utils.mtgch(name, repo, 'ffffff', null));
    assert.deepStrictEqual(lines.map((l) => l.content), [`\t${name}`], name);
  }
  assert.ok(!fs.existsSync(path.join(repo, 'x')) && !fs.existsSync('x'));
  const git = fakeGit('');
  try {
    for (const name of names) utils.mtgch(name, repo, 'ffffff', null);
    assert.deepStrictEqual(git.calls().map((c) => c.args[3]), names);
  } finally {
    git.restore();
  }
});

test('a line of a megabyte', () => {
  const repo = makeRepo();
  const long = 'y'.repeat(1 << 20);
  commit(repo, { 'long.txt': `short\n${long}\nend\n` }, 'long');
  const lines = elements(utils.mtgch('long.txt', repo, '000000', null));
  assert.deepStrictEqual(lines.map((l) => l.content.length), [6, (1 << 20) + 1, 4]);
});
