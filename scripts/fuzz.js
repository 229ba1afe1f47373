'use strict';
// Fuzzes production against the std::regex reference: builds every fuzz/<name>_fuzzer.cc with
// clang and libFuzzer in build-fuzz/, makes seed corpora from real git output of temporary
// repositories, and runs each target for a while with its dictionary fuzz/<target>.dict.
//
//   npm run fuzz [-- --seconds 60] [-- --target color_diff]
//
// Exits non-zero when a target finds anything, printing the command that replays the input.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');

const { root, run } = require('./run-step');
const buildDir = path.join(root, 'build-fuzz');
const fuzzDir = path.join(root, 'fuzz');

function fail(message) {
  process.stderr.write(`utils fuzz: ${message}\n`);
  process.exit(2);
}

function parseArguments(argv) {
  const options = { seconds: 60, targets: [] };
  for (let i = 0; i < argv.length; i += 1) {
    const [flag, inline] = argv[i].split('=', 2);
    const value = () => (inline !== undefined ? inline : argv[++i]);
    if (flag === '--seconds') options.seconds = Number(value());
    else if (flag === '--target') options.targets.push(value());
    else fail(`unknown argument ${argv[i]} (use --seconds N and --target NAME)`);
  }
  if (!(options.seconds > 0)) fail('--seconds needs a positive number');
  return options;
}

// Returns the target names (the stem of each fuzz/*_fuzzer.cc), the ones asked for when given.
function findTargets(wanted) {
  const all = fs.readdirSync(fuzzDir).filter((file) => file.endsWith('_fuzzer.cc')).sort()
    .map((file) => file.slice(0, -'.cc'.length));
  if (wanted.length === 0) return all;
  return wanted.map((name) => {
    const target = name.endsWith('_fuzzer') ? name : `${name}_fuzzer`;
    if (!all.includes(target)) fail(`no target ${name}; there are: ${all.join(', ')}`);
    return target;
  });
}

// ---------------------------------------------------------------------------------------------
// Real git output to seed the corpora with.

// Returns git's standard output; `tolerate` accepts a non-zero exit (a merge that conflicts).
function git(cwd, args, env = {}, tolerate = false) {
  const result = spawnSync('git', args, {
    cwd,
    env: {
      ...process.env,
      GIT_AUTHOR_NAME: 'Fuzz Author',
      GIT_AUTHOR_EMAIL: 'author@example.com',
      GIT_COMMITTER_NAME: 'Fuzz Committer',
      GIT_COMMITTER_EMAIL: 'committer@example.com',
      GIT_CONFIG_NOSYSTEM: '1',
      ...env,
    },
    stdio: ['ignore', 'pipe', 'ignore'],
    maxBuffer: 256 * 1024 * 1024,
  });
  if (result.error || (result.status !== 0 && !tolerate)) fail(`git ${args.join(' ')} failed in ${cwd}`);
  return result.stdout;
}

