'use strict';
// The merge tool's commit list ("mtgcld"): real repositories, stand-in git output of every shape,
// values read back by an HTML parser, and paths that the shell must not interpret. Runs with TZ=UTC.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const parse5 = require('parse5');

const utils = require('../..');
const { makeRepo, commit, git, fakeGit } = require('./support/repo');

const FULL = '3f9c2e1d8a4b7c6e5f0a1b2c3d4e5f6a7b8c9d0e';
const ARGS = ['log', '--follow', '--pretty=%h %H %at %s', '--name-status'];

// Returns the options of `html` as { dfp, dlcid, value, selected, label }, as a browser reads them.
function readOptions(html) {
  const options = [];
  const walk = (node) => {
    if (node.nodeName === 'option') {
      const attrs = Object.fromEntries(node.attrs.map((a) => [a.name, a.value]));
      options.push({
        dfp: attrs['data-dfp'],
        dlcid: attrs['data-dlcid'],
        value: attrs.value,
        selected: 'selected' in attrs,
        label: node.childNodes.map((c) => c.value).join(''),
      });
    }
    for (const child of node.childNodes || []) walk(child);
  };
  walk(parse5.parse(`<select>${html}</select>`));
  return options;
}

// Returns the records of `log` by the same pattern in the script's own engine, as git's values.
function recordsOf(log) {
  const pattern = /([^\s]+)\s([^\s]+)\s([^\s]+)\s([^\n]+)\r?\n\r?\n([^\s]+)\s+([^\s]+)([^\n]+)?\n/g;
  return [...log.matchAll(pattern)].map((m) => ({ hash: m[1], full: m[2], time: m[3], subject: m[4], path: m[6] }));
}

function utcDate(seconds) {
  const d = new Date(seconds * 1000);
  const month = d.toLocaleString('en-US', { month: 'short', timeZone: 'UTC' });
  return `${String(d.getUTCDate()).padStart(2, '0')} ${month} ${d.getUTCFullYear()}`;
}

test('a real repository lists its commits newest first, across a rename', () => {
  const repo = makeRepo();
  const first = commit(repo, { 'old.txt': 'one\n' }, 'Add the file', 1600000000);
  git(repo, ['mv', 'old.txt', 'new.txt']);
  const moved = commit(repo, {}, 'Rename it', 1600086400);
  const last = commit(repo, { 'new.txt': 'two\n' }, 'Change it', 1600172800);
  const html = utils.mtgcld('new.txt', repo, last.slice(0, 7));
  const short = (hash) => git(repo, ['rev-parse', '--short', hash]).trim();
  assert.strictEqual(html,
    `<option data-dfp='new.txt' data-dlcid='${last}' value='${short(last)}'  selected >${short(last)} 15 Sep 2020 Change it</option>` +
    `<option data-dfp='new.txt' data-dlcid='${moved}' value='${short(moved)}' >${short(moved)} 14 Sep 2020 Rename it</option>` +
    `<option data-dfp='old.txt' data-dlcid='${first}' value='${short(first)}' >${short(first)} 13 Sep 2020 Add the file</option>`);
  assert.strictEqual(utils.mtgcld('missing.txt', repo, ''), '');
  assert.strictEqual(utils.mtgcld('new.txt', path.join(repo, 'no such folder'), ''), '');
});

