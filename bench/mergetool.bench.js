'use strict';
// Times "mtgch" and "mtgcld" on a 4000-line file with a long history against the bare git command
// each runs (`git blame --line-porcelain`, `git log --follow`), through the shell in the same
// folder with its output read in full. Prints median times of alternated runs and their ratios.
const { execSync } = require('child_process');
const utils = require('..');
const { median } = require('./timing');
const { FILE, makeHistory } = require('./history-repo');

const repo = makeHistory(4000, 300);
const bare = (command) => () => execSync(command, { cwd: repo, maxBuffer: 1 << 30 });
const methods = [
  ['mtgch', () => utils.mtgch(FILE, repo, 'ffffff', null), bare(`git blame --line-porcelain HEAD "${FILE}"`)],
  ['mtgcld', () => utils.mtgcld(FILE, repo, ''), bare(`git log --follow --pretty="%h %H %at %s" --name-status "${FILE}"`)],
];
const mid = (list) => list.slice().sort((a, b) => a - b)[Math.floor(list.length / 2)];
process.stdout.write(`a 4000-line file through 300 commits, medians of 15 alternated runs\n`);
for (const [name, method, gitAlone] of methods) {
  if (method() === '') throw new Error(`${name} returned nothing`);
  const times = [[], []];
  // Alternate the two so that drifts of the machine hit both alike.
  for (let i = 0; i < 15; i += 1) {
    times[0].push(median(method, 1));
    times[1].push(median(gitAlone, 1));
  }
  const [ours, git] = times.map(mid);
  process.stdout.write(`  ${name.padEnd(7)} ${ours.toFixed(1).padStart(7)} ms, git alone ${git.toFixed(1).padStart(7)} ms, ratio ${(ours / git).toFixed(3)}\n`);
}
