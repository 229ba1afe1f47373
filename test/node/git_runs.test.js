'use strict';
// The git-running methods end to end, through the add-on and real git: each method's arguments
// reach git, git's answer comes back as the view or the boolean, and git's failures as the empty
// answer; one suite over both faces. What the views hold for every shape of git output is the C++
// suite's to show. TZ=UTC.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const promises = require('../../promises');
const { makeRepo, commit, git, tempDir } = require('./support/repo');
const { eachFace } = require('./support/faces');

// Returns the hunks of a one-file diff, each with the file header (less its blob names) in front.
function hunkPatches(diff) {
  const [header, ...hunks] = diff.replace(/^index .*\n/m, '').split(/^(?=@@)/m);
  return hunks.map((hunk) => header + hunk);
}

eachFace('grsh, gruh and grdh stage, unstage and discard one hunk of several, and git refusing one answers false', async (face) => {
  const lines = (edit) => Array.from({ length: 40 }, (_, i) => `${edit[i] ?? `line ${i} caf\u00e9`}\r\n`).join('');
  const repo = makeRepo();
  commit(repo, { 'f.txt': lines({}) }, 'base');
  fs.writeFileSync(path.join(repo, 'f.txt'), `${lines({ 2: 'first', 20: 'second', 37: 'third' })}no final line feed`);
  const patches = hunkPatches(git(repo, ['diff']));
  assert.strictEqual(patches.length, 3);
  assert.deepStrictEqual([await face.gruh(patches[1], repo), await face.grsh('no patch at all\n', repo)], [false, false]);
  assert.strictEqual(await face.grsh(patches[1], repo), true);
  assert.strictEqual(await face.grsh(patches[1], repo), false, 'staging it twice');
  assert.deepStrictEqual([hunkPatches(git(repo, ['diff', '--cached'])), hunkPatches(git(repo, ['diff'])).length], [[patches[1]], 2]);
  assert.strictEqual(await face.gruh(patches[1], repo), true);
  assert.strictEqual(git(repo, ['diff', '--cached']), '');
  assert.strictEqual(await face.grdh(patches[1], repo), true);
  assert.strictEqual(await face.grdh(patches[1], repo), false, 'discarding a stale hunk');
  assert.strictEqual(fs.readFileSync(path.join(repo, 'f.txt'), 'utf8'),
    `${lines({ 2: 'first', 37: 'third' })}no final line feed`);
});

// The index or work tree receives exactly the hunk's lines whatever whitespace rules are in force,
// and a line of the hunk that reads like git's error does not make it fail.
eachFace('hunks move exactly their lines under every whitespace rule and round-trip', async (face) => {
  const cases = [ // .gitattributes, the file in HEAD, the file changed
    ['', 'a\nb\n', 'a\nb   \n'],
    ['* whitespace=tab-in-indent\n', 'all:\n\techo a\n', 'all:\n\techo a\n\techo b\n'],
    ['* whitespace=indent-with-non-tab\n', 'x\n', 'x\n        y\n'],
    ['', 'a\n', 'a\nerror: b\n'],
  ];
  for (const [attributes, head, changed] of cases) {
    const repo = makeRepo();
    commit(repo, { '.gitattributes': attributes, f: head }, 'first');
    fs.writeFileSync(path.join(repo, 'f'), changed);
    const patch = git(repo, ['diff']);
    const steps = [await face.grsh(patch, repo), git(repo, ['show', ':f']), await face.gruh(patch, repo),
      git(repo, ['diff', '--cached']), await face.grdh(patch, repo), fs.readFileSync(path.join(repo, 'f'), 'utf8')];
    assert.deepStrictEqual(steps, [true, changed, true, '', true, head], JSON.stringify(changed));
  }
});

