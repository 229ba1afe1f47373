'use strict';
// Times "cd" from Node on a real diff of over a megabyte, string conversion included, beside the
// same six passes written with JavaScript regular expressions, and beside the bare string round
// trip through the add-on ("smc" on texts free of "&", "<" and ">", of the diff's and of the
// result's size). Prints median times of repeated runs.
const utils = require('..');
const { median } = require('./timing');
const { makeRepo, commit, git } = require('../test/node/support/repo');
const js = require('../test/node/support/color_diff_js');

function makeDiff() {
  const repo = makeRepo();
  let seed = 11;
  const next = () => { seed = (seed * 1103515245 + 12345) % 2147483648; return seed; };
  const words = ['value', 'render', 'größe', 'naïve', '件数', 'hunk', 'stage', 'colour', '€uro', 'branch'];
  const line = () => {
    const w = words[next() % words.length];
    switch (next() % 5) {
      case 0: return `  color: #${(next() % 0xffffff).toString(16).padStart(6, '0')}; /* ${w} */`;
      case 1: return `  background: rgba(${next() % 256}, ${next() % 256}, ${next() % 256}, 0.${next() % 10});`;
      case 2: return `  const ${w}${next() % 1000} = compute(${w}, ${next() % 50});`;
      case 3: return '';
      default: return `  // ${w} ${words[next() % words.length]} ${w}`;
    }
  };
  const files = {};
  for (let f = 0; f < 40; f += 1) files[`src/file${f}.css`] = Array.from({ length: 1500 }, line).join('\n');
  commit(repo, files, 'one');
  for (const name of Object.keys(files)) {
    files[name] = files[name].split('\n').map((l) => (next() % 3 === 0 ? line() : l)).join('\n');
  }
  commit(repo, files, 'two');
  return git(repo, ['diff', '--no-color', 'HEAD~1', 'HEAD']);
}

const diff = makeDiff();
const bytes = Buffer.byteLength(diff);
const result = utils.cd(diff, true, true);
if (result !== js.colorDiff(diff, true, true)) throw new Error('cd and the JavaScript passes disagree');
const plainIn = diff.replace(/[&<>]/g, '_');
const plainOut = result.replace(/[&<>]/g, '_');

const rows = [
  ['cd (native, with conversion)', median(() => utils.cd(diff, true, true), 21)],
  ['JavaScript regex passes', median(() => js.colorDiff(diff, true, true), 21)],
  [`string round trip, ${bytes} bytes`, median(() => utils.smc(plainIn), 21)],
  [`string round trip, ${Buffer.byteLength(result)} bytes`, median(() => utils.smc(plainOut), 21)],
];
process.stdout.write(`colorDiff from Node: ${bytes}-byte git diff -> ${Buffer.byteLength(result)} bytes of HTML\n`);
for (const [name, ms] of rows) {
  process.stdout.write(`  ${name.padEnd(40)} ${ms.toFixed(2).padStart(8)} ms  ${(bytes / 1048576 / (ms / 1000)).toFixed(0).padStart(6)} MB/s of diff\n`);
}
process.stdout.write(`  cd is ${(rows[1][1] / rows[0][1]).toFixed(1)}x the speed of the JavaScript passes\n`);
