'use strict';
// Hostile input end to end, through the built add-on and real git: huge texts, bytes that are not
// UTF-8, paths full of shell syntax, folders that are missing or no repository, a current folder
// that was deleted, and repositories built by an attacker for a victim to open. Whatever comes
// in, the process survives, writes nothing it was not asked to, and answers as documented.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const { Worker } = require('worker_threads');
const { execFileSync, spawnSync } = require('child_process');
const utils = require('../..');
const { tempDir, git, makeRepo, commit } = require('./support/repo');

const count = (text, piece) => text.split(piece).length - 1;

test('a 50 MB diff is coloured whole, chunk by chunk, without swatches', () => {
  const block = ['@@ -1,6 +1,6 @@ section #aabbcc', ' context rgb(1, 2, 3)', '-removed #123456', '+added <b>&amp;</b>',
    ...Array.from({ length: 12 }, (_, i) => `${'+- '[i % 3]}line ${i} ${'x'.repeat(40 + i)}`), '\\ No newline at end of file', ''].join('\n');
  const copies = Math.ceil((50 * 1024 * 1024) / block.length);
  // Every cut falls at a line feed, so each block comes out as it does alone (swatches aside).
  assert.ok(utils.cd(block.repeat(copies), true, true) === utils.cd(block, false, true).repeat(copies));
});

test('bytes from git that are not UTF-8 reach the script as Buffer#toString gives them', () => {
  // Latin-1, a cut three-byte sequence, 0xff, a bad continuation, a cut four-byte sequence and an
  // encoded surrogate.
  const bad = Buffer.from([0x63, 0x61, 0x66, 0xe9, 0x20, 0xe2, 0x82, 0x41, 0xff, 0xc3, 0x28, 0xf0, 0x9f, 0x98, 0x20, 0xed, 0xa0, 0x80]);
  const decoded = (...pieces) => Buffer.concat(pieces.map((p) => Buffer.from(p))).toString();
  const repo = makeRepo();
  git(repo, ['config', 'core.quotePath', 'false']);
  const latinName = Buffer.from('caf\xe9.txt', 'latin1');
  const text = Buffer.concat([bad, Buffer.from('\nplain\n')]);
  git(repo, ['fast-import', '--quiet'], { input: Buffer.concat([Buffer.from('commit refs/heads/main\n'
    + `committer C <c@example.com> 1600000000 +0000\ndata ${bad.length + 8}\nSubject `), bad,
  Buffer.from('\nM 100644 inline '), latinName, Buffer.from('\ndata 4\none\n'),
  Buffer.from(`M 100644 inline text.txt\ndata ${text.length}\n`), text, Buffer.from('\n')]) });
  const [short, full] = git(repo, ['log', '-1', '--pretty=%h %H']).trim().split(' ');
  // The file name cannot be written in a script string; a pathspec pattern names it instead.
  assert.strictEqual(utils.mtgcld('caf*.txt', repo, short),
    decoded(`<option data-dfp='`, latinName, `' data-dlcid='${full}' value='${short}'  selected >${short} 13 Sep 2020 Subject `, bad, '</option>'));
  assert.ok(utils.mtgch('text.txt', repo, 'ffffff', null).includes(decoded("<span class='line-contents'>\t", bad, '</span></div>')));
});

test('paths full of shell syntax reach git unchanged and run nothing', () => {
  // Every character the shell treats specially, and commands that would leave a marker file.
  const shell = ' !"#$&\'()*;<=>?[\\]^`{|}~\t\n%';
  const injections = ['$(touch pwned1)', '`touch pwned2`', '"; touch pwned3; "', "'; touch pwned4; '", '$HOME', '\\"', '\\'];
  const repo = makeRepo(`repo ${shell.replace('\n', '')} $(touch pwned0)`);
  const names = [`all ${shell}.txt`, ...injections.map((text, i) => `f${i} ${text}.txt`)];
  const id = commit(repo, Object.fromEntries(names.map((name, i) => [name, `line ${i}\nsecond\n`])), 'Awkward names');
  const short = git(repo, ['rev-parse', '--short', 'HEAD']).trim();
  names.forEach((name, i) => {
    const blame = utils.mtgch(name, repo, 'ffffff', null);
    assert.strictEqual(count(blame, `data-commitid='${id}'`), 2, name);
    assert.ok(blame.includes(`<span class='line-contents'>\tline ${i}</span>`), name);
    assert.strictEqual(count(utils.mtgcld(name, repo, short), ' selected '), 1, name);
  });
  fs.appendFileSync(path.join(repo, names[0]), 'third\n');
  const patch = git(repo, ['diff']);
  assert.deepStrictEqual(['grsh', 'gruh', 'grdh'].map((method) => utils[method](patch, repo)), [true, true, true]);
  assert.strictEqual(git(repo, ['status', '--porcelain']), '');
  for (const folder of [repo, path.dirname(repo), process.cwd()]) {
    assert.deepStrictEqual(fs.readdirSync(folder).filter((name) => name.startsWith('pwned')), [], folder);
  }
});