// Twenty calls at once on one repository with a large index run one after another (git apply
// holds the index lock while it writes the index), and one signal they share adds no listener per call.
test('twenty hunks of one repository staged at once all apply, through one signal and no warning', async () => {
  const repo = makeRepo();
  const blob = git(repo, ['hash-object', '-w', '--stdin'], { input: 'x\n' }).trim();
  git(repo, ['update-index', '--index-info'], { input: Array.from({ length: 50000 }, (_, i) => `100644 ${blob}\tmany/${i}\n`).join('') });
  const lines = (edit) => Array.from({ length: 200 }, (_, i) => `${i % 10 === 5 && edit ? 'changed' : 'line'} ${i}\n`).join('');
  commit(repo, { 'f.txt': lines(false) }, 'base');
  fs.writeFileSync(path.join(repo, 'f.txt'), lines(true));
  const patches = hunkPatches(git(repo, ['diff', '--', 'f.txt']));
  const warnings = [];
  process.on('warning', (warning) => warnings.push(warning.name));
  const { signal } = new AbortController();
  const answers = await Promise.all(patches.map((patch) => promises.grsh(patch, repo, { signal })));
  await new Promise((resolve) => setImmediate(resolve));
  assert.deepStrictEqual([patches.length, answers.every(Boolean), warnings], [20, true, []]);
  assert.strictEqual(git(repo, ['diff', '--', 'f.txt']), '');
});

// One history for the list's markup and for bytes git prints that are not UTF-8 (a Latin-1 name
// and subject, cut and stray sequences, a surrogate), which reach the script as Buffer#toString
// gives them.
eachFace('mtgcld lists a real file\'s commits newest first, across a rename; bytes that are not UTF-8 as the host decodes them', async (face) => {
  const repo = makeRepo();
  const first = commit(repo, { 'old.txt': 'one\n' }, 'Add the file', 1600000000);
  git(repo, ['mv', 'old.txt', 'new.txt']);
  const moved = commit(repo, {}, 'Rename <it> & "go"', 1600086400);
  const last = commit(repo, { 'new.txt': 'two\n' }, 'Change it', 1600172800);
  const short = (hash) => git(repo, ['rev-parse', '--short', hash]).trim();
  assert.strictEqual(await face.mtgcld('new.txt', repo, short(last)),
    `<option data-dfp='new.txt' data-dlcid='${last}' value='${short(last)}'  selected >${short(last)} 15 Sep 2020 Change it</option>`
    + `<option data-dfp='new.txt' data-dlcid='${moved}' value='${short(moved)}' >${short(moved)} 14 Sep 2020 Rename &lt;it&gt; &amp; &quot;go&quot;</option>`
    + `<option data-dfp='old.txt' data-dlcid='${first}' value='${short(first)}' >${short(first)} 13 Sep 2020 Add the file</option>`);
  assert.strictEqual(await face.mtgcld('missing.txt', repo, ''), '');

  const bad = Buffer.from('caf\xe9 \xe2\x82A\xff\xc3(\xf0\x9f\x98 \xed\xa0\x80', 'latin1');
  const decoded = (...pieces) => Buffer.concat(pieces.map((p) => Buffer.from(p))).toString();
  const name = Buffer.from('caf\xe9.txt', 'latin1');
  const text = Buffer.concat([bad, Buffer.from('\nplain\n')]);
  git(repo, ['fast-import', '--quiet'], { input: Buffer.concat([Buffer.from('commit refs/heads/main\n'
    + `committer C <c@example.com> 1600259200 +0000\ndata ${bad.length + 8}\nSubject `), bad, Buffer.from(`\nfrom ${last}\nM 100644 inline `),
  name, Buffer.from(`\ndata 4\none\nM 100644 inline text.txt\ndata ${text.length}\n`), text,
  // The file name cannot be written in a script string: the file is followed from a later name.
  Buffer.from('\ncommit refs/heads/main\ncommitter C <c@example.com> 1600345600 +0000\ndata 6\nRename\nR '), name,
  Buffer.from(' renamed.txt\n\n')]) });
  const [badShort, badFull] = git(repo, ['log', '-1', '--pretty=%h %H', 'HEAD~1']).trim().split(' ');
  assert.ok((await face.mtgcld('renamed.txt', repo, badShort)).endsWith(decoded(`<option data-dfp='`, name,
    `' data-dlcid='${badFull}' value='${badShort}'  selected >${badShort} 16 Sep 2020 Subject `, bad, '</option>')));
  assert.ok((await face.mtgch('text.txt', repo, 'ffffff', null)).includes(decoded("<span class='line-contents'>\t", bad, '</span></div>')));
});

