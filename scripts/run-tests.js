'use strict';
// Runs every test a change can break, printing each step as it goes: the C++ tests of the core
// (CMake, CTest, GoogleTest) and then the Node tests of the built add-on (node's own test runner).
// Exits non-zero when any of them fails. The slow checks are CI's (npm run test:slow, .ci/run).
const fs = require('fs');
const path = require('path');

const { root, run } = require('./run-step');
const buildDir = process.env.UTILS_CPP_BUILD_DIR || path.join(root, 'build-cpp');
const extraCMakeArgs = (process.env.UTILS_CMAKE_ARGS || '').split(' ').filter(Boolean);

const only = process.argv[2];
if (only !== 'node' && only !== 'slow') {
  process.stdout.write('utils: building the C++ tests\n');
  run('cmake', ['-S', root, '-B', buildDir, '-DCMAKE_BUILD_TYPE=Release', ...extraCMakeArgs], { stdio: ['ignore', 'ignore', 'inherit'] });
  run('cmake', ['--build', buildDir, '--parallel', '2']);
  process.stdout.write('utils: running the C++ tests\n');
  run('ctest', ['--test-dir', buildDir, '--output-on-failure', '--parallel', '2', '--progress']);
}
if (only !== 'cpp') {
  if (!fs.existsSync(path.join(root, 'build', 'Release', 'utils.node'))) {
    process.stderr.write('utils: the add-on is not built; run npm install first\n');
    process.exit(1);
  }
  const folder = only === 'slow' ? 'slow' : 'node';
  const files = fs.readdirSync(path.join(root, 'test', folder))
    .filter((file) => file.endsWith('.test.js')).sort()
    .map((file) => path.join('test', folder, file));
  process.stdout.write(`utils: running the Node tests (${files.length} files)\n`);
  run(process.execPath, ['--test', ...files], { env: { ...process.env, TZ: 'UTC' } });
}
