'use strict';
// The promise face is context-aware: it loads in the main thread and in two workers at once,
// beside the synchronous add-on, and gives the same results in each.
const test = require('node:test');
const assert = require('node:assert');
const path = require('path');
const { Worker } = require('worker_threads');
const sync = require('../..');
const { makeRepo, commit } = require('./support/repo');

const root = path.join(__dirname, '..', '..');

// Runs every method of the promise face once and resolves to the results, in the thread it runs in.
async function results({ root: packageRoot, repo }) {
  const promises = require(require('path').join(packageRoot, 'promises.js'));
  const diff = `@@ -1 +1 @@\n-a #123456\n+b \u00e9 rgb(1, 2, 3)\n${'+x\n'.repeat(5000)}`;
  return Promise.all([
    promises.cd(diff, true, true), promises.smc('<<<<<<< a\n<&>\n'), promises.gafh(),
    promises.mtgcld('a.txt', repo, ''), promises.mtgch('a.txt', repo, 'ffffff', null),
    promises.mtgch('a.txt', repo, '000000', 'x\n'), promises.grsh('not a patch', repo).catch((error) => error.code),
  ]);
}

test('main thread and two workers at once give identical results', async () => {
  const repo = makeRepo();
  commit(repo, { 'a.txt': 'one\ntwo <&>\n' }, 'first');
  commit(repo, { 'a.txt': 'one\n2\nthree\n' }, 'second');
  const data = { root, repo };
  const inWorker = () => new Promise((resolve, reject) => {
    const worker = new Worker(`const { parentPort, workerData } = require('worker_threads');
      (${results})(workerData).then((value) => parentPort.postMessage(value));`, { eval: true, workerData: data });
    worker.once('message', resolve);
    worker.once('error', reject);
  });
  const [main, first, second] = await Promise.all([results(data), inWorker(), inWorker()]);
  assert.deepStrictEqual(first, main);
  assert.deepStrictEqual(second, main);
  assert.strictEqual(main[4], sync.mtgch('a.txt', repo, 'ffffff', null));
  assert.strictEqual(main[6], 'GIT_FAILED');
});
