'use strict';
// Times "mtgch" on a 4000-line file with a long history against a bare
// `git blame --line-porcelain HEAD "file"` run through the shell in the same folder, its output
// read in full. Prints median times of repeated runs and their ratio.
const { execSync } = require('child_process');
const utils = require('..');
const { median } = require('./timing');
const { FILE, makeHistory } = require('./history-repo');

const repo = makeHistory(4000, 300);
const bare = () => execSync(`git blame --line-porcelain HEAD "${FILE}"`, { cwd: repo, maxBuffer: 1 << 30 });
const blameBytes = bare().length;
const viewBytes = Buffer.byteLength(utils.mtgch(FILE, repo, 'ffffff', null));
if (viewBytes === 0) throw new Error('mtgch returned nothing');
// Alternate the two so that drifts of the machine hit both alike.
const runs = 15;
const mtgch = [];
const gitAlone = [];
for (let i = 0; i < runs; i += 1) {
  mtgch.push(median(() => utils.mtgch(FILE, repo, 'ffffff', null), 1));
  gitAlone.push(median(bare, 1));
}
const mid = (list) => list.slice().sort((a, b) => a - b)[Math.floor(list.length / 2)];
process.stdout.write(`mtgch on a 4000-line file, 300 commits: ${blameBytes} bytes of blame -> ${viewBytes} bytes of HTML\n`);
process.stdout.write(`  mtgch (git, parsing, markup, conversion)  median ${mid(mtgch).toFixed(1)} ms\n`);
process.stdout.write(`  git blame --line-porcelain alone          median ${mid(gitAlone).toFixed(1)} ms\n`);
process.stdout.write(`  ratio ${(mid(mtgch) / mid(gitAlone)).toFixed(3)}\n`);
