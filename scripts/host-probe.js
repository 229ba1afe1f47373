'use strict';
// Calls every method of both faces of the add-on in PACKAGE on one fixed set of inputs (a real
// repository made here with a file that is not UTF-8, text of every kind of character, hunks
// staged, unstaged and discarded) and prints one line of JSON: [label, digest] for every result, and for a hunk what it left in the
// index and the work tree. scripts/host-check.js runs it under each Node release and compares.
// Written for the oldest host (Node 10.11): ES2018, nothing newer. Usage: host-probe.js PACKAGE
const crypto = require('crypto');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { execFileSync } = require('child_process');

const root = path.resolve(process.argv[2]);
const sync = require(root);
const promises = require(path.join(root, 'promises'));

const work = fs.mkdtempSync(path.join(os.tmpdir(), 'utils-host-probe-'));
process.on('exit', () => execFileSync('rm', ['-rf', work]));

const gitEnv = Object.assign({}, process.env, {
  GIT_AUTHOR_NAME: 'Probe', GIT_AUTHOR_EMAIL: 'probe@example.com', GIT_COMMITTER_NAME: 'Probe',
  GIT_COMMITTER_EMAIL: 'probe@example.com', GIT_CONFIG_NOSYSTEM: '1', HOME: work, TZ: 'UTC',
});
function git(repo, args, date) {
  const env = date ? Object.assign({}, gitEnv, { GIT_AUTHOR_DATE: `${date} +0000`, GIT_COMMITTER_DATE: `${date} +0000` }) : gitEnv;
  return execFileSync('git', args, { cwd: repo, env, encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] });
}
function commit(repo, files, message, date) {
  Object.keys(files).forEach((file) => {
    fs.writeFileSync(path.join(repo, file), files[file]);
    git(repo, ['add', '--', file]);
  });
  git(repo, ['commit', '-q', '-m', message], date);
}
function makeRepo(name) {
  const repo = path.join(work, name);
  fs.mkdirSync(repo);
  git(repo, ['init', '-q']);
  git(repo, ['config', 'core.autocrlf', 'false']);
  return repo;
}

// A result as the bytes of its UTF-16 code units (a lone surrogate included), digested.
function digest(value) {
  if (typeof value !== 'string') return String(value);
  return `${value.length}:${crypto.createHash('sha256').update(Buffer.from(value, 'utf16le')).digest('hex').slice(0, 16)}`;
}

const pieces = ['+', '-', '@@ -1,2 +1,3 @@', '\n', '\r\n', '#abcdef', 'rgb(1, 2, 3)', '\\ No newline at end of file',
  '<<<<<<< HEAD', '=======', '>>>>>>> b', '<', '&', '\u00e9', '\u00ff', '\u20ac', '\ud83d\ude00', '\ud800', '\udc00', 'x', ' '];
const texts = pieces.concat([pieces.join(''), `a\0b`, pieces.join('\n').repeat(4000), `+${'\u00ff'.repeat(300000)}`,
  `-${'w'.repeat(12000)}\n${'\u4e2d'.repeat(200000)}`]);

