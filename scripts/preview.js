'use strict';
// `npm start [repository] [file]`: writes the preview page of a repository (the one this runs in
// when none is given, or a sample repository made for the occasion outside any repository) into
// preview/ and prints its path.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { repositoryTop } = require('./preview/git');
const { buildPreview } = require('./preview/page');
const { makeSampleRepo } = require('./preview/sample-repo');

function main() {
  const [repoArgument, file] = process.argv.slice(2);
  const cwd = process.env.INIT_CWD || process.cwd();
  let repo = repoArgument ? path.resolve(cwd, repoArgument) : cwd;
  let sample = null;
  let made = {};
  if (!repositoryTop(repo)) {
    if (repoArgument) throw new Error(`${repo} is not inside a git repository`);
    sample = fs.mkdtempSync(path.join(os.tmpdir(), 'utils-preview-sample-'));
    made = makeSampleRepo(path.join(sample, 'sample-site'));
    repo = made.repo;
  }
  try {
    const result = buildPreview({ repo, file: made.file || file, conflictBranch: made.conflictBranch });
    const c = result.counts;
    const missing = Object.entries(result.built).filter(([, built]) => !built).map(([name]) => name);
    process.stdout.write(`utils: preview of ${sample ? 'a sample repository' : result.repo}`
      + `${result.file ? `, file ${result.file}` : ''}\n`);
    process.stdout.write(`  diff: ${result.diff.source}`
      + `${c.added !== undefined ? `: ${c.added} added, ${c.removed} removed, ${c.breaks} hunk headers or notes, ${c.swatches} colour swatches` : ''}\n`);
    process.stdout.write(`  conflict: ${result.conflict.source}\n`);
    if (c.commits !== undefined) process.stdout.write(`  commits: ${c.commits}; blame lines: ${c.blameLines}\n`);
    if (missing.length) process.stdout.write(`  not built yet: ${missing.join(', ')}\n`);
    process.stdout.write(`${result.pagePath}\n`);
  } finally {
    if (sample) fs.rmSync(sample, { recursive: true, force: true });
  }
}

try {
  main();
} catch (error) {
  process.stderr.write(`utils: cannot build the preview: ${error.message}\n`);
  process.exit(1);
}
