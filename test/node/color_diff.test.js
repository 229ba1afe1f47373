'use strict';
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const utils = require('../..');
const { makeRepo, commit, git } = require('./support/repo');
const js = require('./support/color_diff_js');

const ADDED = "<div class='diff-added'><span class='diff-action'>+</span>";

test('cd with fewer than three arguments returns undefined', () => {
  assert.strictEqual(utils.cd(), undefined);
  assert.strictEqual(utils.cd('+a', true), undefined);
  assert.strictEqual(utils.cd({ toString() { throw new Error('read'); } }, true), undefined);
});

test('cd reads its flags by truthiness and its text by string conversion', () => {
  const text = '+a #aabbcc';
  const marked = `${ADDED}a <span class='color-preview' style='background-color: #aabbcc'></span>#aabbcc</div>`;
  for (const truthy of [true, 1, 'x', {}, [], -1]) assert.strictEqual(utils.cd(text, truthy, truthy), marked);
  for (const falsy of [false, 0, '', null, undefined, NaN]) assert.strictEqual(utils.cd(text, falsy, falsy), text);
  assert.strictEqual(utils.cd(12, false, false), '12');
  assert.strictEqual(utils.cd(undefined, false, false), 'undefined');
  assert.strictEqual(utils.cd('', true, true), '');
  assert.strictEqual(utils.cd('+a\0b', false, true), `${ADDED}a`);
});

test('cd returns non-ASCII text as it came', () => {
  const text = 'caf\u00e9 \u20ac \u{1f600} \u00ff\u0100 \u4ef6\n\u2028 \u0080\u07ff\u0800\uffff x';
  assert.strictEqual(utils.cd(text, true, true), text);
  assert.strictEqual(utils.cd(`+${text}`, false, true), `${ADDED}${text.replace('\n', '\n')}`.replace('\n', '</div>\n'));
  assert.strictEqual(utils.cd('\u00e9'.repeat(20000), false, false), '\u00e9'.repeat(20000));
  // A lone surrogate travels as its three UTF-8-style bytes, which come back as three U+FFFD.
  assert.strictEqual(utils.cd('a\ud800b\udfff', false, false), 'a\ufffd\ufffd\ufffdb\ufffd\ufffd\ufffd');
});

test('cd equals the JavaScript passes on real diffs', () => {
  const repo = makeRepo();
  const lines = (seed) => Array.from({ length: 3000 }, (_, i) => {
    const k = (i * 7919 + seed * (i % 5 === 0 ? 31 : 0)) % 997;
    return [`  color: #${(k * 4099).toString(16).padStart(6, '0')};`, `const grö\u00dfe${k} = ${k}; // \u20ac`,
      `  background: rgba(${k % 256}, 2, 3, 0.${k % 10});`, `@@ not a header ${k}`][i % 4];
  }).join('\n');
  commit(repo, { 'a.css': lines(0), 'b.txt': 'x\r\ny' }, 'one');
  commit(repo, { 'a.css': lines(1), 'b.txt': 'x\r\nz\r\n' }, 'two');
  const diff = git(repo, ['log', '-p', '--no-color']);
  const history = git(path.join(__dirname, '..', '..'), ['log', '-p', '-n', '20', '--no-color']);
  // As two-byte, Latin-1 and ASCII strings, each with a result the add-on hands over in place.
  for (const text of [diff, diff.replace(/[^\0-\xff]/g, '?'), diff.replace(/[^\0-\x7f]/g, '?'), diff.slice(0, 140000), diff.slice(0, 9000), history]) {
    for (const [show, mark] of [[false, false], [true, false], [false, true], [true, true]]) {
      assert.strictEqual(utils.cd(text, show, mark), js.colorDiff(text, show, mark));
    }
  }
});

test('cd equals the JavaScript passes on generated text', () => {
  const pieces = ['+', '-', '@@', '\n', '\r\n', '#abcdef', 'rgb(1, 2, 3)', 'rgba\n(1,2,3,.5)', '\\ No newline at end of file',
    '\u00e9', '\u{1f600}', '\u2028', 'x', ' '];
  let seed = 5;
  const next = () => { seed = (seed * 1103515245 + 12345) % 2147483648; return seed; };
  for (let round = 0; round < 300; round += 1) {
    let text = '';
    const target = next() % 3 === 0 ? 10000 + (next() % 12000) : next() % 400;
    while (text.length < target) text += next() % 40 === 0 ? 'w'.repeat(next() % 11000) : pieces[next() % pieces.length];
    assert.strictEqual(utils.cd(text, true, true), js.colorDiff(text, true, true), `round ${round}`);
  }
  assert.ok(fs.existsSync(__filename));
});
