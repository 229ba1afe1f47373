'use strict';
// The two faces as one, so that each behaviour test runs over both: every method returns a promise
// of the synchronous face's answer. A rejection of the promise face stands for the answer it
// replaces (no view, false, undefined for a view past the longest string); the caller's own errors
// (options of the wrong kind, abort, timeout) stay rejections.
const test = require('node:test');
const path = require('path');
const methods = require('../../../lib/methods');

const CALLERS = new Set(['ERR_INVALID_ARG_TYPE', 'ERR_OUT_OF_RANGE', 'ABORT_ERR', 'ETIMEDOUT']);
const TOO_BIG = new Set(['ERR_STRING_TOO_LONG', 'ERR_MEMORY_ALLOCATION_FAILED']);

// Returns the synchronous answer that a rejection of `method` stands for.
const answerOf = (method) => (error) => {
  if (!error || !error.code || CALLERS.has(error.code)) throw error;
  if (method.hunk) return false;
  return TOO_BIG.has(error.code) ? undefined : '';
};

const faces = [['sync', 'index.js'], ['promises', 'promises.js']].map(([name, file]) => {
  const entry = path.join(__dirname, '..', '..', '..', file);
  const face = require(entry);
  const wrap = file === 'index.js'
    ? (method) => async (...args) => face[method.name](...args)
    : (method) => (...args) => face[method.name](...args).catch(answerOf(method));
  return { name, entry, ...Object.fromEntries(methods.map((method) => [method.name, wrap(method)])) };
});

// Registers `body` as one test for each face, which it receives with the test's context.
function eachFace(title, body) {
  for (const face of faces) test(`${title} [${face.name}]`, (t) => body(face, t));
}

module.exports = { faces, eachFace };