test('every shape of log output gives its exact options', (t) => {
  const header = `3f9c2e1 ${FULL} 1600000000`;
  const option = (dfp, label, dlcid = FULL, value = '3f9c2e1') =>
    `<option data-dfp='${dfp}' data-dlcid='${dlcid}' value='${value}' >${label}</option>`;
  const table = [
    ['nothing', '', ''],
    ['one commit', `${header} Update readme\n\nM\tsrc/a.txt\n`, option('src/a.txt', '3f9c2e1 13 Sep 2020 Update readme')],
    ['rename', `${header} mv\n\nR100\told\tnew\n`, option('the file.txt', '3f9c2e1 13 Sep 2020 mv')],
    ['path with a space', `${header} s\n\nM\tmy file.txt\n`, option('my', '3f9c2e1 13 Sep 2020 s')],
    ['merge without a name-status line', `m ${FULL} 17 Merge x\n${header} fix\n\nM\tf\n`,
      option('f', `17 01 Jan 1970 ${header} fix`, 'Merge', '17')],
    ['empty subject', `${header} \n\nM\tf\n${header} next\n\nA\tg\n`,
      option('g', `M 01 Jan 1970 ${FULL} 1600000000 next`, 'f', 'M')],
    ['carriage returns everywhere', `${header} s\r\n\r\nM\tf\r\n${header} t\r\n\r\nR100\ta\tb\r\n`,
      option('f', '3f9c2e1 13 Sep 2020 s\r') + option('the file.txt', '3f9c2e1 13 Sep 2020 t\r')],
    ['no final line feed', `${header} s\n\nM\tf\n${header} t\n\nM\tf`, option('f', '3f9c2e1 13 Sep 2020 s')],
    ['garbage between records', `warning: junk\n\n${header} s\n\nM\tf\n--\n\n${header} t\n\nD\tg\n`,
      option('f', '3f9c2e1 13 Sep 2020 s') + option('g', '3f9c2e1 13 Sep 2020 t')],
    ['long subject', `${header} ${'x'.repeat(101)}\n\nM\tf\n`, option('f', `3f9c2e1 13 Sep 2020 ${'x'.repeat(100)}...`)],
  ];
  const repo = makeRepo();
  for (const [name, output, expected] of table) {
    const fake = fakeGit(output);
    try {
      assert.strictEqual(utils.mtgcld('the file.txt', repo, ''), expected, name);
      assert.deepStrictEqual(fake.calls(), [{ cwd: repo, args: [...ARGS, 'the file.txt'] }], name);
    } finally {
      fake.restore();
    }
  }
  t.diagnostic(`${table.length} shapes`);
});

test('paths and subjects with HTML characters read back as git printed them', () => {
  const repo = makeRepo();
  const names = ["it's&<b>.txt", 'q"x.txt', 'plain.txt'];
  const subjects = ['say "hi" & <b>bye</b>', "it's", `${'<'.repeat(99)}&tail`];
  const log = [];
  for (const name of names) {
    for (const [i, subject] of subjects.entries()) commit(repo, { [name]: `${i}\n` }, subject, 1600000000 + i * 86400);
    const selected = git(repo, ['log', '-1', '--format=%h']).trim();
    const html = utils.mtgcld(name, repo, selected);
    const printed = git(repo, [...ARGS, name]);
    const records = recordsOf(printed);
    assert.strictEqual(records.length, subjects.length);
    const options = readOptions(html);
    assert.deepStrictEqual(options, records.map((r) => ({
      dfp: r.path,
      dlcid: r.full,
      value: r.hash,
      selected: r.hash === selected,
      label: `${r.hash} ${utcDate(Number(r.time))} ${Buffer.from(r.subject).length > 100
        ? `${Buffer.from(r.subject).subarray(0, 100).toString()}...` : r.subject}`,
    })), name);
    log.push(printed);
  }
  assert.match(log.join(''), /"q\\"x.txt"/, 'git quotes a path holding a double quote');
});

test('hostile paths reach git unchanged and nothing runs in the shell', () => {
  const repo = makeRepo();
  const names = ['"; touch x; "', '$(touch x)', '`touch x`', 'a\\b', "'; touch x; '", 'new\nline'];
  for (const [i, name] of names.entries()) commit(repo, { [name]: `content ${i}\n` }, `add ${name}`);
  for (const name of names) {
    // One option: git found the file, so it received the path as it stands.
    const options = readOptions(utils.mtgcld(name, repo, ''));
    assert.strictEqual(options.length, 1, name);
    assert.strictEqual(options[0].dfp, recordsOf(git(repo, [...ARGS, name]))[0].path, name);
  }
  assert.ok(!fs.existsSync(path.join(repo, 'x')), 'the shell ran a command in the repository');
  assert.ok(!fs.existsSync('x'), 'the shell ran a command in the current folder');

  const fake = fakeGit('');
  try {
    for (const name of names.slice(0, 5)) utils.mtgcld(name, repo, '');
    assert.deepStrictEqual(fake.calls().map((c) => c.args), names.slice(0, 5).map((name) => [...ARGS, name]));
  } finally {
    fake.restore();
  }
  assert.ok(!fs.existsSync(path.join(repo, 'x')));
});

test('the working folder comes back after the call', () => {
  const repo = makeRepo();
  commit(repo, { 'a.txt': 'a\n' }, 'a');
  const before = process.cwd();
  utils.mtgcld('a.txt', repo, '');
  assert.strictEqual(process.cwd(), before);
});