test('a folder that is missing or no repository gives the empty answer and changes nothing', () => {
  const plain = tempDir();
  fs.writeFileSync(path.join(plain, 'f.txt'), 'one\n');
  const patch = '--- a/f.txt\n+++ b/f.txt\n@@ -1 +1 @@\n-one\n+two\n';
  for (const folder of [path.join(plain, 'missing'), plain, 'undefined', '']) {
    assert.deepStrictEqual([utils.mtgcld('f.txt', folder, ''), utils.mtgch('f.txt', folder, 'ffffff', null),
      utils.grsh(patch, folder), utils.gruh(patch, folder), utils.grdh(patch, folder)], ['', '', false, false, false], folder);
  }
  assert.deepStrictEqual(fs.readdirSync(plain), ['f.txt']);
  assert.strictEqual(fs.readFileSync(path.join(plain, 'f.txt'), 'utf8'), 'one\n');
});

test('a current folder deleted before the call: the answers stand, the process stays where it was', () => {
  const saved = process.cwd();
  const repo = makeRepo();
  const id = commit(repo, { 'f.txt': 'one\n' }, 'First');
  const short = git(repo, ['rev-parse', '--short', 'HEAD']).trim();
  fs.writeFileSync(path.join(repo, 'f.txt'), 'two\n');
  const patch = git(repo, ['diff']);
  const doomed = tempDir();
  process.chdir(doomed);
  const inode = fs.statSync('.').ino;
  fs.rmdirSync(doomed);
  try {
    assert.ok(utils.mtgcld('f.txt', repo, short).includes(`value='${short}'  selected >`));
    assert.ok(utils.mtgch('f.txt', repo, 'ffffff', null).includes(`data-commitid='${id}'`));
    assert.deepStrictEqual(['grsh', 'gruh', 'grdh'].map((method) => utils[method](patch, repo)), [true, true, true]);
    assert.strictEqual(fs.statSync('.').ino, inode);
  } finally {
    process.chdir(saved);
  }
  assert.strictEqual(fs.readFileSync(path.join(repo, 'f.txt'), 'utf8'), 'one\n');
});

// --- Repositories built by an attacker ---------------------------------------------------------

const ROOT = path.join(__dirname, '..', '..');

// Calls `fn` (the add-on, then `args`) in a fresh Node process, where a crash or a hang cannot
// take the test runner with it. Returns what `fn` returned, or how the process ended.
function inChild(fn, ...args) {
  const source = `const u = require(${JSON.stringify(ROOT)});`
    + `process.stdout.write(JSON.stringify((${fn})(u, ...${JSON.stringify(args)})));`;
  const run = spawnSync(process.execPath, ['-e', source], { encoding: 'utf8', timeout: 20000 });
  return run.status === 0 ? JSON.parse(run.stdout) : { status: run.status, signal: run.signal };
}

// Returns a repository holding f.txt, changed in the work tree, and the patch of that change.
function changedRepo() {
  const repo = makeRepo('repo');
  commit(repo, { 'f.txt': 'one\n' }, 'First');
  fs.writeFileSync(path.join(repo, 'f.txt'), 'two\n');
  return { repo, patch: git(repo, ['diff']) };
}

const OLD_PATCH_NAME = '.tarnwick_hunkpatch';

test('a committed link, file, folder or FIFO named like a patch file is left alone', () => {
  const planted = (repo) => commit(repo, { [OLD_PATCH_NAME]: null }, 'Planted');
  const setups = {
    'a link to a file outside': (repo) => { fs.symlinkSync('../victim.txt', path.join(repo, OLD_PATCH_NAME)); planted(repo); },
    'a link to a missing file': (repo) => { fs.symlinkSync('../victim.txt.new', path.join(repo, OLD_PATCH_NAME)); planted(repo); },
    'a tracked file': (repo) => { fs.writeFileSync(path.join(repo, OLD_PATCH_NAME), 'mine\n'); planted(repo); },
    'an empty folder': (repo) => fs.mkdirSync(path.join(repo, OLD_PATCH_NAME)),
    'a FIFO': (repo) => execFileSync('mkfifo', [path.join(repo, OLD_PATCH_NAME)]),
  };
  for (const [name, setup] of Object.entries(setups)) {
    const { repo, patch } = changedRepo();
    const victim = path.join(path.dirname(repo), 'victim.txt');
    fs.writeFileSync(victim, 'precious\n');
    setup(repo);
    const before = fs.lstatSync(path.join(repo, OLD_PATCH_NAME));
    assert.deepStrictEqual(inChild((u, p, r) => u.grsh(p, r), patch, repo), true, name);
    assert.strictEqual(fs.readFileSync(victim, 'utf8'), 'precious\n', name);
    assert.ok(!fs.existsSync(`${victim}.new`), name);
    const after = fs.lstatSync(path.join(repo, OLD_PATCH_NAME));
    assert.deepStrictEqual([after.ino, after.size, after.mtimeMs], [before.ino, before.size, before.mtimeMs], name);
  }
});

