'use strict';
// Makes the benchmarks' repository: one file of `lines` lines that went through `commits` commits
// by several authors, each commit rewriting a twentieth of its lines, written with git fast-import.
const { makeRepo, git } = require('../test/node/support/repo');

const FILE = 'src/components/merge tool/big file.txt';

// Returns the path of a new repository holding FILE with that history.
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
  // `git log --follow` wants the path in the work tree.
  git(repo, ['reset', '-q', '--hard']);
  return repo;
}

module.exports = { FILE, makeHistory };
