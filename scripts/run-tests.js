'use strict';
// Runs every test: the C++ tests of the core (CMake, CTest, GoogleTest) and then the Node tests
// of the built add-on (node's own test runner). Exits non-zero when any of them fails.
const fs = require('fs');
const path = require('path');

const { root, run } = require('./run-step');
const buildDir = process.env.UTILS_CPP_BUILD_DIR || path.join(root, 'build-cpp');
const extraCMakeArgs = (process.env.UTILS_CMAKE_ARGS || '').split(' ').filter(Boolean);

const only = process.argv[2];
if (only !== 'node') {
  run('cmake', ['-S', root, '-B', buildDir, '-DCMAKE_BUILD_TYPE=Release', ...extraCMakeArgs], { stdio: ['ignore', 'ignore', 'inherit'] });
  run('cmake', ['--build', buildDir, '--parallel', '2'], { stdio: ['ignore', 'ignore', 'inherit'] });
  run('ctest', ['--test-dir', buildDir, '--output-on-failure', '--parallel', '2']);
}
if (only !== 'cpp') {
  if (!fs.existsSync(path.join(root, 'build', 'Release', 'utils.node'))) {
    process.stderr.write('utils: the add-on is not built; run npm install first\n');
    process.exit(1);
  }
  const files = fs.readdirSync(path.join(root, 'test', 'node'))
    .filter((file) => file.endsWith('.test.js')).sort()
    .map((file) => path.join('test', 'node', file));
  run(process.execPath, ['--test', ...files], { env: { ...process.env, TZ: 'UTC' } });
}
