'use strict';
// Times "mtgch" on a 4000-line file with a long history against a bare
// `git blame --line-porcelain HEAD "file"` run through the shell in the same folder, its output
// read in full. Prints median times of repeated runs and their ratio.
const { execSync } = require('child_process');
const utils = require('..');
const { median } = require('./timing');
const { makeRepo, git } = require('../test/node/support/repo');

const FILE = 'src/components/merge tool/big file.txt';

// Returns a repository whose FILE went through `commits` commits by several authors.
function makeHistory(lines, commits) {
  const repo = makeRepo();
  let seed = 4242;
  const next = () => { seed = (seed * 1103515245 + 12345) % 2147483648; return seed; };
  const authors = ['Ann Author <ann@example.com>', 'Bo B\u00f6rk <bo@example.com>', 'Chen Wei <chen@example.com>'];
  const file = Array.from({ length: lines }, (_, i) => `  const value${i} = compute(${i}); // <&> line`);
  const parts = [];
  for (let c = 0; c < commits; c += 1) {
    if (c > 0) for (let k = 0; k < lines / 20; k += 1) file[next() % lines] = `  changed(${c}, ${next() % 1000});`;
    const content = Buffer.from(`${file.join('\n')}\n`);
    const who = authors[next() % authors.length];
    const when = `${1600000000 + c * 3600} +0000`;
    const message = Buffer.from(c === 0 ? 'first' : `Change ${c}: rewrite a few lines`);
    parts.push(Buffer.from(`commit refs/heads/main\nmark :${c + 1}\nauthor ${who} ${when}\ncommitter ${who} ${when}\n`
      + `data ${message.length}\n`), message, Buffer.from(`\n${c > 0 ? `from :${c}\n` : ''}M 100644 inline ${FILE}\n`
      + `data ${content.length}\n`), content, Buffer.from('\n'));
  }
  git(repo, ['fast-import', '--quiet'], { input: Buffer.concat(parts) });
  return repo;
}

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