// Returns { diffs, logs, blames, conflicts }: Buffers of git output from a small history that
// holds colour codes, CR LF lines, missing final newlines, renames, a merge, a root-commit
// boundary, long and non-ASCII subjects, and conflict markers (both conflict styles).
function gitOutputs() {
  const repo = fs.mkdtempSync(path.join(os.tmpdir(), 'utils-fuzz-seeds-'));
  try {
    let clock = 1600000000;
    const write = (file, content) => fs.writeFileSync(path.join(repo, file), content);
    const commit = (message, extra = []) => {
      clock += 3600;
      const stamp = `${clock} +0000`;
      git(repo, ['add', '-A']);
      git(repo, ['commit', '-q', '--allow-empty', '--allow-empty-message', ...extra, '-m', message],
        { GIT_AUTHOR_DATE: stamp, GIT_COMMITTER_DATE: stamp });
    };
    git(repo, ['init', '-q', '-b', 'main']);
    git(repo, ['config', 'core.autocrlf', 'false']);
    git(repo, ['config', 'commit.gpgsign', 'false']);

    const css = (n) => Array.from({ length: 40 }, (_, i) => (i % 5 === n % 5
      ? `.c${i} { color: #${(0xa0b0c0 + i * n).toString(16).slice(0, 6)}; background: rgba(${i}, ${n}, 3, 0.${i}); }`
      : `.c${i} { border: 1px solid rgb(${i},${i},${n}); fill: #FfA${i % 10}; }`)).join('\n');
    write('styles.css', `${css(1)}\n`);
    write('crlf.txt', 'one\r\ntwo\r\nthree\r\n');
    write('tail.txt', 'no newline at the end');
    write('code.c', Array.from({ length: 60 }, (_, i) => `int f${i}(void) { return ${i} < 3 && ${i} > 1; }`).join('\n') + '\n');
    commit('Initial commit with <tags> & "quotes"');

    write('styles.css', `${css(2)}\n`);
    write('crlf.txt', 'one\r\n2\r\nthree\r\nfour');
    write('tail.txt', 'no newline at the end, changed\n');
    commit(`A subject longer than one hundred bytes: ${'\u00e9\u20ac'.repeat(30)} end`);

    git(repo, ['mv', 'code.c', 'renamed.c']);
    commit('Rename code.c');
    const code = fs.readFileSync(path.join(repo, 'renamed.c'), 'utf8').replace('return 7', 'return -7');
    write('renamed.c', `// header\n${code}`);
    commit('');

    git(repo, ['checkout', '-q', '-b', 'side']);
    write('renamed.c', code.replace('return 3', 'return "side"'));
    write('styles.css', `${css(3)}\n`);
    commit('Side change');
    git(repo, ['checkout', '-q', 'main']);
    write('renamed.c', code.replace('return 3', 'return "main"'));
    write('styles.css', `${css(4)}\n`);
    commit('Main change');

    const conflicts = [];
    for (const style of ['merge', 'diff3']) {
      git(repo, ['-c', `merge.conflictStyle=${style}`, 'merge', '-q', 'side'], {}, true);
      for (const file of ['renamed.c', 'styles.css']) conflicts.push(fs.readFileSync(path.join(repo, file)));
      git(repo, ['merge', '--abort']);
    }
    git(repo, ['merge', '-q', '-X', 'ours', 'side', '-m', 'Merge side']);
    write('big.txt', Array.from({ length: 900 }, (_, i) => `line ${i} ${'x'.repeat(i % 30)} #${(i * 77777).toString(16).padStart(6, '0').slice(0, 6)}`).join('\n'));
    commit('Big file');

    const diffs = [
      git(repo, ['log', '-p', '--format=commit %H%n%s', '--reverse']),
      git(repo, ['diff', 'HEAD~3', 'HEAD']),
      git(repo, ['show', 'HEAD~2', '--format=']),
      git(repo, ['diff', 'HEAD~1', 'HEAD']),
      git(repo, ['diff', '-U0', 'HEAD~5', 'HEAD~4']),
    ];
    const logs = ['renamed.c', 'styles.css', 'crlf.txt', 'tail.txt'].map((file) => Object.assign(git(repo,
      ['log', '--follow', '--pretty=%h %H %at %s', '--name-status', '--', file]), { file }));
    logs.push(Object.assign(git(repo, ['log', '--pretty=%h %H %at %s', '--name-status']), { file: 'big.txt' }));
    const blames = ['renamed.c', 'styles.css', 'crlf.txt', 'tail.txt'].map((file) => git(repo,
      ['blame', '--line-porcelain', 'HEAD', '--', file]));
    return { diffs, logs, blames, conflicts };
  } finally {
    fs.rmSync(repo, { recursive: true, force: true });
  }
}

// Returns the part of `buffer` that fits `limit` bytes, cut at its last line feed when it has one.
function fit(buffer, limit) {
  if (buffer.length <= limit) return buffer;
  const cut = buffer.lastIndexOf(0x0a, limit - 1);
  return buffer.subarray(0, cut > 0 ? cut + 1 : limit);
}

// Per target: the longest input, and how its seeds are framed from git output (each target's
// first bytes follow the convention of its fuzz/<name>_fuzzer.cc). A target not listed here
// gets every kind of git output as it stands.
const TARGETS = {
  color_diff_fuzzer: {
    // Above the 10000-byte slice, so cuts get fuzzed; most seeds stay short, as long ones run slowly.
    maxLen: 12000,
    // Byte 0: bit 0 showColorPreviews, bit 1 markAddedRemoved, bits 2-3 the byte scan, bit 4 a
    // one-byte text; then the diff text.
    seeds: (out) => [...out.diffs.map((diff) => fit(diff, 4096)), fit(out.diffs[0], 11000)]
      .flatMap((diff) => [0, 1, 2, 3, 7, 11, 19, 27].map((flags) => Buffer.concat([Buffer.from([flags]), diff]))),
  },
  merge_conflicts_fuzzer: {
    maxLen: 4096,
    seeds: (out) => out.conflicts,
  },
  commit_log_fuzzer: {
    maxLen: 8192,
    // First line: the file path, a space and the selected hash; then git's output.
    seeds: (out) => out.logs.flatMap((log) => {
      const hashes = [...log.toString('latin1').matchAll(/^([0-9a-f]{7,}) /gm)].map((m) => m[1]);
      return [hashes[0], hashes[hashes.length - 1], 'nohash'].map((hash) => Buffer.concat([Buffer.from(`${log.file} ${hash}\n`), log]));
    }),
  },
  utf8_codec_fuzzer: {
    maxLen: 4096,
    seeds: (out) => [...out.diffs, ...out.logs, ...out.blames].map((output) => fit(output, 1024)),
  },
  blame_fuzzer: {
    maxLen: 8192,
    // The first byte picks the base colour and whether a content text is used.
    seeds: (out) => out.blames.flatMap((blame) => [0, 1, 8].map((flags) => Buffer.concat([Buffer.from([flags]), blame]))),
  },
};

