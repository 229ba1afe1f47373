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

// Installs a stand-in `git` first on PATH: a shell script that appends its arguments and working
// folder to a log, prints `stdout` and `stderr` (bytes or strings) and exits with `status`. With
// `captureLastArgument`, it also keeps a copy of the file its last argument names, as the file
// was when git ran. Returns { calls(), restore() }.
function fakeGit(stdout, { captureLastArgument = false, stderr = '', status = 0 } = {}) {
  const dir = tempDir('utils-fake-git-');
  const output = path.join(dir, 'stdout');
  const errors = path.join(dir, 'stderr');
  const logFile = path.join(dir, 'calls.log');
  fs.writeFileSync(output, stdout);
  fs.writeFileSync(errors, stderr);
  const capture = captureLastArgument
    ? `n=$(($(cat '${logFile}' 2>/dev/null | wc -l) / 2))\nfor last in "$@"; do :; done\nif [ -f "$last" ]; then cp "$last" '${dir}/seen.'$n; fi\n`
    : '';
  fs.writeFileSync(path.join(dir, 'git'),
    `#!/bin/sh\n${capture}printf '%s\\n' "$PWD" >> '${logFile}'\nfor a in "$@"; do printf '[%s]' "$a" >> '${logFile}'; done\nprintf '\\n' >> '${logFile}'\ncat '${output}'\ncat '${errors}' >&2\nexit ${status}\n`,
    { mode: 0o755 });
  const savedPath = process.env.PATH;
  process.env.PATH = `${dir}${path.delimiter}${savedPath}`;
  return {
    // Returns the calls as [{ cwd, args }] in the order they were made, with `seen`, the captured
    // file's content (a Buffer, or null when there was none), when the stand-in captures.
    calls() {
      if (!fs.existsSync(logFile)) return [];
      const lines = fs.readFileSync(logFile, 'utf8').split('\n');
      const calls = [];
      for (let i = 0; i + 1 < lines.length; i += 2) {
        const seenFile = path.join(dir, `seen.${i / 2}`);
        const call = { cwd: lines[i], args: [...lines[i + 1].matchAll(/\[([^\]]*)\]/g)].map((m) => m[1]) };
        if (captureLastArgument) call.seen = fs.existsSync(seenFile) ? fs.readFileSync(seenFile) : null;
        calls.push(call);
      }
      return calls;
    },
    restore() { process.env.PATH = savedPath; },
  };
}

module.exports = { tempDir, git, makeRepo, commit, fakeGit };
