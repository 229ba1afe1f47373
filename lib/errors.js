'use strict';
// The errors the promise face rejects with, each with a `code` that says why.
const os = require('os');
const { inspect } = require('util');

// Returns the error of an aborted call, shaped as Node's own (name AbortError, code ABORT_ERR, the
// signal's reason as its `cause`, set here as Error's own option sets it where the host has one).
function abortError(signal) {
  const error = new Error('The operation was aborted');
  Object.defineProperty(error, 'cause', { value: signal.reason, writable: true, configurable: true });
  error.name = 'AbortError';
  error.code = 'ABORT_ERR';
  return error;
}

// Returns the error of a call that outlived its `timeout`: whatever git it started was ended.
function timeoutError(timeout) {
  const error = new Error(`The call did not finish within ${timeout} ms; any git it started was ended`);
  error.code = 'ETIMEDOUT';
  error.timeout = timeout;
  return error;
}

// Returns the error of a git run that failed: it exited with a status other than 0, was ended by
// a signal, or (git apply) reported an error. Carries git's exit code, signal and standard error.
function gitFailed(args, { exitCode, signal, stderr }) {
  const errors = stderr.toString('utf8');
  const said = errors.split('\n').map((line) => line.trim()).find(Boolean);
  const how = signal ? `was ended by ${signal}` : `exited with code ${exitCode}`;
  const command = args.find((word, i) => !word.startsWith('-') && args[i - 1] !== '-c');
  const error = new Error(`git ${command} ${how}${said ? `: ${said}` : ''}`);
  error.code = 'GIT_FAILED';
  error.exitCode = exitCode;
  error.signal = signal;
  error.stderr = errors;
  return error;
}

// Returns the error of a git that could not be started (none on PATH), shaped as Node's own
// spawn error.
function gitMissing() {
  const error = new Error('spawn git ENOENT');
  Object.assign(error, { errno: -os.constants.errno.ENOENT, code: 'ENOENT', syscall: 'spawn git', path: 'git' });
  return error;
}

// Returns the error of a discard that ran nothing because the file would get back a Git LFS
// object that is not in the repository: Git LFS fetches nothing in these calls, and git would
// leave the file empty.
function lfsObjectMissing() {
  const error = new Error('git apply was not run: the Git LFS object that the discard restores is not in this repository; fetch it first (git lfs fetch)');
  error.code = 'GIT_FAILED';
  error.exitCode = null;
  error.signal = null;
  error.stderr = '';
  return error;
}

// Returns the error of a folder that is not a directory, shaped as Node's file-system errors.
function notADirectory(folder) {
  const error = new Error(`ENOTDIR: not a directory, chdir '${folder}'`);
  Object.assign(error, { errno: -os.constants.errno.ENOTDIR, code: 'ENOTDIR', syscall: 'chdir', path: folder });
  return error;
}

// Returns Node's error for an argument whose value cannot be used.
function invalidArgValue(name, value, reason) {
  const error = new TypeError(`The argument '${name}' ${reason}. Received ${inspect(value)}`);
  error.code = 'ERR_INVALID_ARG_VALUE';
  return error;
}

// Returns Node's error for an argument of the wrong type.
function invalidArgType(name, expected, value) {
  const error = new TypeError(`The "${name}" argument must be ${expected}. Received ${inspect(value)}`);
  error.code = 'ERR_INVALID_ARG_TYPE';
  return error;
}

// Returns the error of a call that ran nothing because git could not be kept from what the
// repository's own configuration chose: a setting that cannot be overridden on git's command line
// (its name holds "="), or a configuration file that someone other than the user can change, or
// that is no plain file, or that could not be read in time.
function unsafeRepository() {
  const error = new Error('The repository\'s configuration cannot be guarded for the call (a setting that cannot be overridden, or a configuration file that is no plain file only you can change); nothing was run');
  error.code = 'GIT_UNSAFE_REPOSITORY';
  return error;
}

// Returns the error of a view that grew past the longest string the host can make, as the
// binding's own.
function stringTooLong() {
  const error = new RangeError('The result is longer than the longest possible string');
  error.code = 'ERR_STRING_TOO_LONG';
  return error;
}

module.exports = {
  abortError, timeoutError, gitFailed, gitMissing, lfsObjectMissing, notADirectory, invalidArgValue, invalidArgType,
  unsafeRepository, stringTooLong,
};
