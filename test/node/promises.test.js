'use strict';
// The promise face beside its synchronous twin: wherever the twin returns a view or true, the
// promise fulfils with the identical string or true (real repositories, text of every kind of
// character, odd arguments); it loads in the main thread and two workers at once with the same
// results; and both entries load by require and import. The Electron build settings reach node-gyp.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const { inspect } = require('util');
const { Worker } = require('worker_threads');
const { spawnSync } = require('child_process');
const sync = require('../..');
const promises = require('../../promises');
const { makeRepo, commit, git, tempDir } = require('./support/repo');

const root = path.join(__dirname, '..', '..');

const METHODS = require('../../lib/methods').map((method) => method.name);
// Values that each method reads by the script's string conversion, as the twin does.
const ODD = [undefined, null, 0, -0, 12.5, 10n, true, [1, '<'], { toString() { return 'a.txt'; } },
  { toString() { throw new Error('no'); } }, Symbol('s'), '', 'zo\u00eb \u{1f600}', 'a\ud800b', 'x\0y'];

// Asserts that the promise fulfils as the twin returns; where the twin gives "" (no view) the
// promise may instead reject, with a code.
async function assertTwin(name, args) {
  const expected = sync[name](...args);
  const label = `${name} ${inspect(args, { maxStringLength: 40 })}`;
  if (expected === '') {
    await promises[name](...args).then((got) => assert.strictEqual(got, '', label), (error) => assert.ok(error.code, label));
  } else {
    assert.strictEqual(await promises[name](...args), expected, label);
  }
}

test('mtgch and mtgcld match the twin on a real repository with a rename, whatever the arguments', async () => {
  const repo = makeRepo('odd \'"$`\\ folder');
  commit(repo, { 'a.txt': 'one\n\ntwo <&>\r\nthree #ff0000\n', 'b.txt': 'b\n' }, 'first <&> \'"', 1500000000);
  git(repo, ['mv', 'a.txt', 'moved \u00e9.txt']);
  commit(repo, {}, 'renamed');
  commit(repo, { 'moved \u00e9.txt': 'one\nTWO\n\nthree\n', '-dash.txt': 'x\n' }, `second ${'long '.repeat(30)}`);
  const head = git(repo, ['rev-parse', '--short', 'HEAD']).trim();
  const calls = [];
  for (const file of ['moved \u00e9.txt', 'b.txt', '-dash.txt', 'a.txt', 'none.txt']) {
    for (const content of [null, '', 'x\ny\n', '\u00e9\ud800\n'.repeat(1200)]) calls.push(['mtgch', [file, repo, 'ffffff', content]]);
    calls.push(['mtgch', [file, repo, '000000']], ['mtgcld', [file, repo, head]], ['mtgcld', [file, repo, '']]);
  }
  for (const odd of ODD) {
    calls.push(['mtgch', ['b.txt', repo, odd, odd]], ['mtgch', [odd, repo, 'fff', null]], ['mtgch', ['b.txt', odd]]);
    calls.push(['mtgcld', ['b.txt', repo, odd]], ['mtgcld', [odd, repo, odd]]);
  }
  calls.push(['mtgch', []], ['mtgcld', []], ['mtgch', ['b.txt', repo]], ['mtgch', ['b.txt', path.join(repo, 'missing'), '']]);
  for (const [name, args] of calls) await assertTwin(name, args);
});

test('cd, smc and gafh match the twin on text of every kind of character, short and past the in-place size', async () => {
  const pieces = ['+', '-', '@@ -1,2 +1,3 @@', '\n', '\r\n', '#abcdef', 'rgb(1, 2, 3)', '\\ No newline at end of file',
    '<<<<<<< HEAD', '=======', '>>>>>>> b', '<', '&', '\u00e9', '\u{1f600}', '\ud800', '\0', 'x', ' '];
  const big = pieces.filter((piece) => piece !== '\0').join('\n').repeat(3000);
  const texts = [...pieces, pieces.join(''), big, `+${'w'.repeat(12000)}\n-${'\u00ff'.repeat(300000)}`];
  for (const text of [...texts, ...ODD]) {
    await assertTwin('smc', [text]);
    for (const flags of [[true, true], [false, true], [1, 0], [{}, null]]) await assertTwin('cd', [text, ...flags]);
  }
  for (const args of [[], ['+a'], ['+a', true], ['+a', true, undefined]]) {
    assert.strictEqual(await promises.cd(...args), sync.cd(...args));
  }
  // { escapeHtml: true } gives what the text escaped first gives, this repository's history among
  // the texts; anything else as the fourth argument changes nothing.
  const escape = (text) => text.replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;');
  for (const text of [...texts, git(root, ['log', '-p', '-40', '--no-color'])]) {
    for (const flags of [[true, true], [false, false]]) {
      const expected = sync.cd(escape(text), ...flags);
      for (const face of [sync, promises]) assert.strictEqual(await face.cd(text, ...flags, { escapeHtml: 1 }), expected);
    }
    for (const other of [{ escapeHtml: false }, 'escapeHtml', null]) assert.strictEqual(await promises.cd(text, 1, 1, other), sync.cd(text, 1, 1));
  }
  assert.strictEqual(await promises.gafh(1, null), sync.gafh());
});

