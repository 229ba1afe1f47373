'use strict';
// Calls every method of the add-on a few times on small inputs, real git included, so that a run
// under valgrind (scripts/valgrind.js) passes through each of them. Exits non-zero when a call
// gives a result of the wrong kind; the checks of the results themselves live in test/node.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { execFileSync } = require('child_process');
const utils = require('../..');

const repo = fs.realpathSync(fs.mkdtempSync(path.join(os.tmpdir(), 'utils-valgrind-')));
const env = {
  ...process.env,
  GIT_AUTHOR_NAME: 'A', GIT_AUTHOR_EMAIL: 'a@example.com',
  GIT_COMMITTER_NAME: 'C', GIT_COMMITTER_EMAIL: 'c@example.com',
  GIT_AUTHOR_DATE: '1600000000 +0000', GIT_COMMITTER_DATE: '1600000000 +0000',
  GIT_CONFIG_NOSYSTEM: '1',
};
const git = (...args) => execFileSync('git', args, { cwd: repo, env, encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] });

let failures = 0;
function call(name, args, kind) {
  const result = utils[name](...args);
  if (kind && typeof result !== kind) {
    failures += 1;
    process.stderr.write(`valgrind sample: ${name} gave ${typeof result}, expected ${kind}\n`);
  }
  return result;
}

try {
  git('init', '-q', '-b', 'main');
  fs.writeFileSync(path.join(repo, 'a.txt'), 'one\ntwo #aabbcc\nthree\n');
  git('add', '.');
  git('commit', '-q', '-m', 'First');
  git('mv', 'a.txt', 'b.txt');
  fs.appendFileSync(path.join(repo, 'b.txt'), 'four rgb(1, 2, 3)\r\n');
  git('commit', '-q', '-am', 'Rename and grow');

  const diff = '@@ -1,2 +1,2 @@\n-old #123456\n+new rgba(1,2,3,0.5)\n context\n\\ No newline at end of file\n';
  for (const flags of [[false, false], [true, true], [true, false]]) call('cd', [diff, ...flags], 'string');
  call('cd', [diff.repeat(300), true, true], 'string');
  call('cd', [`+${'x'.repeat(15000)}\n-y`, true, true], 'string');
  call('cd', [diff.repeat(2000), true, true], 'string');
  call('cd', [diff], 'undefined');
  call('smc', ['<<<<<<< HEAD\na < b && c\n=======\n>>>>>>>> x\n'], 'string');
  call('smc', [], 'string');
  call('gafh', [], 'string');

  fs.appendFileSync(path.join(repo, 'b.txt'), 'five\n');
  const patch = git('diff');
  call('grsh', [patch, repo], 'boolean');
  call('gruh', [patch, repo], 'boolean');
  call('grdh', [patch, repo], 'boolean');
  call('grsh', ['not a patch', repo], 'boolean');
  call('grsh', [patch, path.join(repo, 'missing')], 'boolean');

  const head = git('rev-parse', '--short', 'HEAD').trim();
  call('mtgcld', ['b.txt', repo, head], 'string');
  call('mtgcld', ['missing.txt', repo, ''], 'string');
  call('mtgcld', ['b.txt', path.join(repo, 'missing'), head], 'string');
  call('mtgch', ['b.txt', repo, 'ffffff', null], 'string');
  call('mtgch', ['b.txt', repo, '000000', 'x\ny\n'], 'string');
  call('mtgch', ['b.txt', repo, 'zz'], 'string');
  call('mtgch', ['b.txt', repo, '', 'only one line'], 'string');
  call('mtgch', ['missing.txt', repo, 'ffffff', null], 'string');
} finally {
  fs.rmSync(repo, { recursive: true, force: true });
}
process.exit(failures === 0 ? 0 : 1);
