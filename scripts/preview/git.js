'use strict';
// Runs git for the preview: its standard output as text, or null when git fails and the caller
// has a fallback.
const fs = require('fs');
const { spawnSync } = require('child_process');

// Returns git's standard output for `args` run in `cwd`. Throws with git's own message when git
// exits non-zero, unless `options.allowFailure` is set (then null is returned).
function git(cwd, args, options = {}) {
  if (!fs.existsSync(cwd)) throw new Error(`${cwd} does not exist`);
  const run = spawnSync('git', args, {
    cwd,
    encoding: 'utf8',
    input: options.input,
    env: { ...process.env, ...(options.env || {}) },
    maxBuffer: 256 * 1024 * 1024,
  });
  if (run.error) throw new Error(`cannot run git: ${run.error.message}`);
  const okStatuses = options.okStatuses || [0];
  if (!okStatuses.includes(run.status)) {
    if (options.allowFailure) return null;
    throw new Error(`git ${args.join(' ')} failed in ${cwd}: ${(run.stderr || '').trim()}`);
  }
  return run.stdout;
}

// Returns the top folder of the repository that holds `dir`, or null outside any repository.
function repositoryTop(dir) {
  const out = git(dir, ['rev-parse', '--show-toplevel'], { allowFailure: true });
  return out ? out.trim() : null;
}

module.exports = { git, repositoryTop };
