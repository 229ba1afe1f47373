'use strict';
// Calls every method of both faces on small inputs and real git, a worker thread included, so
// that a run under valgrind (scripts/valgrind.js) passes through each conversion, render and
// promise settling. Exits non-zero when a call answers with the wrong kind of result; what the
// results hold is test/node's to check.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { execFileSync } = require('child_process');
const { Worker } = require('worker_threads');
const sync = require('../..');
const promises = require('../../promises');

const repo = fs.realpathSync(fs.mkdtempSync(path.join(os.tmpdir(), 'utils-valgrind-')));
const env = { ...process.env, GIT_AUTHOR_NAME: 'A', GIT_AUTHOR_EMAIL: 'a@example.com', GIT_COMMITTER_NAME: 'C',
  GIT_COMMITTER_EMAIL: 'c@example.com', GIT_CONFIG_NOSYSTEM: '1' };
const git = (...args) => execFileSync('git', args, { cwd: repo, env, encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] });
const kind = (value) => (typeof value === 'string' ? 'string' : String(value));

let failures = 0;
async function call(name, args, expected) {
  const answers = [kind(sync[name](...args)), await promises[name](...args).then(kind, (error) => error.code)];
  if (answers[0] !== expected[0] || answers[1] !== expected[1]) {
    failures += 1;
    process.stderr.write(`valgrind sample: ${name} answered ${answers}, expected ${expected}\n`);
  }
}

(async () => {
  git('init', '-q', '-b', 'main');
  fs.writeFileSync(path.join(repo, 'a.txt'), 'one\ntwo #aabbcc\nthree\n');
  git('add', '.');
  git('commit', '-q', '-m', 'First');
  git('mv', 'a.txt', 'b.txt');
  git('commit', '-q', '-m', 'Rename');
  const diff = '@@ -1,2 +1,2 @@\n-old #123456\n+new \u00e9 rgba(1,2,3,0.5)\n context\n\\ No newline at end of file\n';
  const STR = ['string', 'string'];
  for (const text of [diff, diff.repeat(3000), `+${'x'.repeat(15000)}\n-y`]) await call('cd', [text, true, true], STR);
  await call('cd', [diff], ['undefined', 'undefined']);
  await call('smc', ['<<<<<<< HEAD\na < b\ud800\0\n'.repeat(500)], STR);
  await call('gafh', [], STR);
  fs.appendFileSync(path.join(repo, 'b.txt'), 'four\n');
  const patch = git('diff');
  // The synchronous face applies the hunk; the promise face, coming second, finds it applied.
  for (const name of ['grsh', 'gruh']) await call(name, [patch, repo], ['true', 'GIT_FAILED']);
  await call('grdh', ['not a patch', repo], ['false', 'GIT_FAILED']);
  await call('mtgcld', ['b.txt', repo, ''], STR);
  await call('mtgch', ['b.txt', repo, 'ffffff', null], STR);
  await call('mtgch', ['b.txt', repo, '000000', 'x\ny\n'], STR);
  await call('mtgch', ['missing.txt', repo, 'ffffff', null], ['string', 'GIT_FAILED']);
  const worker = new Worker(`require(${JSON.stringify(require.resolve('../../promises'))}).smc('<&>')
    .then((html) => require('worker_threads').parentPort.postMessage(html));`, { eval: true });
  if (await new Promise((resolve) => worker.once('message', resolve)) !== '&lt;&amp;&gt;') failures += 1;
})().finally(() => fs.rmSync(repo, { recursive: true, force: true }))
  .then(() => process.exit(failures === 0 ? 0 : 1), (error) => {
    process.stderr.write(`${error.stack}\n`);
    process.exit(1);
  });
