'use strict';
// Temporary git repositories, a stand-in git on PATH, and child processes for the Node tests.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { execFileSync, spawnSync } = require('child_process');

const made = [];

// Returns a new empty folder that is removed when the test process exits.
function tempDir(prefix = 'utils-test-') {
  const dir = fs.realpathSync(fs.mkdtempSync(path.join(os.tmpdir(), prefix)));
  made.push(dir);
  return dir;
}

process.on('exit', () => {
  for (const dir of made) fs.rmSync(dir, { recursive: true, force: true });
});

// Runs git in `cwd` with a fixed identity and returns its standard output as a string.
function git(cwd, args, options = {}) {
  return execFileSync('git', args, {
    cwd,
    encoding: options.encoding || 'utf8',
    input: options.input,
    env: {
      ...process.env,
      GIT_AUTHOR_NAME: 'Test Author',
      GIT_AUTHOR_EMAIL: 'author@example.com',
      GIT_COMMITTER_NAME: 'Test Committer',
      GIT_COMMITTER_EMAIL: 'committer@example.com',
      GIT_CONFIG_NOSYSTEM: '1',
      ...(options.env || {}),
    },
    stdio: ['pipe', 'pipe', 'pipe'],
    maxBuffer: 1024 * 1024 * 1024,
  });
}

// Returns the path of a new repository (inside a new temporary folder, under `name` when given).
function makeRepo(name) {
  const parent = tempDir();
  const repo = name ? path.join(parent, name) : parent;
  fs.mkdirSync(repo, { recursive: true });
  git(repo, ['init', '-q', '-b', 'main']);
  git(repo, ['config', 'core.autocrlf', 'false']);
  git(repo, ['config', 'commit.gpgsign', 'false']);
  return repo;
}

// Writes `files` ({path: content}) into `repo` and commits them with `message` at `date` (seconds).
// A null content commits what is already there (a link, say).
function commit(repo, files, message, date = 1600000000) {
  for (const [file, content] of Object.entries(files)) {
    const full = path.join(repo, file);
    fs.mkdirSync(path.dirname(full), { recursive: true });
    if (content !== null) fs.writeFileSync(full, content);
    git(repo, ['--literal-pathspecs', 'add', '--', file]);
  }
  const stamp = `${date} +0000`;
  git(repo, ['commit', '-q', '--allow-empty', '--allow-empty-message', '-m', message],
    { env: { GIT_AUTHOR_DATE: stamp, GIT_COMMITTER_DATE: stamp } });
  return git(repo, ['rev-parse', 'HEAD']).trim();
}

// Returns a new folder holding a stand-in `git` that runs the shell `script` for the command of a
// call; where the repository is and its configuration, it leaves to the real git.
const realGit = execFileSync('sh', ['-c', 'command -v git'], { encoding: 'utf8' }).trim();
function standInGit(script) {
  const bin = tempDir('utils-stand-in-');
  fs.writeFileSync(path.join(bin, 'git'), `#!/bin/sh\ncase "$1" in rev-parse|config) exec '${realGit}' "$@";; esac\n${script}\n`,
    { mode: 0o755 });
  return bin;
}

// Runs `body` with `bin` first on PATH (or alone on it), and restores PATH once it has settled.
async function withPath(bin, body, alone = false) {
  const saved = process.env.PATH;
  process.env.PATH = alone ? bin : `${bin}${path.delimiter}${saved}`;
  try {
    return await body();
  } finally {
    process.env.PATH = saved;
  }
}

// Runs `fn` (which may return a promise) on `args` in a fresh Node process started with `flags`,
// where a crash, a hang or the memory it takes cannot touch the test runner (TZ=UTC). Returns
// what it returned, through JSON, or how the process ended.
function inChild(fn, args = [], flags = []) {
  const source = `Promise.resolve((${fn})(...${JSON.stringify(args)}))`
    + '.then((value) => process.stdout.write(JSON.stringify(value === undefined ? null : value)));';
  const run = spawnSync(process.execPath, [...flags, '-e', source],
    { encoding: 'utf8', timeout: 120000, env: { ...process.env, TZ: 'UTC' } });
  return run.status === 0 ? JSON.parse(run.stdout) : { status: run.status, signal: run.signal, stderr: run.stderr };
}

// Runs `call` on each face in a child and returns, for each, the digest and length of what it
// answered ({ code } for a rejection, "undefined") and the child's peak memory in MB.
function inChildren(call, ...args) {
  return ['index.js', 'promises.js'].map((entry) => inChild(async (face, source, more) => {
    const value = await Promise.resolve().then(() => eval(source)(require(face), ...more)).catch((e) => ({ code: e.code })); // eslint-disable-line no-eval
    const peak = /VmHWM:\s+(\d+)/.exec(require('fs').readFileSync('/proc/self/status', 'utf8'))[1] / 1024;
    const answer = typeof value === 'string' ? [require('crypto').createHash('sha256').update(value).digest('hex'), value.length] : value;
    return { answer: answer === undefined ? 'undefined' : answer, peak };
  }, [path.join(__dirname, '..', '..', '..', entry), String(call), args]));
}

// Returns whether a process still runs (a zombie waiting to be reaped has ended).
function running(pid) {
  try {
    return !/^\d+ \(.*\) Z/.test(fs.readFileSync(`/proc/${pid}/stat`, 'utf8'));
  } catch (error) {
    try { return process.kill(pid, 0); } catch (gone) { return false; }
  }
}

// Resolves once process `pid` has ended, or after two seconds.
async function ended(pid) {
  for (let i = 0; i < 200 && running(pid); i += 1) await new Promise((resolve) => setTimeout(resolve, 10));
  return !running(pid);
}

module.exports = {
  root: path.join(__dirname, '..', '..', '..'), tempDir, git, makeRepo, commit, standInGit, withPath, inChild, inChildren, running, ended,
};
