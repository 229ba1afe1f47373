'use strict';
// Runs the Node tests of the module frame and of the git runs, which between them call every
// method of both faces in the test process (real git included), in Node under valgrind's
// memcheck. Fails when valgrind reports an error with a frame in utils.node or
// utils_promises.node, or when a test itself fails. Errors only inside Node or its libraries are
// listed but do not fail the run: they are not ours to fix. Leaks are not checked (Node frees
// little at exit).
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');

const root = path.join(__dirname, '..');
const addon = path.join(root, 'build', 'Release', 'utils.node');
const ourModules = ['utils.node', 'utils_promises.node'];
const testFiles = ['frame.test.js', 'git_runs.test.js'];

function fail(message) {
  process.stderr.write(`utils valgrind: ${message}\n`);
  process.exit(1);
}

if (spawnSync('valgrind', ['--version'], { stdio: 'ignore' }).status !== 0) fail('valgrind not found');
if (!fs.existsSync(addon)) fail('the add-on is not built; run npm install first');

// Runs one test file under memcheck; returns the number of errors with a frame in our modules.
function check(file) {
  process.stdout.write(`utils valgrind: ${file}\n`);
  const xmlFile = path.join(fs.mkdtempSync(path.join(os.tmpdir(), 'utils-valgrind-xml-')), 'report.xml');
  const run = spawnSync('valgrind', [
    '--tool=memcheck',
    '--leak-check=no',
    '--xml=yes',
    `--xml-file=${xmlFile}`,
    process.execPath,
    path.join(root, 'test', 'node', file),
  ], { cwd: root, stdio: 'inherit', env: { ...process.env, TZ: 'UTC' } });
  if (run.error) fail(`cannot run valgrind: ${run.error.message}`);

  const xml = fs.existsSync(xmlFile) ? fs.readFileSync(xmlFile, 'utf8') : '';
  fs.rmSync(path.dirname(xmlFile), { recursive: true, force: true });
  if (!/<\/valgrindoutput>/.test(xml)) fail('valgrind wrote no complete report (did Node crash?)');

  const unescape = (text) => text.replace(/&lt;/g, '<').replace(/&gt;/g, '>').replace(/&quot;/g, '"')
    .replace(/&apos;/g, "'").replace(/&amp;/g, '&');
  // Leak records come even with --leak-check=no in XML mode; leaks are not what this run is for.
  const errors = [...xml.matchAll(/<error>([\s\S]*?)<\/error>/g)].map((match) => {
    const body = match[1];
    const kind = (/<kind>([^<]*)<\/kind>/.exec(body) || [])[1];
    const what = (/<what>([^<]*)<\/what>/.exec(body) || /<text>([^<]*)<\/text>/.exec(body) || [])[1];
    const frames = [...body.matchAll(/<frame>([\s\S]*?)<\/frame>/g)].map((frame) => {
      const field = (name) => unescape((new RegExp(`<${name}>([^<]*)</${name}>`).exec(frame[1]) || [])[1] || '');
      const where = field('file') ? `${field('file')}:${field('line')}` : field('obj');
      return { obj: field('obj'), text: `${field('fn') || '???'} (${where})` };
    });
    return { kind, what: unescape(what || ''), frames, ours: frames.some((frame) => ourModules.some((name) => frame.obj.endsWith(name))) };
  }).filter((error) => !/^Leak_/.test(error.kind));

  const ours = errors.filter((error) => error.ours);
  for (const error of errors) {
    process.stdout.write(`${error.ours ? 'ERROR in our modules' : 'note, outside our modules'}: ${error.kind}: ${error.what}\n`);
    for (const frame of error.frames.slice(0, error.ours ? 16 : 4)) process.stdout.write(`    ${frame.text}\n`);
  }
  process.stdout.write(`utils valgrind: ${errors.length} error(s) reported, ${ours.length} in ${ourModules.join(' or ')}\n`);
  // Valgrind passes on the tests' own exit status.
  if (run.status !== 0 && ours.length === 0) fail(`${file} exited with status ${run.status}`);
  return ours.length;
}

let found = 0;
for (const file of testFiles) found += check(file);
if (found > 0) process.exit(1);
