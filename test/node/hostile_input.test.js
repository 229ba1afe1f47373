'use strict';
// Hostile input end to end, where only the add-on and real git together can show it: a host out
// of descriptors, a worker writing beside a git run, and repositories built by an attacker for a
// victim to open or a host environment pointing elsewhere. Whatever comes in, the process
// survives, runs nothing the repository chose, and acts on the repository it was given. Shell
// syntax, option-shaped paths and zero characters are the C++ suite's to show.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const { Worker } = require('worker_threads');
const { spawn, spawnSync, execFile, execFileSync } = require('child_process');
const { faces, eachFace } = require('./support/faces');
const { root, tempDir, git, makeRepo, commit, inChild, standInGit, withPath, ended } = require('./support/repo');

const HUNK_METHODS = require('../../lib/methods').filter((method) => method.hunk).map((method) => method.name);

// Returns a repository holding f.txt, changed in the work tree, and the patch of that change.
function changedRepo() {
  const repo = makeRepo('repo');
  commit(repo, { 'f.txt': 'one\n' }, 'First');
  fs.writeFileSync(path.join(repo, 'f.txt'), 'two\n');
  return { repo, patch: git(repo, ['diff']) };
}

eachFace('a host with no descriptor left for a pipe stands, and the methods answer empty', (face) => {
  const { repo, patch } = changedRepo();
  assert.deepStrictEqual(inChild(async (support, name, r, p) => {
    const u = require(support).faces.find((one) => one.name === name);
    const held = [];
    try { for (;;) held.push(require('fs').openSync('/dev/null', 'r')); } catch (e) { /* the limit */ }
    return [await u.mtgcld('f.txt', r, ''), await u.mtgch('f.txt', r, 'ffffff', null), await u.grsh(p, r)];
  }, [require.resolve('./support/faces'), face.name, repo, patch]), ['', '', false]);
});

