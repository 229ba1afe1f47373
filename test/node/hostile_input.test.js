'use strict';
// Hostile input end to end, where only the add-on and real git together can show it: bytes that
// are not UTF-8, a deleted current folder, and repositories built by an attacker for a victim to
// open. Whatever comes in, the process survives, writes nothing it was not asked to, and answers
// as documented. Shell syntax and option-shaped paths are the C++ suite's to show.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const { Worker } = require('worker_threads');
const { execFileSync, spawnSync } = require('child_process');
const utils = require('../..');
const promises = require('../../promises');
const { tempDir, git, makeRepo, commit } = require('./support/repo');

const HUNK_METHODS = ['grsh', 'gruh', 'grdh'];

// Returns a repository holding f.txt, changed in the work tree, the patch of that change, and a
// victim file beside the repository that nothing may touch.
function changedRepo() {
  const repo = makeRepo('repo');
  const id = commit(repo, { 'f.txt': 'one\n' }, 'First');
  fs.writeFileSync(path.join(repo, 'f.txt'), 'two\n');
  const victim = path.join(path.dirname(repo), 'victim.txt');
  fs.writeFileSync(victim, 'precious\n');
  return { repo, short: id.slice(0, 7), patch: git(repo, ['diff']), victim };
}

const untouched = (victim) => assert.strictEqual(fs.readFileSync(victim, 'utf8'), 'precious\n');

test('bytes from git that are not UTF-8 reach the script as Buffer#toString gives them', () => {
  // Latin-1, a cut three-byte sequence, 0xff, a bad continuation, a cut four-byte sequence, a surrogate.
  const bad = Buffer.from('caf\xe9 \xe2\x82A\xff\xc3(\xf0\x9f\x98 \xed\xa0\x80', 'latin1');
  const decoded = (...pieces) => Buffer.concat(pieces.map((p) => Buffer.from(p))).toString();
  const repo = makeRepo();
  git(repo, ['config', 'core.quotePath', 'false']);
  const name = Buffer.from('caf\xe9.txt', 'latin1');
  const text = Buffer.concat([bad, Buffer.from('\nplain\n')]);
  git(repo, ['fast-import', '--quiet'], { input: Buffer.concat([Buffer.from('commit refs/heads/main\n'
    + `committer C <c@example.com> 1600000000 +0000\ndata ${bad.length + 8}\nSubject `), bad, Buffer.from('\nM 100644 inline '),
  name, Buffer.from(`\ndata 4\none\nM 100644 inline text.txt\ndata ${text.length}\n`), text, Buffer.from('\n')]) });
  const [short, full] = git(repo, ['log', '-1', '--pretty=%h %H']).trim().split(' ');
  // The file name cannot be written in a script string; a pathspec pattern names it instead.
  assert.strictEqual(utils.mtgcld('caf*.txt', repo, short),
    decoded(`<option data-dfp='`, name, `' data-dlcid='${full}' value='${short}'  selected >${short} 13 Sep 2020 Subject `, bad, '</option>'));
  assert.ok(utils.mtgch('text.txt', repo, 'ffffff', null).includes(decoded("<span class='line-contents'>\t", bad, '</span></div>')));
});

// The host's current folder deleted under it: git still runs in the repository given.
test('a deleted current folder neither stops the calls nor moves the process', () => {
  const { repo, short, patch } = changedRepo();
  const saved = process.cwd();
  const doomed = tempDir();
  process.chdir(doomed);
  const inode = fs.statSync('.').ino;
  fs.rmdirSync(doomed);
  try {
    assert.ok(utils.mtgcld('f.txt', repo, short).includes(`value='${short}'  selected >`));
    assert.deepStrictEqual(HUNK_METHODS.map((method) => utils[method](patch, repo)), [true, true, true]);
    assert.strictEqual(fs.statSync('.').ino, inode);
  } finally {
    process.chdir(saved);
  }
  assert.strictEqual(fs.readFileSync(path.join(repo, 'f.txt'), 'utf8'), 'one\n');
});

// --- Repositories built by an attacker: one test for each way the module could be turned ------

// Calls `fn` (the add-on, then `args`) in a fresh Node process, where a crash or a hang cannot
// take the test runner with it. Returns what `fn` returned, or how the process ended.
function inChild(fn, ...args) {
  const source = `const u = require(${JSON.stringify(path.join(__dirname, '..', '..'))});`
    + `process.stdout.write(JSON.stringify((${fn})(u, ...${JSON.stringify(args)})));`;
  const run = spawnSync(process.execPath, ['-e', source], { encoding: 'utf8', timeout: 20000 });
  return run.status === 0 ? JSON.parse(run.stdout) : { status: run.status, signal: run.signal };
}

