'use strict';
// Runs git for the promise face with Node's child_process: an argument vector without a shell, the
// repository folder as the working folder of the child alone, and git in a process group of its
// own, so that an abort or a timeout ends git together with every process it started.
const fs = require('fs');
const { spawn } = require('child_process');
const { promisify } = require('util');
const { abortError, timeoutError, notADirectory, invalidArgType, stringTooLong } = require('./errors');

// How long the group has to end after SIGTERM (git removes its lock files then) before SIGKILL.
const GRACE_MS = 500;

// The process groups still running; ended when this thread exits, so that none outlives it.
const running = new Set();
process.on('exit', () => {
  for (const group of running) signalGroup(group, 'SIGKILL');
});

function signalGroup(group, signal) {
  try {
    process.kill(-group, signal);
  } catch (error) { /* the group is gone already */ }
}

// How long to wait for the processes of an ended group to be gone before settling anyway: one
// that SIGKILL hit runs no more code but may take a moment to exit, and an orphan's remains stay
// until its new parent collects them.
const GONE_WAIT_MS = 200;

// Resolves once no process of `group` is left, or after GONE_WAIT_MS.
async function groupGone(group) {
  for (const end = Date.now() + GONE_WAIT_MS; Date.now() < end;) {
    try {
      process.kill(-group, 0);
    } catch (error) {
      return;
    }
    await new Promise((resolve) => setTimeout(resolve, 5));
  }
}

// The longest delay a timer takes (about 24.8 days); a longer one would fire at once.
const MAX_TIMEOUT = 2 ** 31 - 1;

// Returns { signal, timeout } from a call's options (undefined or null: none); throws Node's
// argument errors for values of the wrong kind. A timeout of 0 means none.
function readRunOptions(options) {
  if (options === undefined || options === null) return {};
  if (typeof options !== 'object') throw invalidArgType('options', 'of type object', options);
  const { signal, timeout } = options;
  // Any object shaped as an AbortSignal serves, so hosts without one (Node 10) can pass a polyfill's.
  if (signal !== undefined && (signal === null || typeof signal !== 'object' || !('aborted' in signal)
      || typeof signal.addEventListener !== 'function')) {
    throw invalidArgType('options.signal', 'an instance of AbortSignal', signal);
  }
  if (timeout !== undefined && !(Number.isInteger(timeout) && timeout >= 0 && timeout <= MAX_TIMEOUT)) {
    const error = new RangeError(`The value of "options.timeout" is out of range. It must be >= 0 && <= ${MAX_TIMEOUT}. Received ${String(timeout)}`);
    error.code = 'ERR_OUT_OF_RANGE';
    throw error;
  }
  return { signal, timeout };
}

// Returns the error to report when git could not be started in `folder`: a folder that cannot be
// entered fails the spawn just as a missing git does (ENOENT), so the folder is looked at first
// and its own file-system error (with `path` set to the folder) is returned; else `spawnError`.
async function startFailure(spawnError, folder) {
  try {
    if (!(await promisify(fs.stat)(folder)).isDirectory()) return notADirectory(folder);
    await promisify(fs.access)(folder, fs.constants.X_OK);
  } catch (folderError) {
    return folderError;
  }
  return spawnError;
}

// Calls `callback` once `signal` aborts, through one listener per signal however many calls share
// it (a listener each would trip Node's MaxListenersExceededWarning past ten); returns the function
// that takes the callback back when the call settles.
const abortCallbacks = new WeakMap();
function onAbort(signal, callback) {
  let callbacks = abortCallbacks.get(signal);
  if (!callbacks) {
    const set = new Set();
    const dispatch = () => {
      abortCallbacks.delete(signal);
      for (const call of set) call();
    };
    callbacks = { set, dispatch };
    abortCallbacks.set(signal, callbacks);
    signal.addEventListener('abort', dispatch, { once: true });
  }
  callbacks.set.add(callback);
  return () => {
    callbacks.set.delete(callback);
    if (callbacks.set.size === 0 && abortCallbacks.get(signal) === callbacks) {
      abortCallbacks.delete(signal);
      signal.removeEventListener('abort', callbacks.dispatch);
    }
  };
}

