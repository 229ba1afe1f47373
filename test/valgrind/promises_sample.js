'use strict';
// Calls every method of the promise face a few times on small inputs, real git and a worker
// thread included, so that a run under valgrind (scripts/valgrind.js) passes through the
// binding's conversions, its renders on the thread pool and its promise settling. Exits non-zero
// when a call settles the wrong way; the checks of the results themselves live in test/node.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { execFileSync } = require('child_process');
const { Worker } = require('worker_threads');
const promises = require('../../promises');

const repo = fs.realpathSync(fs.mkdtempSync(path.join(os.tmpdir(), 'utils-valgrind-promises-')));
const env = { ...process.env, GIT_AUTHOR_NAME: 'A', GIT_AUTHOR_EMAIL: 'a@example.com', GIT_COMMITTER_NAME: 'C',
  GIT_COMMITTER_EMAIL: 'c@example.com', GIT_CONFIG_NOSYSTEM: '1' };
const git = (...args) => execFileSync('git', args, { cwd: repo, env, encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] });

let failures = 0;
async function call(name, args, expected) {
  const settled = await promises[name](...args).then((value) => typeof value, (error) => error.code);
  if (settled !== expected) {
    failures += 1;
    process.stderr.write(`valgrind sample: ${name} settled as ${settled}, expected ${expected}\n`);
  }
}

(async () => {
  git('init', '-q', '-b', 'main');
  fs.writeFileSync(path.join(repo, 'a.txt'), 'one\ntwo #aabbcc\nthree\n');
  git('add', '.');
  git('commit', '-q', '-m', 'First');
  const diff = '@@ -1,2 +1,2 @@\n-old #123456\n+new \u00e9 rgba(1,2,3,0.5)\n context\n';
  await call('cd', [diff, true, true], 'string');
  await call('cd', [diff.repeat(400), true, false], 'string');
  await call('cd', [diff], 'undefined');
  await call('smc', ['<<<<<<< HEAD\na < b\ud800\0\n'.repeat(500)], 'string');
  await call('gafh', [], 'string');
  fs.appendFileSync(path.join(repo, 'a.txt'), 'four\n');
  const patch = git('diff');
  await call('grsh', [patch, repo], 'boolean');
  await call('gruh', [patch, repo], 'boolean');
  await call('grdh', ['not a patch', repo], 'GIT_FAILED');
  await call('mtgcld', ['a.txt', repo, ''], 'string');
  await call('mtgch', ['a.txt', repo, 'ffffff', null], 'string');
  await call('mtgch', ['a.txt', repo, '000000', 'x\ny\n', { timeout: 60000 }], 'string');
  await call('mtgch', ['b.txt', repo, 'ffffff', null], 'GIT_FAILED');
  await call('mtgch', ['a.txt', repo, 'ffffff', null, { signal: AbortSignal.abort() }], 'ABORT_ERR');
  const inWorker = new Worker(`require(${JSON.stringify(require.resolve('../../promises'))}).smc('<&>')
    .then((html) => require('worker_threads').parentPort.postMessage(html));`, { eval: true });
  const html = await new Promise((resolve) => inWorker.once('message', resolve));
  if (html !== '&lt;&amp;&gt;') failures += 1;
})().finally(() => {
  fs.rmSync(repo, { recursive: true, force: true });
}).then(() => process.exit(failures === 0 ? 0 : 1), (error) => {
  process.stderr.write(`${error.stack}\n`);
  process.exit(1);
});