test('a committed link, file, folder or FIFO named like the old patch file is left alone', () => {
  const planted = (repo, make) => { make(path.join(repo, '.tarnwick_hunkpatch')); commit(repo, { '.tarnwick_hunkpatch': null }, 'Planted'); };
  const setups = [
    (repo) => planted(repo, (at) => fs.symlinkSync('../victim.txt', at)),
    (repo) => planted(repo, (at) => fs.symlinkSync('../victim.txt.new', at)),
    (repo) => planted(repo, (at) => fs.writeFileSync(at, 'mine\n')),
    (repo) => fs.mkdirSync(path.join(repo, '.tarnwick_hunkpatch')),
    (repo) => execFileSync('mkfifo', [path.join(repo, '.tarnwick_hunkpatch')]),
  ];
  for (const [i, setup] of setups.entries()) {
    const { repo, patch, victim } = changedRepo();
    setup(repo);
    const before = fs.lstatSync(path.join(repo, '.tarnwick_hunkpatch'));
    assert.strictEqual(inChild((u, p, r) => u.grsh(p, r), patch, repo), true, `setup ${i}`);
    untouched(victim);
    assert.ok(!fs.existsSync(`${victim}.new`));
    const after = fs.lstatSync(path.join(repo, '.tarnwick_hunkpatch'));
    assert.deepStrictEqual([after.ino, after.size, after.mtimeMs], [before.ino, before.size, before.mtimeMs], `setup ${i}`);
  }
});

test('a shell that cannot start leaves the process standing', () => {
  const { repo, patch } = changedRepo();
  // Command lines past the kernel's per-argument limit (a path in a history can be that long), and
  // no descriptor left for a pipe.
  assert.deepStrictEqual(inChild((u, r) => [u.mtgch('x'.repeat(140000), r, 'ffffff', null), u.mtgcld('"'.repeat(66000), r, '')], repo), ['', '']);
  assert.deepStrictEqual(inChild((u, r, p) => {
    const held = [];
    try { for (;;) held.push(require('fs').openSync('/dev/null', 'r')); } catch (e) { /* the limit */ }
    return [u.mtgcld('f.txt', r, ''), u.mtgch('f.txt', r, 'ffffff', null), u.grsh(p, r)];
  }, repo, patch), ['', '', false]);
});

test('a zero character in a path runs nothing', () => {
  const { repo, patch, victim } = changedRepo();
  for (const method of HUNK_METHODS) assert.strictEqual(utils[method](patch, `${victim}\0/${repo}`), false);
  untouched(victim);
  assert.deepStrictEqual([utils.mtgcld('f.txt\0x', repo, ''), utils.mtgch('f.txt\0x', repo, 'ffffff', null),
    utils.mtgch('f.txt', `${repo}\0x`, 'ffffff', null)], ['', '', '']);
});

test('git runs never move the process: a worker\'s relative writes stay where it writes them', async () => {
  const { repo } = changedRepo();
  const saved = process.cwd();
  process.chdir(tempDir());
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
    assert.ok(fs.readdirSync('.').length > 0);
    process.chdir(saved);
  }
  assert.deepStrictEqual(fs.readdirSync(repo).filter((name) => /^w\d+$/.test(name)), []);
});

test('git refusing a hunk answers false', () => {
  const { repo, patch } = changedRepo();
  assert.strictEqual(utils.gruh(patch, repo), false, 'unstaging a hunk that is not staged');
  assert.strictEqual(utils.grsh('no patch at all\n', repo), false, 'a text that is no patch');
  assert.strictEqual(utils.grsh(patch, repo), true);
  assert.strictEqual(utils.grsh(patch, repo), false, 'staging it twice');
  fs.writeFileSync(path.join(repo, 'f.txt'), 'one\n');
  assert.strictEqual(utils.grdh(patch, repo), false, 'discarding a stale hunk');
  assert.strictEqual(git(repo, ['diff', '--cached']), patch);
});

// Returns the path of a program that appends its first argument to `marks` and then passes its
// input (a file it is given, or its standard input) through.
function marker(marks) {
  const program = path.join(path.dirname(marks), 'mark');
  fs.writeFileSync(program, `#!/bin/sh\necho "$1" >> '${marks}'\nshift\n[ -f "$1" ] && exec cat "$1"\nexec cat\n`, { mode: 0o755 });
  return program;
}
const marked = (marks) => (fs.existsSync(marks) ? [...new Set(fs.readFileSync(marks, 'utf8').split('\n').filter(Boolean))].sort() : []);

// Calls every git-running method of both faces on `repo`, with f.txt changed in the work tree as
// `patch` says, and returns the answers and what each hunk method left in the index and the work
// tree (read without git's own drivers, fsmonitor and hooks).
async function everyAnswer(repo, patch) {
  const answers = [];
  const own = { GIT_DIR: path.join(repo, '.git'), GIT_WORK_TREE: repo, GIT_INDEX_FILE: path.join(repo, '.git', 'index') };
  const left = () => [git(repo, ['-c', 'core.fsmonitor=false', 'ls-files', '-s'], { env: own }), fs.readFileSync(path.join(repo, 'f.txt'), 'utf8')];
  for (const face of [utils, promises]) {
    fs.writeFileSync(path.join(repo, 'f.txt'), 'one\n2\nthree\n');
    answers.push(await face.mtgch('f.txt', repo, 'ffffff', null), await face.mtgch('g.txt', repo, 'ffffff', null),
      await face.mtgcld('f.txt', repo, ''));
    for (const name of HUNK_METHODS) answers.push(await face[name](patch, repo), left());
  }
  return answers;
}

