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

// Returns the error of a git run that outlived its `timeout` and was ended.
function timeoutError(timeout) {
  const error = new Error(`git did not finish within ${timeout} ms and was ended`);
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

// Returns the error of a call that ran nothing because git could not be kept from running a program
// that the repository's own configuration names (a filter or textconv driver whose name holds "=").
function unsafeRepository() {
  const error = new Error('The repository configures a driver that cannot be switched off for the call; nothing was run');
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
  abortError, timeoutError, gitFailed, notADirectory, invalidArgValue, invalidArgType, unsafeRepository, stringTooLong,
};