// Each file by its own name: gone from the work tree, named like a tag, not ASCII (git prints it
// unquoted whatever the user's core.quotePath), or like a pattern or a pathspec's magic.
eachFace('mtgcld lists a deleted file, a file named like a tag, caf\u00e9.txt and a[1].txt by their own names', async (face) => {
  const repo = makeRepo();
  git(repo, ['config', 'core.quotePath', 'true']);
  const names = ['gone.txt', 'v1', 'caf\u00e9.txt', 'a1.txt', 'a[1].txt', ':(top)a1.txt'];
  const ids = names.map((name) => commit(repo, { [name]: `${name}\n` }, `Add ${name}`));
  git(repo, ['tag', 'v1']);
  fs.unlinkSync(path.join(repo, 'gone.txt'));
  for (const [i, name] of names.entries()) {
    const short = ids[i].slice(0, 7);
    assert.strictEqual(await face.mtgcld(name, repo, ''),
      `<option data-dfp='${name}' data-dlcid='${ids[i]}' value='${short}' >${short} 13 Sep 2020 Add ${name}</option>`);
  }
});

eachFace('mtgch shows a real file as in HEAD, with git\'s lines or the caller\'s', async (face) => {
  const repo = makeRepo();
  const first = commit(repo, { 'a.txt': 'one\n\ntwo <&>\n' }, 'first');
  const second = commit(repo, { 'a.txt': 'one\n\nTWO <&> <img src=x onerror=alert(1)>\n' }, 'second', 1600003600);
  fs.writeFileSync(path.join(repo, 'a.txt'), 'changed in the work tree\n');
  const view = async (content) => [...(await face.mtgch('a.txt', repo, 'ffffff', content))
    .matchAll(/data-dlinenumber='(\d+)' data-commitid='(\w+)'>.*?width: (\d+)px;'>\d+<\/span><span class='line-contents'>(.*?)<\/span>/gs)]
    .map((m) => [Number(m[1]), m[2], Number(m[3]), m[4]]);
  // git's lines are the repository's text, shown as text; the caller's are its own markup.
  assert.deepStrictEqual(await view(null), [[1, first, 35, '\tone'], [2, first, 35, '\t'],
    [3, second, 35, '\tTWO &lt;&amp;&gt; &lt;img src=x onerror=alert(1)&gt;']]);
  assert.deepStrictEqual(await view(''), await view(null));
  assert.deepStrictEqual((await view('A\n\n<b>C</b> &amp;')).map((line) => line[3]), ['A', '\n', '<b>C</b> &amp;']);
  // Arguments are converted like any string: an omitted fourth reads as "undefined".
  assert.deepStrictEqual(await face.mtgch('a.txt', repo, 'ffffff'), await face.mtgch('a.txt', repo, 'ffffff', 'undefined'));
  assert.deepStrictEqual(await face.mtgch({ toString: () => 'a.txt' }, [repo], 'ffffff', null), await face.mtgch('a.txt', repo, 'ffffff', null));
  assert.deepStrictEqual([await face.mtgch(), await face.mtgcld()], ['', '']);
  assert.strictEqual(await face.mtgch('untracked.txt', repo, 'ffffff', null), '');
  assert.strictEqual(await face.mtgch('a.txt', tempDir(), 'ffffff', null), '');
  // A control character is text; the view ends at a zero byte, as every result does.
  assert.match(await face.mtgch('a.txt', repo, 'ffffff', 'X\x01Y\0Z'), /<span class='line-contents'>X\x01Y$/);
});

// A clone made with --reference whose source has moved: git warns with an error line about the
// alternate object store, and applies the hunk; the answer says so.
eachFace('a hunk git applied answers true whatever git warns of about the repository', async (face) => {
  const [source, clone] = [makeRepo('source'), path.join(tempDir(), 'clone')];
  commit(source, { 'f.txt': 'one\ntwo\n' }, 'first');
  git(source, ['clone', '-q', '--reference', source, source, clone]);
  fs.renameSync(source, path.join(path.dirname(source), 'moved'));
  fs.writeFileSync(path.join(clone, 'f.txt'), 'one\n2\n');
  const patch = git(clone, ['diff']);
  assert.strictEqual(await face.grsh(patch, clone), true);
  assert.strictEqual(git(clone, ['diff', '--cached', '--name-only']), 'f.txt\n');
});
