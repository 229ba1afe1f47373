'use strict';
// The promise face: the synchronous add-on's eight methods, under the same names and with the
// same arguments, each returning a Promise. The git-running methods take an optional last
// argument { signal, timeout }. Arguments are read exactly as the synchronous add-on reads them
// (by the binding, before the call returns). The git runs of a call are the native core's, as
// for the synchronous face: this side only starts each run it asks for as a child process of
// Node's own, and hands it the output as it arrives; rendering and decoding run on the host's
// thread pool. Where git fails, the promise rejects with an Error whose `code` says why (see
// README).
const fs = require('fs');
const { promisify } = require('util');
const { constants } = require('buffer');
const native = require('./lib/load-native').loadNative('utils_promises');
const { runGit, CallControl } = require('./lib/git-run');
const {
  gitFailed, gitMissing, invalidArgValue, invalidArgType, unsafeRepository, lfsObjectMissing, stringTooLong,
} = require('./lib/errors');

native.setLongestString(constants.MAX_STRING_LENGTH);
const realpath = promisify(fs.realpath);

const NO_TEXT = Buffer.alloc(0);

// Returns a path argument as read (native.pathText) as the string that reaches git unchanged. A
// zero character would end the name early and a lone surrogate has no UTF-8 form a child process
// can receive, so both are refused before anything runs.
function gitPath([bytes, unfit], name, value) {
  if (unfit) throw invalidArgValue(name, value, `must not contain ${unfit}`);
  return bytes.toString('utf8');
}

// This process's environment as "NAME=value" entries, from which the call makes git's.
function hostEnvironment() {
  return Object.keys(process.env).map((name) => `${name}=${process.env[name]}`);
}

function environmentObject(entries) {
  const env = {};
  for (const entry of entries) {
    const equals = entry.indexOf('=');
    env[entry.slice(0, equals)] = entry.slice(equals + 1);
  }
  return env;
}

// Returns the error of a call that the native core decided against.
function failureError({ failure, words }, last) {
  if (failure === 'nogit') return gitMissing();
  if (failure === 'unsafe') return unsafeRepository();
  if (failure === 'lfs') return lfsObjectMissing();
  return gitFailed(words, last);
}

// Runs the native `call` in `folder` to its end: each run it asks for, its output handed over as
// it arrives. Resolves to its result (a view, or true); rejects with the reason it failed.
async function drive(call, folder, control) {
  let last = null;
  for (let run = native.nextRun(call); run !== null; run = native.nextRun(call)) {
    last = await runGit(run.script, folder, {
      env: environmentObject(run.env),
      input: run.input,
      output: (piece) => native.output(call, piece),
      timeLimit: run.timeLimit,
      control,
      tooLong: stringTooLong,
    });
    native.ended(call, last.exitCode === null ? -1 : last.exitCode, last.outOfTime);
  }
  const done = native.finish(call);
  if (done !== null && typeof done === 'object' && typeof done.failure === 'string') throw failureError(done, last);
  return done;
}

// Returns the result of `work()` once the hunk operations of the same repository (by its real
// folder) asked for before it are done: git apply takes the repository's index lock, and calls
// made together would fail on it. A call stopped while it waits settles at once, and its turn,
// when it comes, runs nothing.
const hunkTurns = new Map();
async function inTurn(folder, control, work) {
  let key = folder;
  try {
    key = await realpath(folder);
  } catch (error) { /* the run reports a folder that is missing */ }
  let started = false;
  const turn = (hunkTurns.get(key) || Promise.resolve()).then(() => {
    control.check();
    started = true;
    return work();
  });
  const done = turn.then(() => {}, () => {});
  hunkTurns.set(key, done);
  done.then(() => {
    if (hunkTurns.get(key) === done) hunkTurns.delete(key);
  });
  let forget = () => {};
  const stoppedWaiting = new Promise((resolve, reject) => {
    forget = control.onStop((error) => {
      if (!started) reject(error);
    });
  });
  try {
    return await Promise.race([turn, stoppedWaiting]);
  } finally {
    forget();
  }
}

// Returns the method that applies a hunk as `action` says (0 stage, 1 unstage, 2 discard): the
// patch goes to git apply on its standard input, and the promise fulfils with true, or rejects
// with git's message when git refuses the hunk.
function hunkMethod(name, action) {
  const method = {
    async [name](patchText, repoPath, options) {
      const patch = native.text(patchText);
      const repo = native.pathText(repoPath);
      const control = new CallControl(options);
      try {
        const folder = gitPath(repo, 'repoPath', repoPath);
        return await inTurn(folder, control, () => drive(native.hunkCall(action, patch, repo[0], hostEnvironment()), folder, control));
      } finally {
        control.end();
      }
    },
  };
  return method[name];
}

async function mtgcld(filePath, repoPath, selectedHash, options) {
  const file = native.pathText(filePath);
  const repo = native.pathText(repoPath);
  const selected = native.text(selectedHash);
  const control = new CallControl(options);
  try {
    const folder = gitPath(repo, 'repoPath', repoPath);
    gitPath(file, 'filePath', filePath);
    return await drive(native.commitListCall(file[0], repo[0], selected, hostEnvironment()), folder, control);
  } finally {
    control.end();
  }
}

async function mtgch(filePath, repoPath, baseColor, contentText, options) {
  // An object that would read as "[object Object]" is an options object one argument early.
  if (contentText !== null && typeof contentText === 'object' && contentText.toString === Object.prototype.toString) {
    throw invalidArgType('contentText', 'of type string or null', contentText);
  }
  const file = native.pathText(filePath);
  const repo = native.pathText(repoPath);
  const color = native.text(baseColor);
  const content = contentText === null ? NO_TEXT : native.text(contentText);
  const control = new CallControl(options);
  try {
    const folder = gitPath(repo, 'repoPath', repoPath);
    gitPath(file, 'filePath', filePath);
    return await drive(native.codeViewCall(file[0], repo[0], color, content, hostEnvironment()), folder, control);
  } finally {
    control.end();
  }
}

// The methods that run no git: a failure of the binding (memory that cannot be had) rejects, as
// it does for the others, rather than throwing at the caller.
async function cd() {
  return native.cd.apply(null, arguments);
}
async function smc() {
  return native.smc.apply(null, arguments);
}
async function gafh() {
  return native.gafh.apply(null, arguments);
}

const methods = { cd, smc, grsh: hunkMethod('grsh', 0), gruh: hunkMethod('gruh', 1), grdh: hunkMethod('grdh', 2), gafh, mtgcld, mtgch };
module.exports = require('./lib/methods').reduce((exported, { name }) => Object.assign(exported, { [name]: methods[name] }), {});