function targetSettings(target) {
  return TARGETS[target] || {
    maxLen: 8192,
    seeds: (out) => [...out.diffs, ...out.logs, ...out.blames, ...out.conflicts],
  };
}

function writeSeeds(target, outputs, dir) {
  const settings = targetSettings(target);
  fs.rmSync(dir, { recursive: true, force: true });
  fs.mkdirSync(dir, { recursive: true });
  settings.seeds(outputs).forEach((seed, i) => {
    fs.writeFileSync(path.join(dir, `seed-${String(i).padStart(3, '0')}`), fit(seed, settings.maxLen));
  });
}

// ---------------------------------------------------------------------------------------------

function configureAndBuild(targets) {
  const env = { ...process.env, CC: 'clang', CXX: 'clang++' };
  const quiet = { env, stdio: ['ignore', 'ignore', 'inherit'] };
  run('cmake', ['-S', root, '-B', buildDir, '-DCMAKE_BUILD_TYPE=RelWithDebInfo', '-DUTILS_FUZZERS=ON',
    '-DCMAKE_CXX_COMPILER=clang++'], quiet);
  run('cmake', ['--build', buildDir, '--parallel', '2', '--target', ...targets], quiet);
}

// Returns the files libFuzzer left in `dir` (crash-, leak-, timeout-, oom-, slow-unit-).
function artifactsIn(dir) {
  return fs.readdirSync(dir).filter((file) => /^(crash|leak|timeout|oom|slow-unit|mismatch)-/.test(file))
    .map((file) => path.join(dir, file));
}

function fuzz(target, seconds, seedDir) {
  const settings = targetSettings(target);
  const corpusDir = path.join(buildDir, 'corpus', target);
  const artifactDir = path.join(buildDir, 'artifacts', target);
  const regressionDir = path.join(fuzzDir, 'regressions', target);
  fs.mkdirSync(corpusDir, { recursive: true });
  fs.rmSync(artifactDir, { recursive: true, force: true });
  fs.mkdirSync(artifactDir, { recursive: true });
  const args = [
    `-max_total_time=${seconds}`,
    `-max_len=${settings.maxLen}`,
    '-timeout=60',
    '-rss_limit_mb=4096',
    '-print_final_stats=1',
    `-artifact_prefix=${artifactDir}${path.sep}`,
  ];
  const dict = path.join(fuzzDir, `${target}.dict`);
  if (fs.existsSync(dict)) args.push(`-dict=${dict}`);
  // The first folder collects what libFuzzer finds new; the others only seed it.
  args.push(corpusDir, seedDir);
  if (fs.existsSync(regressionDir)) args.push(regressionDir);

  const logFile = path.join(buildDir, 'logs', `${target}.log`);
  fs.mkdirSync(path.dirname(logFile), { recursive: true });
  const log = fs.openSync(logFile, 'w');
  const result = spawnSync(path.join(buildDir, target), args, { cwd: root, stdio: ['ignore', log, log] });
  fs.closeSync(log);
  if (result.error) fail(`cannot run ${target}: ${result.error.message}`);
  const text = fs.readFileSync(logFile, 'utf8');
  const stat = /stat::number_of_executed_units:\s*(\d+)/.exec(text);
  const progress = [...text.matchAll(/^#(\d+)\s/gm)].pop();
  const executions = stat ? Number(stat[1]) : (progress ? Number(progress[1]) : 0);
  return { target, executions, status: result.status, artifacts: artifactsIn(artifactDir), logFile };
}

function main() {
  const options = parseArguments(process.argv.slice(2));
  const targets = findTargets(options.targets);
  if (targets.length === 0) fail('no fuzz/*_fuzzer.cc targets');
  if (spawnSync('clang++', ['--version'], { stdio: 'ignore' }).status !== 0) fail('clang++ not found (libFuzzer needs clang)');

  configureAndBuild(targets);
  const outputs = gitOutputs();
  const results = [];
  for (const target of targets) {
    const seedDir = path.join(buildDir, 'seeds', target);
    writeSeeds(target, outputs, seedDir);
    process.stdout.write(`utils fuzz: ${target} for ${options.seconds} s ...\n`);
    results.push(fuzz(target, options.seconds, seedDir));
  }

  let found = false;
  for (const r of results) {
    const clean = r.status === 0 && r.artifacts.length === 0;
    process.stdout.write(`${r.target}: ${r.executions} executions, ${clean ? 'nothing found' : 'FOUND SOMETHING'}\n`);
    if (clean) continue;
    found = true;
    process.stdout.write(`  libFuzzer exited with status ${r.status}; its output: ${path.relative(root, r.logFile)}\n`);
    for (const file of r.artifacts) {
      process.stdout.write(`  replay: build-cpp/${r.target}_replay ${path.relative(root, file)}\n`);
    }
    process.stdout.write(`  keep an input as a regression case under fuzz/regressions/${r.target}/\n`);
  }
  process.exit(found ? 1 : 0);
}

main();
