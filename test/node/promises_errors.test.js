'use strict';
// How the promise face fails: each failure rejects with its own code, and an abort or a timeout
// ends git and every process it started before the promise settles.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const promises = require('../../promises');
const { makeRepo, commit, tempDir } = require('./support/repo');

const repo = makeRepo();
commit(repo, { 'a.txt': 'one\n' }, 'first');

test('each failure rejects with a code that says why', async () => {
  const bin = tempDir();
  const table = [
    ['a missing folder', () => promises.mtgch('a.txt', path.join(repo, 'missing'), 'fff', null), { code: 'ENOENT', path: path.join(repo, 'missing') }],
    ['an empty folder name', () => promises.mtgcld('a.txt', '', ''), { code: 'ENOENT', path: '' }],
    ['a file as folder', () => promises.grsh('x', path.join(repo, 'a.txt')), { code: 'ENOTDIR', path: path.join(repo, 'a.txt') }],
    ['no repository', () => promises.mtgcld('a.txt', bin, ''), { code: 'GIT_FAILED', exitCode: 128, stderr: /not a git repository/ }],
    ['a file not in HEAD', () => promises.mtgch('b.txt', repo, 'fff', null), { code: 'GIT_FAILED', exitCode: 128, stderr: /b\.txt/ }],
    ['a refused hunk', () => promises.grdh('not a patch', repo), { code: 'GIT_FAILED', message: /No valid patches/ }],
    ['a zero in a path', () => promises.mtgch('a\0', repo, 'fff', null), { code: 'ERR_INVALID_ARG_VALUE' }],
    ['a lone surrogate in a folder', () => promises.gruh('x', `${repo}\ud800`), { code: 'ERR_INVALID_ARG_VALUE' }],
    ['options of the wrong kind', () => promises.grsh('x', repo, 'fast'), { code: 'ERR_INVALID_ARG_TYPE' }],
    ['a negative timeout', () => promises.grsh('x', repo, { timeout: -1 }), { code: 'ERR_OUT_OF_RANGE' }],
  ];
  for (const [what, call, expected] of table) await assert.rejects(call(), expected, what);
  const saved = process.env.PATH;
  process.env.PATH = bin;
  try {
    await assert.rejects(promises.mtgch('a.txt', repo, 'fff', null), { code: 'ENOENT', path: 'git' }, 'git missing');
  } finally {
    process.env.PATH = saved;
  }
});

test('the patch reaches git apply on its standard input, byte for byte, and no patch file is named', async () => {
  const bin = tempDir();
  fs.writeFileSync(path.join(bin, 'git'), `#!/bin/sh\nprintf '%s\\n' "$@" > '${bin}/args'\ncat > '${bin}/stdin'\n`, { mode: 0o755 });
  const saved = process.env.PATH;
  process.env.PATH = `${bin}${path.delimiter}${saved}`;
  try {
    assert.strictEqual(await promises.grdh('@@ \u00e9\0\ud800\n', repo), true);
  } finally {
    process.env.PATH = saved;
  }
  assert.strictEqual(fs.readFileSync(path.join(bin, 'args'), 'utf8'),
    'apply\n-R\n--ignore-space-change\n--ignore-whitespace\n--whitespace=fix\n');
  assert.deepStrictEqual(fs.readFileSync(path.join(bin, 'stdin')), Buffer.from('@@ \xc3\xa9\0\xed\xa0\x80\n', 'latin1'));
});

// Installs a stand-in git that starts a child (sleep) and waits for it, writing both process ids;
// with `ignoreTerm` both ignore SIGTERM. Returns { pids(), restore() }.
function slowGit({ ignoreTerm = false } = {}) {
  const bin = tempDir();
  const pids = path.join(bin, 'pids');
  fs.writeFileSync(path.join(bin, 'git'),
    `#!/bin/sh\n${ignoreTerm ? "trap '' TERM\n" : ''}sleep 60 &\necho $$ $! > '${pids}.tmp'\nmv '${pids}.tmp' '${pids}'\nwait\n`,
    { mode: 0o755 });
  const saved = process.env.PATH;
  process.env.PATH = `${bin}${path.delimiter}${saved}`;
  return {
    pids: () => (fs.existsSync(pids) ? fs.readFileSync(pids, 'utf8').trim().split(' ').map(Number) : null),
    restore: () => { process.env.PATH = saved; },
  };
}

// Returns whether a process still runs (a zombie waiting to be reaped has ended).
function running(pid) {
  try {
    return !/^\d+ \(.*\) Z/.test(fs.readFileSync(`/proc/${pid}/stat`, 'utf8'));
  } catch (error) {
    try { process.kill(pid, 0); return true; } catch (gone) { return false; }
  }
}

async function started(stand) {
  while (!stand.pids()) await new Promise((resolve) => setTimeout(resolve, 10));
}

test('abort and timeout end git and its children, which are gone when the promise rejects', async () => {
  const cases = [
    ['abort before the run', () => ({ signal: AbortSignal.abort() }), null, 'ABORT_ERR'],
    ['abort during the run', () => new AbortController(), (c) => c.abort(), 'ABORT_ERR'],
    ['timeout', () => ({ timeout: 500 }), null, 'ETIMEDOUT'],
    ['abort of a git that ignores SIGTERM', () => new AbortController(), (c) => c.abort(), 'ABORT_ERR', true],
  ];
  for (const [what, makeOptions, during, code, ignoreTerm] of cases) {
    const stand = slowGit({ ignoreTerm });
    try {
      const options = makeOptions();
      const call = promises.mtgch('a.txt', repo, 'fff', null, options.signal && during ? { signal: options.signal } : options);
      if (during) {
        await started(stand);
        during(options);
      }
      await assert.rejects(call, { code }, what);
      const pids = stand.pids();
      if (during || code === 'ETIMEDOUT') assert.deepStrictEqual(pids.map(running), [false, false], what);
      else assert.strictEqual(pids, null, `${what}: nothing ran`);
    } finally {
      stand.restore();
    }
  }
});