test('a shell that cannot start leaves the process standing', () => {
  const { repo, patch } = changedRepo();
  // Command lines past the kernel's per-argument limit, as a repository's history can hold them.
  assert.deepStrictEqual(inChild((u, r) => [u.mtgch('x'.repeat(140000), r, 'ffffff', null),
    u.mtgcld('"'.repeat(66000), r, '')], repo), ['', '']);
  // No descriptor left for a pipe.
  assert.deepStrictEqual(inChild((u, r, p) => {
    const held = [];
    try { for (;;) held.push(require('fs').openSync('/dev/null', 'r')); } catch (e) { /* the limit */ }
    return [u.mtgcld('f.txt', r, ''), u.mtgch('f.txt', r, 'ffffff', null), u.grsh(p, r)];
  }, repo, patch), ['', '', false]);
});

test('file names shaped like options reach git as paths', () => {
  const repo = makeRepo('repo');
  const victim = path.join(path.dirname(repo), 'victim.txt');
  fs.writeFileSync(victim, 'precious\n');
  fs.symlinkSync(victim, path.join(repo, 'x'));
  const id = commit(repo, { '--output=x': 'line\n', x: null }, 'Option-shaped');
  const short = git(repo, ['rev-parse', '--short', 'HEAD']).trim();
  assert.ok(utils.mtgcld('--output=x', repo, short).includes(`value='${short}'  selected >`));
  assert.ok(utils.mtgch('--output=x', repo, 'ffffff', null).includes(`data-commitid='${id}'`));
  assert.strictEqual(fs.readFileSync(victim, 'utf8'), 'precious\n');
});

test('a zero character in a path runs nothing', () => {
  const { repo, patch } = changedRepo();
  const victim = path.join(path.dirname(repo), 'victim.txt');
  fs.writeFileSync(victim, 'precious\n');
  for (const method of ['grsh', 'gruh', 'grdh']) assert.strictEqual(utils[method](patch, `${victim}\0/${repo}`), false);
  assert.strictEqual(fs.readFileSync(victim, 'utf8'), 'precious\n');
  assert.strictEqual(utils.mtgcld('f.txt\0x', repo, ''), '');
  assert.strictEqual(utils.mtgch('f.txt\0x', repo, 'ffffff', null), '');
  assert.strictEqual(utils.mtgch('f.txt', `${repo}\0x`, 'ffffff', null), '');
});

test('a relative repository folder gets the patch it was given', () => {
  const { repo, patch } = changedRepo();
  const saved = process.cwd();
  process.chdir(path.dirname(repo));
  try {
    assert.strictEqual(utils.grsh(patch, 'repo'), true);
  } finally {
    process.chdir(saved);
  }
  assert.strictEqual(git(repo, ['diff', '--cached']), patch);
});

test('git runs never move the process: a worker\'s relative writes stay where it writes them', async () => {
  const { repo } = changedRepo();
  const scratch = tempDir();
  const saved = process.cwd();
  process.chdir(scratch);
  const stop = new Int32Array(new SharedArrayBuffer(4));
  const worker = new Worker(`const { workerData: stop } = require('worker_threads'); const fs = require('fs');
    for (let i = 0; Atomics.load(stop, 0) === 0; i += 1) fs.writeFileSync(\`w\${i % 50}\`, 'x');`, { eval: true, workerData: stop });
  try {
    await new Promise((resolve) => setTimeout(resolve, 50));
    for (let i = 0; i < 20; i += 1) {
      utils.mtgch('f.txt', repo, 'ffffff', null);
      utils.mtgcld('f.txt', repo, '');
    }
  } finally {
    Atomics.store(stop, 0, 1);
    await new Promise((resolve) => worker.on('exit', resolve));
    process.chdir(saved);
  }
  assert.deepStrictEqual(fs.readdirSync(repo).filter((name) => /^w\d+$/.test(name)), []);
  assert.ok(fs.readdirSync(scratch).length > 0);
});

test('git refusing a hunk answers false', () => {
  const { repo, patch } = changedRepo();
  assert.strictEqual(utils.gruh(patch, repo), false, 'unstaging a hunk that is not staged');
  assert.strictEqual(utils.grsh('no patch at all\n', repo), false, 'a text that is no patch');
  assert.strictEqual(utils.grsh(patch, repo), true);
  assert.strictEqual(utils.grsh(patch, repo), false, 'staging it twice');
  fs.writeFileSync(path.join(repo, 'f.txt'), 'one\n');
  assert.strictEqual(utils.grdh(patch, repo), false, 'discarding a stale hunk');
  assert.strictEqual(utils.grsh(patch, path.join(repo, 'missing')), false, 'a missing folder');
  assert.strictEqual(git(repo, ['diff', '--cached']), patch);
});

test('conflict text cannot open a tag', () => {
  assert.strictEqual(utils.smc('<<<<<<<img src=x onerror=alert(1)>\n>>>>>>> theirs'),
    '&lt;&lt;&lt;&lt;&lt;&lt;&lt;img src=x onerror=alert(1)&gt;\n>>>>>>> theirs');
});
