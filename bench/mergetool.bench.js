'use strict';
// Times the git-running methods against the bare git command each runs, through the shell in the
// same folder with its output read in full: "mtgch" and "mtgcld" on a 4000-line file with a long
// history (`git blame --line-porcelain`, `git log --follow`), and a hunk staged and unstaged
// ("grsh" then "gruh") on a small repository (`git apply --cached`, then with -R, the patch on
// standard input). Prints median times of alternated runs and their ratios. With
// UTILS_BENCH_OTHER naming another build's package folder, its methods are alternated too.
const fs = require('fs');
const path = require('path');
const { execSync } = require('child_process');
const utils = require('..');
const { median } = require('./timing');
const { FILE, makeHistory } = require('./history-repo');
const { makeRepo, commit, git } = require('../test/node/support/repo');

const other = process.env.UTILS_BENCH_OTHER ? require(process.env.UTILS_BENCH_OTHER) : null;
const repo = makeHistory(4000, 300);
const small = makeRepo();
commit(small, { 'f.txt': 'one\ntwo\nthree\n' }, 'first');
fs.writeFileSync(path.join(small, 'f.txt'), 'one\n2\nthree\n');
const patch = git(small, ['diff']);
const apply = '--ignore-space-change --ignore-whitespace --whitespace=nowarn --cached';

const bare = (command, folder, input) => () => execSync(command, { cwd: folder, input, maxBuffer: 1 << 30 });
const both = (face) => () => {
  if (!face.grsh(patch, small) || !face.gruh(patch, small)) throw new Error('the hunk did not move');
};
const methods = [
  ['mtgch', (face) => () => face.mtgch(FILE, repo, 'ffffff', null), bare(`git blame --line-porcelain HEAD -- "${FILE}"`, repo)],
  ['mtgcld', (face) => () => face.mtgcld(FILE, repo, ''),
    bare(`git log --follow --pretty="%h %H %at %s" --name-status -- "${FILE}"`, repo)],
  ['grsh+gruh', both, () => {
    bare(`git apply ${apply}`, small, patch)();
    bare(`git apply -R ${apply}`, small, patch)();
  }],
];
const mid = (list) => list.slice().sort((a, b) => a - b)[Math.floor(list.length / 2)];
process.stdout.write('a 4000-line file through 300 commits, and a hunk of a small repository; medians of 15 alternated runs\n');
for (const [name, method, gitAlone] of methods) {
  const runs = [method(utils), gitAlone, ...(other ? [method(other)] : [])];
  if (runs[0]() === '') throw new Error(`${name} returned nothing`);
  const times = runs.map(() => []);
  // Alternate them, so that drifts of the machine hit all alike.
  for (let i = 0; i < 15; i += 1) runs.forEach((run, k) => times[k].push(median(run, 1)));
  const [ours, git, before] = times.map(mid);
  process.stdout.write(`  ${name.padEnd(9)} ${ours.toFixed(1).padStart(7)} ms, git alone ${git.toFixed(1).padStart(7)} ms, ratio ${(ours / git).toFixed(3)}`
    + `${other ? `; other build ${before.toFixed(1)} ms, ratio ${(before / git).toFixed(3)}` : ''}\n`);
}
