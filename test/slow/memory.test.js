'use strict';
// Memory follows the view: a repository of a few KB whose blame or log output is 1 GB gives its
// view in a child whose peak memory stays under 300 MB, on both faces. Slow: CI runs it
// (npm run test:slow), npm test does not.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const crypto = require('crypto');
const { execFileSync } = require('child_process');
const { makeRepo, git, inChildren } = require('../node/support/repo');

const digest = (text) => [crypto.createHash('sha256').update(text).digest('hex'), text.length];

// Imports `commits` ({ message, files: { name: text } }, one second apart) with git fast-import.
function importHistory(repo, commits) {
  const stream = path.join(repo, '..', 'import');
  const fd = fs.openSync(stream, 'w');
  commits.forEach(({ message, files }, i) => {
    fs.writeSync(fd, `commit refs/heads/main\ncommitter C <c@example.com> ${1600000000 + i} +0000\ndata ${Buffer.byteLength(message)}\n`);
    fs.writeSync(fd, message);
    for (const [name, text] of Object.entries(files)) fs.writeSync(fd, `M 100644 inline ${name}\ndata ${Buffer.byteLength(text)}\n${text}\n`);
  });
  fs.closeSync(fd);
  execFileSync('sh', ['-c', `git fast-import --quiet < '${stream}' && git reset -q --hard main`], { cwd: repo });
}

test('a 1 GB blame (one 100 KB subject over 10,000 lines) gives its view under 300 MB', () => {
  const repo = makeRepo();
  const lines = Array.from({ length: 10000 }, (_, i) => `line ${i}`);
  importHistory(repo, [{ message: `${'S'.repeat(100000)}\n`, files: { 'f.txt': `${lines.join('\n')}\n`, 'one.txt': 'only\n' } }]);
  // Every line is the same commit's: the element of one.txt's only line, renumbered.
  const element = require('../..').mtgch('one.txt', repo, 'ffffff', null);
  const expected = lines.map((line, i) => element.replace(/'1'|>1</g, (m) => m.replace('1', i + 1)).replace('\tonly', `\t${line}`)).join('');
  for (const { answer, peak } of inChildren((face, dir) => face.mtgch('f.txt', dir, 'ffffff', null), repo)) {
    assert.deepStrictEqual(answer, digest(expected));
    assert.ok(peak < 300, `peak ${peak} MB`);
  }
});

test('a 1 GB log (200 commits with 5 MB subjects) gives its list under 300 MB', () => {
  const repo = makeRepo();
  importHistory(repo, Array.from({ length: 200 }, (_, i) => ({ message: `${'L'.repeat(5e6)}${i}\n`, files: { 'f.txt': `${i}\n` } })));
  const expected = git(repo, ['log', '--format=%h %H']).trim().split('\n').map((line) => line.split(' '))
    .map(([short, full]) => `<option data-dfp='f.txt' data-dlcid='${full}' value='${short}' >${short} 13 Sep 2020 ${'L'.repeat(100)}...</option>`)
    .join('');
  for (const { answer, peak } of inChildren((face, dir) => face.mtgcld('f.txt', dir, ''), repo)) {
    assert.deepStrictEqual(answer, digest(expected));
    assert.ok(peak < 300, `peak ${peak} MB`);
  }
});

