'use strict';
// The promise face: the synchronous add-on's eight methods, under the same names and with the
// same arguments, each returning a Promise. The git-running methods take an optional last
// argument { signal, timeout }. Arguments are read exactly as the synchronous add-on reads them
// (by the binding, before the call returns); git runs as a child process of Node's own; parsing
// and rendering run in the native core on the host's thread pool. Where git fails, the promise
// rejects with an Error whose `code` says why (see README).
const native = require('./build/Release/utils_promises.node');
const { runGit, readRunOptions } = require('./lib/git-run');
const { gitFailed, invalidArgValue, unsafeRepository } = require('./lib/errors');

const NO_TEXT = Buffer.alloc(0);

// Returns whether converted text bytes hold a lone surrogate: the binding writes one as the
// three bytes ED A0..BF xx, which are not UTF-8; every other character it writes is.
function holdsSurrogate(bytes) {
  for (let at = bytes.indexOf(0xed); at >= 0; at = bytes.indexOf(0xed, at + 1)) {
    if (bytes[at + 1] >= 0xa0) return true;
  }
  return false;
}

// Returns converted path bytes as the string that reaches git unchanged. A zero character would
// end the name early and a lone surrogate has no UTF-8 form a child process can receive, so both
// are refused before anything runs.
function gitPath(bytes, name, value) {
  if (bytes.includes(0)) throw invalidArgValue(name, value, 'must not contain a zero character');
  if (holdsSurrogate(bytes)) throw invalidArgValue(name, value, 'must not contain a lone surrogate');
  return bytes.toString('utf8');
}

// Returns the options of one run of a call: git's environment (the binding decides it from this
// process's, as the synchronous face decides it from its own), and what is left of the call's
// timeout, which covers all of its runs.
function runOptionsNow(options, started) {
  const env = {};
  for (const entry of native.gitEnvironment(Object.keys(process.env).map((name) => `${name}=${process.env[name]}`))) {
    const equals = entry.indexOf('=');
    env[entry.slice(0, equals)] = entry.slice(equals + 1);
  }
  const timeout = options.timeout ? Math.max(1, options.timeout - (Date.now() - started)) : options.timeout;
  return Object.assign({}, options, { env, timeout });
}

// Resolves to git's standard output (its Buffers) when it exits with status 0; rejects with
// GIT_FAILED else.
async function gitOutput(args, folder, options, started) {
  const result = await runGit(args, folder, runOptionsNow(options, started));
  if (result.exitCode !== 0) throw gitFailed(args, result);
  return result.stdout;
}

// Resolves to the listing of the driver settings of the repository in `folder`, which the
// binding turns into the guard of a command that reads files through drivers.
async function driverSettings(folder, options, started) {
  const args = native.driverSettingsArguments();
  const result = await runGit(args, folder, runOptionsNow(options, started));
  if (result.exitCode !== 0 && result.exitCode !== 1) throw gitFailed(args, result);  // 1: no such setting
  return Buffer.concat(result.stdout);
}

// Returns `args`, or throws when the binding could not guard the run (it gave no words).
function guarded(args) {
  if (args.length === 0) throw unsafeRepository();
  return args;
}

// Returns the method that applies a hunk as `action` (0 stage, 1 unstage, 2 discard) says: the
// patch goes to git apply on its standard input, and the promise fulfils with true, or rejects
// with git's message when git refuses the hunk.
function hunkMethod(name, action) {
  const method = {
    async [name](patchText, repoPath, options) {
      const started = Date.now();
      const patch = native.text(patchText);
      const repo = native.text(repoPath);
      const runOptions = readRunOptions(options);
      const folder = gitPath(repo, 'repoPath', repoPath);
      const args = guarded(native.hunkApplyArguments(action, await driverSettings(folder, runOptions, started)));
      const result = await runGit(args, folder, Object.assign(runOptionsNow(runOptions, started), { input: patch }));
      if (result.exitCode === 0 && !native.showsGitError(Buffer.concat(result.stdout), result.stderr)) return true;
      throw gitFailed(args, result);
    },
  };
  return method[name];
}

async function mtgcld(filePath, repoPath, selectedHash, options) {
  const started = Date.now();
  const file = native.text(filePath);
  const repo = native.text(repoPath);
  const selected = native.text(selectedHash);
  const runOptions = readRunOptions(options);
  const folder = gitPath(repo, 'repoPath', repoPath);
  gitPath(file, 'filePath', filePath);
  const log = await gitOutput(native.commitLogArguments(file), folder, runOptions, started);
  return native.renderCommitOptions(log, file, selected);
}

async function mtgch(filePath, repoPath, baseColor, contentText, options) {
  const started = Date.now();
  const file = native.text(filePath);
  const repo = native.text(repoPath);
  const color = native.text(baseColor);
  const content = contentText === null ? NO_TEXT : native.text(contentText);
  const runOptions = readRunOptions(options);
  const folder = gitPath(repo, 'repoPath', repoPath);
  gitPath(file, 'filePath', filePath);
  const args = guarded(native.blameArguments(file, await driverSettings(folder, runOptions, started)));
  const blame = await gitOutput(args, folder, runOptions, started);
  return native.renderCodeView(blame, color, content);
}

module.exports = {
  cd: native.cd,
  smc: native.smc,
  grsh: hunkMethod('grsh', 0),
  gruh: hunkMethod('gruh', 1),
  grdh: hunkMethod('grdh', 2),
  gafh: native.gafh,
  mtgcld,
  mtgch,
};