eachFace('git runs never move the process: a worker\'s relative writes stay where it writes them', async (face) => {
  const { repo } = changedRepo();
  const saved = process.cwd();
  process.chdir(tempDir());
  const stop = new Int32Array(new SharedArrayBuffer(4));
  const worker = new Worker(`const { workerData: stop } = require('worker_threads'); const fs = require('fs');
    for (let i = 0; Atomics.load(stop, 0) === 0; i += 1) fs.writeFileSync(\`w\${i % 50}\`, 'x');`, { eval: true, workerData: stop });
  try {
    await new Promise((resolve) => setTimeout(resolve, 50));
    for (let i = 0; i < 20; i += 1) {
      await face.mtgch('f.txt', repo, 'ffffff', null);
      await face.mtgcld('f.txt', repo, '');
    }
  } finally {
    Atomics.store(stop, 0, 1);
    await new Promise((resolve) => worker.on('exit', resolve));
    assert.ok(fs.readdirSync('.').length > 0);
    process.chdir(saved);
  }
  assert.deepStrictEqual(fs.readdirSync(repo).filter((name) => /^w\d+$/.test(name)), []);
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
  for (const face of faces) {
    fs.writeFileSync(path.join(repo, 'f.txt'), 'one\n2\nthree\n');
    answers.push(await face.mtgch('f.txt', repo, 'ffffff', null), await face.mtgch('g.txt', repo, 'ffffff', null),
      await face.mtgch('h.txt', repo, 'ffffff', null), await face.mtgcld('f.txt', repo, ''));
    for (const name of HUNK_METHODS) answers.push(await face[name](patch, repo), left());
  }
  return answers;
}

test('no program that a repository\'s own .git names runs and no file it names is read; the user\'s global drivers run', async () => {
  const marks = path.join(tempDir(), 'marks');
  const mark = marker(marks);
  const global = path.join(path.dirname(marks), 'global');
  fs.writeFileSync(global, `[diff "mine"]\n\ttextconv = '${mark}' global-textconv\n[filter "planted"]\n\tsmudge = '${mark}' global-smudge\n`);
  const repos = [makeRepo(), makeRepo()];
  for (const repo of repos) {
    commit(repo, { '.gitattributes': 'f.txt diff=planted filter=planted\ng.txt diff=mine\nh.txt diff= filter=\n', 'f.txt': 'one\ntwo\n', 'g.txt': 'g\n', 'h.txt': 'h\n' }, 'first');
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
    'core.fsmonitor', 'diff..textconv', 'filter..clean', 'filter..smudge']) git(planted, ['config', name, `'${mark}' ${name}`]);
  // Files that never end: git would read them forever.
  for (const name of ['mailmap.file', 'core.attributesFile', 'blame.ignoreRevsFile', 'diff.orderFile']) git(planted, ['config', name, '/dev/zero']);
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

eachFace('a partial clone fetches no missing object, so the program its config names for that never runs', async (face) => {
  const source = makeRepo();
  commit(source, { 'f.txt': 'one\n' }, 'first');
  commit(source, { 'f.txt': 'one\ntwo\n' }, 'second');
  git(source, ['config', 'uploadpack.allowFilter', 'true']);
  const clone = path.join(tempDir(), 'clone');
  git(source, ['clone', '-q', '--no-checkout', '--filter=blob:none', `file://${source}`, clone]);
  const marks = path.join(tempDir(), 'marks');
  git(clone, ['config', 'remote.origin.uploadpack', `'${marker(marks)}' uploadpack; false`]);
  assert.strictEqual(await face.mtgch('f.txt', clone, 'ffffff', null), '');
  assert.deepStrictEqual(marked(marks), []);
});

test('git variables of the host redirect nothing: the named repository is read and staged', async () => {
  const [repo, other] = [makeRepo(), makeRepo()];
  for (const [dir, text] of [[repo, 'one\n'], [other, 'other\n']]) commit(dir, { 'f.txt': text, 'g.txt': 'g\n', 'h.txt': 'h\n' }, 'first');
  fs.writeFileSync(path.join(repo, 'f.txt'), 'one\n2\nthree\n');
  const patch = git(repo, ['diff', '--', 'f.txt']);
  const expected = await everyAnswer(repo, patch);
  git(repo, ['checkout', '-q', 'f.txt']);
  const saved = { ...process.env };
  Object.assign(process.env, { GIT_DIR: path.join(other, '.git'), GIT_WORK_TREE: other, GIT_INDEX_FILE: path.join(other, '.git', 'index') });
  try {
    assert.deepStrictEqual(await everyAnswer(repo, patch), expected);
  } finally {
    for (const name of ['GIT_DIR', 'GIT_WORK_TREE', 'GIT_INDEX_FILE']) delete process.env[name];
    Object.assign(process.env, saved);
  }
  assert.strictEqual(git(other, ['status', '--porcelain']), '');
});

// A configuration file that reads differently each time (a FIFO that another account feeds) could
// give the guard one configuration and the command another: nothing runs.
eachFace('a configuration that is no plain file only the user can change runs nothing', async (face) => {
  const { repo, patch } = changedRepo();
  const fifo = path.join(tempDir(), 'fifo');
  execFileSync('mkfifo', [fifo]);
  git(repo, ['config', 'include.path', fifo]);
  const writer = spawn('sh', ['-c', `trap '' PIPE; while :; do printf '[core]\\n' > '${fifo}'; done`], { stdio: 'ignore' });
  try {
    assert.deepStrictEqual([await face.mtgch('f.txt', repo, 'fff', null), await face.mtgcld('f.txt', repo, ''), await face.grsh(patch, repo)], ['', '', false]);
    if (face.name === 'promises') await assert.rejects(require('../../promises').mtgcld('f.txt', repo, ''), { code: 'GIT_UNSAFE_REPOSITORY' });
  } finally {
    writer.kill('SIGKILL');
  }
});

// A git that never says where the repository is (one reading a configuration that never ends,
// say) is ended after ten seconds, and the call answers empty; both faces at once, in children.
test('a git that hangs before the command is ended after ten seconds on both faces', async () => {
  const { repo } = changedRepo();
  const bin = tempDir();
  fs.writeFileSync(path.join(bin, 'git'), '#!/bin/sh\nexec sleep 30\n', { mode: 0o755 });
  const answer = (face) => new Promise((resolve) => execFile(process.execPath, ['-e', `require(${JSON.stringify(require.resolve('./support/faces'))})
    .faces.find((f) => f.name === '${face.name}').mtgch('f.txt', ${JSON.stringify(repo)}, 'fff', null).then((v) => process.stdout.write(JSON.stringify(v)))`],
  { env: { ...process.env, PATH: `${bin}${path.delimiter}${process.env.PATH}` } }, (error, stdout) => resolve(stdout)));
  const started = Date.now();
  assert.deepStrictEqual(await Promise.all(faces.map(answer)), ['""', '""']);
  assert.ok(Date.now() - started < 20000, `${Date.now() - started} ms`);
});

test('no git outlives its caller: a host ended by SIGTERM, a worker ended by terminate()', async () => {
  const { repo } = changedRepo();
  const call = (face) => `require(${JSON.stringify(face)}).mtgch('f.txt', ${JSON.stringify(repo)}, 'fff', null)`;
  const inWorker = (source) => `const w = new (require('worker_threads').Worker)(${JSON.stringify(source)}, { eval: true });
    const t = setInterval(() => { if (require('fs').existsSync(process.env.PIDS)) { clearInterval(t); w.terminate(); } }, 10);`;
  const cases = [[call(root), true], [call(`${root}/promises`), true], [inWorker(call(`${root}/promises`)), false]];
  for (const [source, killHost] of cases) {
    const pids = path.join(tempDir(), 'pid');
    await withPath(standInGit(`echo $$ > '${pids}.new'; mv '${pids}.new' '${pids}'; exec sleep 30`), async () => {
      const host = spawn(process.execPath, ['-e', source], { env: { ...process.env, PIDS: pids }, stdio: 'ignore' });
      const exited = new Promise((resolve) => host.on('exit', resolve));
      while (!fs.existsSync(pids)) await new Promise((resolve) => setTimeout(resolve, 10));
      if (killHost) host.kill('SIGTERM');
      await exited;
    });
    assert.ok(await ended(Number(fs.readFileSync(pids, 'utf8'))), source);
  }
});

// Debian's git-lfs, installed the ordinary way, is the user's own filter: it still runs, but
// nothing it would read from the repository's configuration runs or transfers, and a discard
// whose object is not here (nothing is fetched) fails before git empties the file.
const lfs = spawnSync('git', ['lfs', 'version']).status === 0;
eachFace('the user\'s Git LFS runs nothing the repository names and fetches nothing', async (face, t) => {
  if (!lfs) return t.skip('git-lfs is not installed');
  const marks = path.join(tempDir(), 'marks');
  const mark = marker(marks);
  const global = path.join(path.dirname(marks), 'global');
  fs.writeFileSync(global, '[filter "lfs"]\n\tclean = git-lfs clean -- %f\n\tsmudge = git-lfs smudge -- %f\n'
    + '\tprocess = git-lfs filter-process\n\trequired = true\n');
  process.env.GIT_CONFIG_GLOBAL = global;
  try {
    const repo = makeRepo();
    commit(repo, { '.gitattributes': '*.bin filter=lfs diff=lfs merge=lfs -text\n', 'a.bin': 'real content\n' }, 'first');
    const oid = require('crypto').createHash('sha256').update('real content\n').digest('hex');
    const object = path.join(repo, '.git', 'lfs', 'objects', oid.slice(0, 2), oid.slice(2, 4), oid);
    fs.renameSync(object, path.join(repo, 'kept'));
    fs.writeFileSync(path.join(repo, 'a.bin'), 'real content\nchanged\n');
    const patch = git(repo, ['diff']);
    for (const [name, value] of [['lfs.standalonetransferagent', 'evil'], ['lfs.customtransfer.evil.path', mark],
      ['lfs.extension.evil.smudge', `${mark} extension`], ['remote.origin.lfsurl', 'https://lfs.invalid/']]) git(repo, ['config', name, value]);
    const answers = [];
    for (const restore of [false, true]) {
      // Back: the object, and the user's filter without the extension, which switched off fails every clean.
      if (restore) { fs.renameSync(path.join(repo, 'kept'), object); git(repo, ['config', '--unset', 'lfs.extension.evil.smudge']); }
      answers.push(await face.grdh(patch, repo), fs.readFileSync(path.join(repo, 'a.bin'), 'utf8'));
    }
    assert.deepStrictEqual(answers, [false, 'real content\nchanged\n', true, 'real content\n']);
  } finally {
    delete process.env.GIT_CONFIG_GLOBAL;
  }
  assert.deepStrictEqual(marked(marks), []);
});
