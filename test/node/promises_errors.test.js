'use strict';
// How the promise face fails: each failure rejects with its own code, and an abort or a timeout
// ends git and every process it started before the promise settles.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const promises = require('../../promises');
const { makeRepo, commit, tempDir, standInGit, withPath, running } = require('./support/repo');

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
    ['an error git prints as it fails', () => withPath(standInGit("echo 'error: x' >&2; exit 1"), () => promises.grsh('x', repo)), { code: 'GIT_FAILED', exitCode: 1, stderr: /error: x/ }],
    ['a zero in a path', () => promises.mtgch('a\0', repo, 'fff', null), { code: 'ERR_INVALID_ARG_VALUE' }],
    ['a lone surrogate in a folder', () => promises.gruh('x', `${repo}\ud800`), { code: 'ERR_INVALID_ARG_VALUE' }],
    ['options of the wrong kind', () => promises.grsh('x', repo, 'fast'), { code: 'ERR_INVALID_ARG_TYPE' }],
    ['a negative timeout', () => promises.grsh('x', repo, { timeout: -1 }), { code: 'ERR_OUT_OF_RANGE' }],
    ['a timeout that is no number', () => promises.grsh('x', repo, { timeout: '10' }), { code: 'ERR_INVALID_ARG_TYPE', message: /"options\.timeout"/ }],
    ['options where contentText belongs', () => promises.mtgch('a.txt', repo, 'fff', { timeout: 1 }), { code: 'ERR_INVALID_ARG_TYPE', message: /"contentText"/ }],
    ['git missing', () => withPath(bin, () => promises.mtgch('a.txt', repo, 'fff', null), true), { code: 'ENOENT', path: 'git' }],
  ];
  for (const [what, call, expected] of table) await assert.rejects(call(), expected, what);
});

test('the patch reaches git apply on its standard input, byte for byte', async () => {
  const seen = path.join(tempDir(), 'stdin');
  assert.strictEqual(await withPath(standInGit(`cat > '${seen}'`), () => promises.grdh('@@ \u00e9\0\ud800\n', repo)), true);
  assert.deepStrictEqual(fs.readFileSync(seen), Buffer.from('@@ \xc3\xa9\0\xed\xa0\x80\n', 'latin1'));
});

test('abort and timeout end git and its children, which are gone when the promise rejects', async () => {
  const cases = [ // what, options, abort while git runs, code, git ignores SIGTERM
    ['abort before the run', { signal: AbortSignal.abort() }, false, 'ABORT_ERR'],
    ['abort during the run', new AbortController(), true, 'ABORT_ERR'],
    ['timeout', { timeout: 500 }, false, 'ETIMEDOUT'],
    ['abort of a git that ignores SIGTERM', new AbortController(), true, 'ABORT_ERR', true],
  ];
  for (const [what, options, abortDuring, code, ignoreTerm] of cases) {
    // A stand-in git that starts a child (its output elsewhere, so only the kill of the whole
    // group ends it in time) and waits for it, having written both process ids.
    const pidFile = path.join(tempDir(), 'pids');
    const bin = standInGit(`${ignoreTerm ? "trap '' TERM\n" : ''}sleep 60 >/dev/null 2>&1 &\n`
      + `echo $$ $! > '${pidFile}.new'\nmv '${pidFile}.new' '${pidFile}'\nwait`);
    await withPath(bin, async () => {
      const call = promises.mtgch('a.txt', repo, 'fff', null, abortDuring ? { signal: options.signal } : options);
      let settled = false; // a call that never starts git must fail the test, not hang it
      call.then(() => {}, () => {}).then(() => { settled = true; });
      while (abortDuring && !settled && !fs.existsSync(pidFile)) await new Promise((resolve) => setTimeout(resolve, 10));
      if (abortDuring) options.abort();
      await assert.rejects(call, { code }, what);
    });
    if (options.signal && !abortDuring) assert.ok(!fs.existsSync(pidFile), `${what}: nothing ran`);
    else assert.deepStrictEqual(fs.readFileSync(pidFile, 'utf8').trim().split(' ').map(Number).map(running), [false, false], what);
  }
});

// A hunk call that waits for the one before it in the same repository settles as soon as it is
// aborted or its time is up, and never runs.
test('a queued hunk call settles at once when aborted or timed out', async () => {
  const order = [];
  await withPath(standInGit('sleep 1'), async () => {
    const controller = new AbortController();
    setTimeout(() => controller.abort(), 50);
    await Promise.all([
      promises.grsh('x', repo).then(() => order.push('first')),
      assert.rejects(promises.grsh('x', repo, { signal: controller.signal }), { code: 'ABORT_ERR' }).then(() => order.push('aborted')),
      assert.rejects(promises.grsh('x', repo, { timeout: 100 }), { code: 'ETIMEDOUT', timeout: 100 }).then(() => order.push('timed out')),
    ]);
  });
  assert.deepStrictEqual([order.slice(0, 2).sort(), order[2]], [['aborted', 'timed out'], 'first']);
});