test('no program that a repository\'s own .git names runs; the user\'s global drivers do', async () => {
  const marks = path.join(tempDir(), 'marks');
  const mark = marker(marks);
  const global = path.join(path.dirname(marks), 'global');
  fs.writeFileSync(global, `[diff "mine"]\n\ttextconv = '${mark}' global-textconv\n[filter "planted"]\n\tsmudge = '${mark}' global-smudge\n`);
  const repos = [makeRepo(), makeRepo()];
  for (const repo of repos) {
    commit(repo, { '.gitattributes': 'f.txt diff=planted filter=planted\ng.txt diff=mine\n', 'f.txt': 'one\ntwo\n', 'g.txt': 'g\n' }, 'first');
    fs.writeFileSync(path.join(repo, 'f.txt'), 'one\n2\n');
    git(repo, ['add', 'f.txt']);
    const signed = `tree ${git(repo, ['write-tree']).trim()}\nparent ${git(repo, ['rev-parse', 'HEAD']).trim()}\n`
      + 'author A <a@example.com> 1600000000 +0000\ncommitter A <a@example.com> 1600000000 +0000\n'
      + 'gpgsig -----BEGIN PGP SIGNATURE-----\n iQEz\n -----END PGP SIGNATURE-----\n\nSigned\n';
    git(repo, ['update-ref', 'HEAD', git(repo, ['hash-object', '-t', 'commit', '-w', '--stdin'], { input: signed }).trim()]);
  }
  fs.writeFileSync(path.join(repos[1], 'f.txt'), 'one\n2\nthree\n');
  const patch = git(repos[1], ['diff', '--', 'f.txt']);
  const planted = repos[0];
  for (const name of ['diff.planted.textconv', 'filter.planted.clean', 'filter.planted.smudge', 'filter.planted.process',
    'core.fsmonitor']) git(planted, ['config', name, `'${mark}' ${name}`]);
  git(planted, ['config', 'gpg.program', mark]);  // run as a program, not by the shell
  git(planted, ['config', 'log.showSignature', 'true']);
  fs.writeFileSync(path.join(planted, '.git', 'hooks', 'post-index-change'), `#!/bin/sh\n'${mark}' hook\n`, { mode: 0o755 });
  process.env.GIT_CONFIG_GLOBAL = global;
  try {
    assert.deepStrictEqual(await everyAnswer(planted, patch), await everyAnswer(repos[1], patch));
  } finally {
    delete process.env.GIT_CONFIG_GLOBAL;
  }
  assert.deepStrictEqual(marked(marks), ['global-smudge', 'global-textconv']);
});

test('a partial clone fetches no missing object, so the program its config names for that never runs', async () => {
  const source = makeRepo();
  commit(source, { 'f.txt': 'one\n' }, 'first');
  commit(source, { 'f.txt': 'one\ntwo\n' }, 'second');
  git(source, ['config', 'uploadpack.allowFilter', 'true']);
  const clone = path.join(tempDir(), 'clone');
  git(source, ['clone', '-q', '--no-checkout', '--filter=blob:none', `file://${source}`, clone]);
  const marks = path.join(tempDir(), 'marks');
  git(clone, ['config', 'remote.origin.uploadpack', `'${marker(marks)}' uploadpack; false`]);
  assert.strictEqual(utils.mtgch('f.txt', clone, 'ffffff', null), '');
  await assert.rejects(promises.mtgch('f.txt', clone, 'ffffff', null), { code: 'GIT_FAILED' });
  assert.deepStrictEqual(marked(marks), []);
});

test('git variables of the host redirect nothing: the named repository is read and staged', async () => {
  const [repo, other] = [makeRepo(), makeRepo()];
  for (const [dir, text] of [[repo, 'one\n'], [other, 'other\n']]) commit(dir, { 'f.txt': text, 'g.txt': 'g\n' }, 'first');
  fs.writeFileSync(path.join(repo, 'f.txt'), 'one\n2\nthree\n');
  const patch = git(repo, ['diff', '--', 'f.txt']);
  const expected = await everyAnswer(repo, patch);
  git(repo, ['checkout', '-q', 'f.txt']);
  const saved = { ...process.env };
  Object.assign(process.env, { GIT_DIR: path.join(other, '.git'), GIT_WORK_TREE: other, GIT_INDEX_FILE: path.join(other, '.git', 'index') });
  try {
    assert.deepStrictEqual(await everyAnswer(repo, patch), expected);
    fs.writeFileSync(path.join(repo, 'f.txt'), 'one\n2\nthree\n');
    assert.deepStrictEqual([utils.grsh(patch, repo), await promises.grdh(patch, repo)], [true, true]);
  } finally {
    for (const name of ['GIT_DIR', 'GIT_WORK_TREE', 'GIT_INDEX_FILE']) delete process.env[name];
    Object.assign(process.env, saved);
  }
  assert.deepStrictEqual([git(repo, ['diff', '--cached']), git(other, ['status', '--porcelain'])], [patch, '']);
});
