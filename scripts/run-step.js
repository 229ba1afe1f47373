'use strict';
// Runs one step of a project script in the package root and ends the process when it fails:
// with the step's own status, after one line naming the command when it could not start.
const path = require('path');
const { spawnSync } = require('child_process');

const root = path.join(__dirname, '..');

function run(command, args, options = {}) {
  const result = spawnSync(command, args, { cwd: root, stdio: 'inherit', ...options });
  if (result.error) {
    process.stderr.write(`utils: cannot run ${command}: ${result.error.message}\n`);
    process.exit(1);
  }
  if (result.status !== 0) {
    process.stderr.write(`utils: ${path.basename(command)} ${args.join(' ')} exited with status ${result.status}\n`);
    process.exit(result.status || 1);
  }
}

module.exports = { root, run };