// Starting a child forks this process, which takes milliseconds in a large one (longer the more
// memory it maps). Starts are spread out, one per turn of the event loop, so that calls made
// together never add their forks up into one long pause of the script thread.
const waitingToStart = [];
function turnToStart() {
  return new Promise((resolve) => {
    waitingToStart.push(resolve);
    if (waitingToStart.length === 1) setImmediate(startNext);
  });
}
function startNext() {
  waitingToStart.shift()();
  if (waitingToStart.length > 0) setImmediate(startNext);
}

// Runs `git args...` in `folder` with `env` as its environment and `input` (a Buffer) on its
// standard input, or none. Hands each piece of its standard output to `output` as it arrives (a
// false answer stops git: ERR_STRING_TOO_LONG), or collects it. Resolves to { exitCode, signal,
// stdout, stderr } once git has ended: stdout as the Buffers in which it came, stderr as one
// Buffer; rejects when git cannot be started, or once the whole process group is gone after an
// abort (ABORT_ERR), a timeout (ETIMEDOUT) or a stop, each of which stops reading at once.
async function runGit(args, folder, { input, signal, timeout, env, output } = {}) {
  if (signal && signal.aborted) throw abortError(signal);
  // Node would run a child with an empty cwd in this process's own folder.
  if (folder === '') throw await startFailure(null, folder);
  await turnToStart();
  if (signal && signal.aborted) throw abortError(signal);
  return new Promise((resolve, reject) => {
    let child;
    try {
      child = spawn('git', args, { cwd: folder, env, detached: true, stdio: [input ? 'pipe' : 'ignore', 'pipe', 'pipe'] });
    } catch (error) {
      startFailure(error, folder).then(reject);
      return;
    }
    const stdout = [];
    const stderr = [];
    let stopping = null;
    let failed = false;
    let timer = null;
    let graceTimer = null;
    let forgetAbort = () => {};
    const stop = (error) => {
      if (stopping) return;
      stopping = error;
      child.stdout.destroy();
      signalGroup(child.pid, 'SIGTERM');
      graceTimer = setTimeout(() => signalGroup(child.pid, 'SIGKILL'), GRACE_MS);
    };
    const finish = () => {
      running.delete(child.pid);
      clearTimeout(timer);
      clearTimeout(graceTimer);
      forgetAbort();
    };
    child.on('error', (error) => {
      failed = true;
      finish();
      if (child.pid === undefined) startFailure(error, folder).then(reject);
      else reject(error);
    });
    if (child.pid === undefined) return;
    running.add(child.pid);
    child.stdout.on('data', (chunk) => {
      if (stopping) return;
      if (!output) stdout.push(chunk);
      else if (!output(chunk)) stop(stringTooLong());
    });
    child.stderr.on('data', (chunk) => stderr.push(chunk));
    if (input) {
      // git may end without reading it all (a patch it refuses at once); that is not an error here.
      child.stdin.on('error', () => {});
      child.stdin.end(input);
    }
    if (signal) forgetAbort = onAbort(signal, () => stop(abortError(signal)));
    if (timeout) timer = setTimeout(() => stop(timeoutError(timeout)), timeout);
    child.on('close', (exitCode, exitSignal) => {
      if (failed) return;
      finish();
      if (stopping) {
        // Whatever of the group outlived git (and closed its output) ends now, before settling.
        signalGroup(child.pid, 'SIGKILL');
        groupGone(child.pid).then(() => reject(stopping));
        return;
      }
      resolve({ exitCode, signal: exitSignal, stdout, stderr: Buffer.concat(stderr) });
    });
  });
}

module.exports = { runGit, readRunOptions };
