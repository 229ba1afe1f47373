'use strict';
// Temporary git repositories and stand-in git commands for the Node tests.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { execFileSync } = require('child_process');

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
    git(repo, ['add', '--', file]);
  }
  const stamp = `${date} +0000`;
  git(repo, ['commit', '-q', '--allow-empty', '--allow-empty-message', '-m', message],
    { env: { GIT_AUTHOR_DATE: stamp, GIT_COMMITTER_DATE: stamp } });
  return git(repo, ['rev-parse', 'HEAD']).trim();
}

// Installs a stand-in `git` first on PATH that accepts anything and prints nothing. It records
// each call's folder and arguments, and a copy of the file its last argument names as it was then.
// Returns { calls() ([{ cwd, args, seen }], `seen` a Buffer or null), restore() }.
function fakeGit() {
  const dir = tempDir('utils-fake-git-');
  fs.writeFileSync(path.join(dir, 'git'), `#!/bin/sh\nn=$(ls '${dir}' | grep -c '^call')\n`
    + `{ printf '%s\\0' "$PWD" "$@"; } > '${dir}/call.'$n\nfor last in "$@"; do :; done\n`
    + `if [ -f "$last" ]; then cp "$last" '${dir}/seen.'$n; fi\n`, { mode: 0o755 });
  const savedPath = process.env.PATH;
  process.env.PATH = `${dir}${path.delimiter}${savedPath}`;
  return {
    calls: () => fs.readdirSync(dir).filter((name) => name.startsWith('call.')).sort((a, b) => a.slice(5) - b.slice(5))
      .map((name) => {
        const [cwd, ...args] = fs.readFileSync(path.join(dir, name), 'utf8').split('\0').slice(0, -1);
        const seen = path.join(dir, `seen.${name.slice(5)}`);
        return { cwd, args, seen: fs.existsSync(seen) ? fs.readFileSync(seen) : null };
      }),
    restore() { process.env.PATH = savedPath; },
  };
}

module.exports = { tempDir, git, makeRepo, commit, fakeGit };
