'use strict';
// A git that never answers where the repository is, or what its configuration holds, is ended
// after ten seconds on both faces, and the call answers empty. Slow: CI runs it (npm run test:slow).
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const { makeRepo, commit, tempDir, withPath } = require('../node/support/repo');
const { faces } = require('../node/support/faces');

test('a locating git that hangs is ended after ten seconds on both faces', async () => {
  const repo = makeRepo();
  commit(repo, { 'a.txt': 'one\n' }, 'first');
  const bin = tempDir();
  fs.writeFileSync(path.join(bin, 'git'), '#!/bin/sh\nexec sleep 60\n', { mode: 0o755 });
  const started = Date.now();
  const answers = await withPath(bin, () => Promise.all(faces.map((face) => face.mtgch('a.txt', repo, 'fff', null))));
  assert.deepStrictEqual(answers, ['', '']);
  assert.ok(Date.now() - started < 30000, `${Date.now() - started} ms`);
});