async function main() {
  const results = [];
  const record = (label, value) => results.push([label, digest(value)]);
  const both = async (name, args, label) => {
    record(`sync ${label}`, sync[name].apply(null, args));
    try {
      record(`promises ${label}`, await promises[name].apply(null, args));
    } catch (error) {
      record(`promises ${label}`, `rejected ${error.code}`);
    }
  };

  texts.forEach((text, i) => {
    record(`smc ${i}`, sync.smc(text));
    record(`cd ${i}`, sync.cd(text, true, true));
    record(`cd plain ${i}`, sync.cd(text, 0, ''));
  });
  for (let i = 0; i < texts.length; i += 1) {
    record(`promises smc ${i}`, await promises.smc(texts[i]));
    record(`promises cd ${i}`, await promises.cd(texts[i], true, true));
  }
  await both('gafh', [], 'gafh');
  await both('cd', ['+a', true], 'cd two arguments');
  await both('smc', [{ toString() { throw new Error('no'); } }], 'smc throwing');

  const repo = makeRepo('odd \'"$` folder');
  commit(repo, { 'a.txt': 'one\n\ntwo <&>\r\nthree #ff0000\n', 'b.txt': Buffer.from('b \xe9\xff\n', 'latin1') }, 'first <&> \'"', 1500000000);
  git(repo, ['mv', 'a.txt', 'moved \u00e9.txt']);
  commit(repo, { 'moved \u00e9.txt': 'one\nTWO\n\nthree\n', '-dash.txt': 'x\n' }, `second ${'long '.repeat(30)}`, 1600000000);
  const head = git(repo, ['rev-parse', '--short', 'HEAD']).trim();
  for (const file of ['moved \u00e9.txt', 'b.txt', '-dash.txt', 'missing.txt']) {
    await both('mtgcld', [file, repo, head], `mtgcld ${file}`);
    await both('mtgch', [file, repo, 'ffffff', null], `mtgch ${file}`);
    await both('mtgch', [file, repo, '000000', 'x\n\u00e9\ud800\n'], `mtgch content ${file}`);
  }
  await both('mtgch', ['b.txt', path.join(repo, 'missing'), 'fff', null], 'mtgch missing folder');

  for (const face of ['sync', 'promises']) {
    const hunks = makeRepo(`hunks ${face}`);
    const lines = (edit) => Array.from({ length: 30 }, (_, i) => `${edit[i] || `line ${i} caf\u00e9`}\r\n`).join('');
    commit(hunks, { 'f.txt': lines({}) }, 'base', 1600000000);
    fs.writeFileSync(path.join(hunks, 'f.txt'), `${lines({ 2: 'first', 20: 'second' })}no final line feed`);
    const diff = git(hunks, ['diff']).replace(/^index .*\n/m, '');
    const header = diff.slice(0, diff.indexOf('@@'));
    const patch = header + diff.slice(diff.lastIndexOf('\n@@') + 1);
    for (const name of ['grsh', 'gruh', 'grsh', 'grdh', 'grdh']) {
      let answer;
      try {
        answer = face === 'sync' ? sync[name](patch, hunks) : await promises[name](patch, hunks);
      } catch (error) {
        answer = `rejected ${error.code}`;
      }
      results.push([`${name} answer`, String(answer)]);
      record(`${name} index`, git(hunks, ['diff', '--cached']));
      record(`${name} tree`, git(hunks, ['diff']));
    }
  }

  const sameInWorkers = await inWorkers(results);
  if (sameInWorkers !== null) results.push(['sync face in two workers at once', sameInWorkers]);
  process.stdout.write(`${JSON.stringify(results)}\n`);
}

// Returns whether the synchronous face gives the main thread's text results in two workers at
// once, or null where the host has no workers.
function inWorkers(results) {
  let Worker;
  try {
    Worker = require('worker_threads').Worker;
  } catch (error) {
    return Promise.resolve(null);
  }
  const source = `const { parentPort, workerData } = require('worker_threads');
    const crypto = require('crypto'); const u = require(workerData.root);
    const d = (v) => v.length + ':' + crypto.createHash('sha256').update(Buffer.from(v, 'utf16le')).digest('hex').slice(0, 16);
    parentPort.postMessage(workerData.texts.map((t) => [d(u.smc(t)), d(u.cd(t, true, true))]));`;
  const expected = JSON.stringify(texts.map((text, i) => [results[3 * i][1], results[3 * i + 1][1]]));
  const one = () => new Promise((resolve, reject) => {
    const worker = new Worker(source, { eval: true, workerData: { root, texts } });
    worker.once('message', (got) => resolve(JSON.stringify(got) === expected));
    worker.once('error', reject);
  });
  return Promise.all([one(), one()]).then((same) => same.every(Boolean));
}

main().catch((error) => {
  process.stderr.write(`${error.stack}\n`);
  process.exit(1);
});
