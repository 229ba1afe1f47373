'use strict';
// Runs git for the promise face with Node's child_process: /bin/sh runs the script the native
// call hands out (git, quoted, ending with this thread: see endingWithCaller), in the repository
// folder, in a session and process group of its own, so that an abort or a timeout ends git
// together with every process it started, and so does this thread's end however it comes.
const fs = require('fs');
const { spawn } = require('child_process');
const { promisify } = require('util');
const { abortError, timeoutError, notADirectory, invalidArgType } = require('./errors');

// How long the group has to end after SIGTERM (git removes its lock files then) before SIGKILL.
const GRACE_MS = 500;
// How much of git's standard error a call keeps for its error: the first lines say what failed.
const KEPT_ERRORS = 64 * 1024;

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

// What ends one call early: its signal's abort, or its timeout, counted from the call's start
// over everything it waits for. `stopped` is the error once one of them has come.
class CallControl {
  // Reads { signal, timeout } from a call's options (undefined or null: none); throws Node's
  // argument errors for values of the wrong kind. A timeout of 0 means none.
  constructor(options) {
    this.stopped = null;
    this.listeners = new Set();
    this.timer = null;
    this.forgetAbort = () => {};
    if (options === undefined || options === null) return;
    if (typeof options !== 'object') throw invalidArgType('options', 'of type object', options);
    const { signal, timeout } = options;
    // Any object shaped as an AbortSignal serves, so hosts without one (Node 10) can pass a polyfill's.
    if (signal !== undefined && (signal === null || typeof signal !== 'object' || !('aborted' in signal)
        || typeof signal.addEventListener !== 'function')) {
      throw invalidArgType('options.signal', 'an instance of AbortSignal', signal);
    }
    if (timeout !== undefined && typeof timeout !== 'number') throw invalidArgType('options.timeout', 'of type number', timeout);
    if (timeout !== undefined && !(Number.isInteger(timeout) && timeout >= 0 && timeout <= MAX_TIMEOUT)) {
      const error = new RangeError(`The value of "options.timeout" is out of range. It must be >= 0 && <= ${MAX_TIMEOUT}. Received ${String(timeout)}`);
      error.code = 'ERR_OUT_OF_RANGE';
      throw error;
    }
    if (signal && signal.aborted) {
      this.stopped = abortError(signal);
      return;
    }
    if (signal) this.forgetAbort = onAbort(signal, () => this.stop(abortError(signal)));
    if (timeout) this.timer = setTimeout(() => this.stop(timeoutError(timeout)), timeout);
  }

  stop(error) {
    if (this.stopped) return;
    this.stopped = error;
    for (const listener of this.listeners) listener(error);
  }

  // Calls `listener` with the error once the call is stopped (at once if it is); returns the
  // function that takes it back.
  onStop(listener) {
    if (this.stopped) {
      listener(this.stopped);
      return () => {};
    }
    this.listeners.add(listener);
    return () => this.listeners.delete(listener);
  }

  // Throws the error when the call is stopped.
  check() {
    if (this.stopped) throw this.stopped;
  }

  // The call has settled: nothing of it waits any more.
  end() {
    clearTimeout(this.timer);
    this.forgetAbort();
    this.listeners.clear();
  }
}

// Returns the error to report when git could not be started in `folder`: a folder that cannot be
// entered fails the spawn as a missing program does (ENOENT), so the folder is looked at first
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

// Runs `/bin/sh -c script` in `folder` with `env` as its environment and `input` (a Buffer) on its
// standard input, or none, and the caller's pipe as its descriptor 3. Hands each piece of its
// standard output to `output` as it arrives (a false answer stops it: `tooLong()` is the error).
// Resolves to { exitCode, signal, stderr, outOfTime } once it has ended, stderr as one Buffer of
// at most KEPT_ERRORS bytes, outOfTime when `timeLimit` (ms, 0: none) ended it; rejects when it
// cannot be started, or once the whole process group is gone after `control` stopped the call
// or `output` stopped the run, which stop reading at once.
async function runGit(script, folder, { input, env, output, timeLimit, control, tooLong }) {
  control.check();
  // Node would run a child with an empty cwd in this process's own folder.
  if (folder === '') throw await startFailure(null, folder);
  await turnToStart();
  control.check();
  return new Promise((resolve, reject) => {
    let child;
    try {
      child = spawn('/bin/sh', ['-c', script], {
        cwd: folder, env, detached: true, stdio: [input ? 'pipe' : 'ignore', 'pipe', 'pipe', 'pipe'],
      });
    } catch (error) {
      startFailure(error, folder).then(reject);
      return;
    }
    const stderr = [];
    let kept = 0;
    let stopping = null;
    let outOfTime = false;
    let failed = false;
    let limitTimer = null;
    let graceTimer = null;
    let forgetStop = () => {};
    const stop = (error) => {
      if (stopping) return;
      stopping = error;
      child.stdout.destroy();
      signalGroup(child.pid, 'SIGTERM');
      graceTimer = setTimeout(() => signalGroup(child.pid, 'SIGKILL'), GRACE_MS);
    };
    const finish = () => {
      clearTimeout(limitTimer);
      clearTimeout(graceTimer);
      forgetStop();
    };
    child.on('error', (error) => {
      failed = true;
      finish();
      if (child.pid === undefined) startFailure(error, folder).then(reject);
      else reject(error);
    });
    if (child.pid === undefined) return;
    // The run has ended: its watcher ends whatever of its group is left, and lets the pipe close.
    child.on('exit', () => {
      const caller = child.stdio[3];
      caller.on('error', () => {});
      caller.end('\n', () => caller.destroy());
    });
    child.stdout.on('data', (chunk) => {
      if (!stopping && !output(chunk)) stop(tooLong());
    });
    child.stderr.on('data', (chunk) => {
      if (kept >= KEPT_ERRORS) return;
      stderr.push(chunk.length > KEPT_ERRORS - kept ? chunk.subarray(0, KEPT_ERRORS - kept) : chunk);
      kept += chunk.length;
    });
    if (input) {
      // git may end without reading it all (a patch it refuses at once); that is not an error here.
      child.stdin.on('error', () => {});
      child.stdin.end(input);
    }
    forgetStop = control.onStop(stop);
    if (timeLimit) {
      limitTimer = setTimeout(() => {
        outOfTime = true;
        child.stdout.destroy();
        signalGroup(child.pid, 'SIGKILL');
      }, timeLimit);
    }
    child.on('close', (exitCode, exitSignal) => {
      if (failed) return;
      finish();
      if (stopping) {
        // Whatever of the group outlived git (and closed its output) ends now, before settling.
        signalGroup(child.pid, 'SIGKILL');
        groupGone(child.pid).then(() => reject(stopping));
        return;
      }
      resolve({ exitCode, signal: exitSignal, stderr: Buffer.concat(stderr), outOfTime });
    });
  });
}

module.exports = { runGit, CallControl };