// Changed words: without their spans the view is the plain one, and in every change block the
// removed side's unmarked text equals the added side's.
test('cd marks changed words on both faces so that the rest of a block is what both sides share', async () => {
  const marked = /<span class='diff-changed'>((?:<span class='color-preview'[^>]*><\/span>|[^<])*)<\/span>/g;
  const lines = ['-const a = compute(1); // #aabbcc', '+const a = compute(2); // #aabbcc', '-\u00e9t\u00e9 <b>', '+\u00e9t\u00e9 <i>'];
  const generated = Array.from({ length: 400 }, (_, i) => `@@ -${i} +${i} @@\n ctx\n${lines[i % 4]}\n${lines[(i + 1) % 4]}\n`).join('');
  // A block: rows next to each other (a note's wrapper aside); a removed one after an added one starts the next.
  const row = /(?:\n?<div class='diff-break'>)?<div class='diff-(removed|added)'><span class='diff-action'>.<\/span>(.*?)<\/div>(?:<\/div>\n)?\n?/g;
  for (const text of [generated, git(root, ['log', '-p', '-60', '--no-color'])]) {
    for (const face of [sync, promises]) {
      const html = await face.cd(text, true, true, { escapeHtml: true, words: true });
      assert.strictEqual(html.replace(marked, '$1'), sync.cd(text, true, true, { escapeHtml: true }));
      const blocks = [];
      for (const { 0: whole, 1: side, 2: content, index } of html.matchAll(row)) {
        let block = blocks[blocks.length - 1];
        if (!block || block.end !== index || (side === 'removed' && block.added)) blocks.push(block = {});
        block[side] = (block[side] || '') + content.replace(marked, '').replace(/<span class='color-preview'[^>]*><\/span>/g, '');
        Object.assign(block, { end: index + whole.length, marked: block.marked || content.includes("<span class='diff-changed'>") });
      }
      for (const block of blocks.filter((b) => b.marked)) assert.strictEqual(block.removed, block.added);
      assert.ok(blocks.some((b) => b.marked));
    }
  }
});

test('a hunk staged, unstaged and discarded through either face leaves the same repository', async () => {
  const twins = [makeRepo(), makeRepo()];
  const states = [];
  for (const [face, repo] of [[sync, twins[0]], [promises, twins[1]]]) {
    commit(repo, { 'f.txt': 'one\ntwo\nthree\n' }, 'first');
    commit(repo, { 'f.txt': 'one\n2 \u00e9\nthree\nfour\n' }, 'second');
    require('fs').writeFileSync(path.join(repo, 'f.txt'), 'one\n2 \u00e9\nthree\n4\n');
    const patch = git(repo, ['diff']);
    const answers = [];
    for (const name of ['grsh', 'gruh', 'grsh', 'grdh']) answers.push(await face[name](patch, repo));
    states.push({ answers, index: git(repo, ['diff', '--cached']), tree: git(repo, ['diff']) });
  }
  assert.deepStrictEqual(states[1], states[0]);
});

// Runs every method of the promise face once and resolves to the results, in the thread it runs in.
async function results({ root: packageRoot, repo }) {
  const promises = require(require('path').join(packageRoot, 'promises.js'));
  const diff = `@@ -1 +1 @@\n-a #123456\n+b \u00e9 rgb(1, 2, 3)\n${'+x\n'.repeat(5000)}`;
  return Promise.all([
    promises.cd(diff, true, true), promises.smc('<<<<<<< a\n<&>\n'), promises.gafh(),
    promises.mtgcld('a.txt', repo, ''), promises.mtgch('a.txt', repo, 'ffffff', null),
    promises.mtgch('a.txt', repo, '000000', 'x\n'), promises.grsh('not a patch', repo).catch((error) => error.code),
  ]);
}

test('main thread and two workers at once give identical results', async () => {
  const repo = makeRepo();
  commit(repo, { 'a.txt': 'one\ntwo <&>\n' }, 'first');
  commit(repo, { 'a.txt': 'one\n2\nthree\n' }, 'second');
  const data = { root, repo };
  const inWorker = () => new Promise((resolve, reject) => {
    const worker = new Worker(`const { parentPort, workerData } = require('worker_threads');
      (${results})(workerData).then((value) => parentPort.postMessage(value));`, { eval: true, workerData: data });
    worker.once('message', resolve);
    worker.once('error', reject);
  });
  const [main, first, second] = await Promise.all([results(data), inWorker(), inWorker()]);
  assert.deepStrictEqual(first, main);
  assert.deepStrictEqual(second, main);
  assert.strictEqual(main[4], sync.mtgch('a.txt', repo, 'ffffff', null));
  assert.strictEqual(main[6], 'GIT_FAILED');
});

test('both entries load by require and by import, with the eight methods in order and as named exports', async () => {
  for (const [name, file] of [['tarnwick-native-utils', 'index.js'], ['tarnwick-native-utils/promises', 'promises.js']]) {
    const required = require(name);
    assert.strictEqual(required, require(path.join(root, file)), name);
    assert.deepStrictEqual(Object.keys(required).concat(Object.values(required).map((method) => method.name)), METHODS.concat(METHODS));
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
