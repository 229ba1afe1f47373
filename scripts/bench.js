'use strict';
// Runs the benchmarks: builds the C++ benchmark executable (Release, Google Benchmark) in
// build-bench/ and runs it, then builds the add-on and runs every bench/*.bench.js with Node.
// Arguments are handed to utils_bench (for example --benchmark_filter=ColorDiff).
const fs = require('fs');
const path = require('path');

const { root, run } = require('./run-step');
const buildDir = path.join(root, 'build-bench');

run('cmake', ['-S', root, '-B', buildDir, '-DCMAKE_BUILD_TYPE=Release', '-DUTILS_BENCHMARKS=ON'],
  { stdio: ['ignore', 'ignore', 'inherit'] });
run('cmake', ['--build', buildDir, '--parallel', '2', '--target', 'utils_bench'], { stdio: ['ignore', 'ignore', 'inherit'] });
run(path.join(buildDir, 'utils_bench'), process.argv.slice(2));

if (!fs.existsSync(path.join(root, 'build', 'Release', 'utils.node'))) {
  run(process.execPath, [path.join(root, 'scripts', 'build-addon.js')]);
}
// diff2html for the word-marked view's comparison, installed once outside the checkout (it is no
// dependency of the package); without the registry the comparison is left out.
const benchCache = process.env.UTILS_BENCH_CACHE || path.join(require('os').homedir(), '.cache', 'tarnwick-bench');
const diff2html = path.join(benchCache, 'node_modules', 'diff2html');
if (!fs.existsSync(diff2html)) {
  require('child_process').spawnSync('npm', ['install', '--no-audit', '--no-fund', '--prefix', benchCache, 'diff2html@3'], { stdio: 'ignore' });
}
if (fs.existsSync(diff2html)) process.env.UTILS_BENCH_DIFF2HTML = diff2html;
const benchDir = path.join(root, 'bench');
for (const file of fs.readdirSync(benchDir).filter((name) => name.endsWith('.bench.js')).sort()) {
  process.stdout.write(`\n== ${file}\n`);
  run(process.execPath, ['--expose-gc', path.join(benchDir, file)]);
}
