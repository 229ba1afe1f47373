'use strict';
// The promise face against the synchronous add-on, in one run, on a real file of a few thousand
// lines: the longest pause of the event loop (the largest gap between ticks of a 1 ms interval
// timer) while four "mtgch" calls run, synchronous ones in a row or promise ones all in flight;
// and the time of four concurrent promise calls against the same four one after another.
const { performance } = require('perf_hooks');
const sync = require('..');
const promises = require('../promises');
const { FILE, makeHistory } = require('./history-repo');

const CALLS = 4;
const ROUNDS = 7;
const repo = makeHistory(3000, 100);
const args = [FILE, repo, 'ffffff', null];

const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

// Resolves to the largest gap between ticks of a 1 ms interval timer while `work` runs.
async function longestPause(work) {
  let last = performance.now();
  let longest = 0;
  const timer = setInterval(() => {
    const now = performance.now();
    longest = Math.max(longest, now - last);
    last = now;
  }, 1);
  await pause(20);
  last = performance.now();
  longest = 0;
  await work();
  await pause(5); // one more tick, so a pause that lasted to the end is counted
  clearInterval(timer);
  return longest;
}

// Resolves to the time `work` takes, in milliseconds.
async function elapsed(work) {
  const start = performance.now();
  await work();
  return performance.now() - start;
}

const syncInARow = async () => {
  await pause(2);
  for (let i = 0; i < CALLS; i += 1) sync.mtgch(...args);
};
const promisesInFlight = () => Promise.all(Array.from({ length: CALLS }, () => promises.mtgch(...args)));
const promisesInARow = async () => {
  for (let i = 0; i < CALLS; i += 1) await promises.mtgch(...args);
};

const median = (list) => list.slice().sort((a, b) => a - b)[Math.floor(list.length / 2)];

(async () => {
  const expected = sync.mtgch(...args);
  if (expected === '' || (await promises.mtgch(...args)) !== expected) throw new Error('the two faces disagree');
  const figures = { syncPause: [], promisePause: [], concurrent: [], sequential: [], syncSequential: [] };
  // Interleaved rounds, so that drifts of a shared machine hit every figure alike.
  for (let round = 0; round < ROUNDS; round += 1) {
    if (global.gc) global.gc();
    figures.syncPause.push(await longestPause(syncInARow));
    figures.promisePause.push(await longestPause(promisesInFlight));
    figures.concurrent.push(await elapsed(promisesInFlight));
    figures.sequential.push(await elapsed(promisesInARow));
    figures.syncSequential.push(await elapsed(syncInARow));
  }
  const lines = (await promises.mtgch(...args)).split("<div class='line'").length - 1;
  const m = Object.fromEntries(Object.entries(figures).map(([name, list]) => [name, median(list)]));
  const worst = (name) => Math.max(...figures[name]).toFixed(1);
  process.stdout.write(`${CALLS} x mtgch on a ${lines}-line file, 100 commits (median of ${ROUNDS} rounds, worst in brackets)\n`);
  process.stdout.write(`  longest event-loop pause, synchronous calls in a row    ${m.syncPause.toFixed(1)} ms (${worst('syncPause')})\n`);
  process.stdout.write(`  longest event-loop pause, promise calls in flight        ${m.promisePause.toFixed(1)} ms (${worst('promisePause')})\n`);
  process.stdout.write(`  promise calls: concurrent ${m.concurrent.toFixed(1)} ms, one after another ${m.sequential.toFixed(1)} ms, ratio ${(m.concurrent / m.sequential).toFixed(2)}\n`);
  process.stdout.write(`  synchronous calls one after another                      ${m.syncSequential.toFixed(1)} ms\n`);
})().catch((error) => {
  process.stderr.write(`${error.stack}\n`);
  process.exit(1);
});
