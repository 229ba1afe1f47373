'use strict';
// The promise face: the synchronous add-on's eight methods, under the same names and with the
// same arguments, each returning a Promise. The git-running methods take an optional last
// argument { signal, timeout }. Arguments are read exactly as the synchronous add-on reads them
// (by the binding, before the call returns); git runs as a child process of Node's own, whose
// output the native core parses piece by piece as it arrives; rendering and decoding run on the
// host's thread pool. Where git fails, the promise rejects with an Error whose `code` says why
// (see README).
const fs = require('fs');
const { promisify } = require('util');
const { constants } = require('buffer');
const native = require('./lib/load-native').loadNative('utils_promises');
const { runGit, readRunOptions } = require('./lib/git-run');
const { gitFailed, invalidArgValue, unsafeRepository } = require('./lib/errors');

native.setLongestString(constants.MAX_STRING_LENGTH);
const realpath = promisify(fs.realpath);

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

// Resolves to `view` (the binding's view in progress) built from git's output as it arrives, once
// git has exited with status 0; rejects with GIT_FAILED else, or with ERR_STRING_TOO_LONG (git
// stopped) once the view is longer than the longest string.
async function gitView(args, folder, options, started, view) {
  const output = (piece) => native.addOutput(view, piece);
  const result = await runGit(args, folder, Object.assign(runOptionsNow(options, started), { output }));
  if (result.exitCode !== 0) throw gitFailed(args, result);
  return native.finishView(view);
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

// The hunk operations of each repository (by its real folder), one after another: git apply takes
// the repository's index lock, and calls made together would fail on it.
const hunkTurns = new Map();
async function inTurn(folder, work) {
  let key = folder;
  try {
    key = await realpath(folder);
  } catch (error) { /* the run reports a folder that is missing */ }
  const turn = (hunkTurns.get(key) || Promise.resolve()).then(work);
  const done = turn.then(() => {}, () => {});
  hunkTurns.set(key, done);
  done.then(() => {
    if (hunkTurns.get(key) === done) hunkTurns.delete(key);
  });
  return turn;
}

// Returns the method that applies a hunk as `action` (0 stage, 1 unstage, 2 discard) says: the
// patch goes to git apply on its standard input, and the promise fulfils with true, or rejects
// with git's message when git refuses the hunk.
function hunkMethod(name, action) {
  const method = {
    async [name](patchText, repoPath, options) {
      const patch = native.text(patchText);
      const repo = native.text(repoPath);
      const runOptions = readRunOptions(options);
      const folder = gitPath(repo, 'repoPath', repoPath);
      return inTurn(folder, async () => {
        const started = Date.now();
        const args = guarded(native.hunkApplyArguments(action, await driverSettings(folder, runOptions, started)));
        const result = await runGit(args, folder, Object.assign(runOptionsNow(runOptions, started), { input: patch }));
        if (result.exitCode === 0 && !native.showsGitError(Buffer.concat(result.stdout), result.stderr)) return true;
        throw gitFailed(args, result);
      });
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
  return gitView(native.commitLogArguments(file), folder, runOptions, started, native.commitOptions(file, selected));
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
  return gitView(args, folder, runOptions, started, native.codeView(color, content));
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
