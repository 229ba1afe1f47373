'use strict';
// "cd" and "smc" on a text whose view would pass the longest string answer from a measurement,
// within a few times the text, on both faces (the 1 GB blame and log are in test/slow/).
const test = require('node:test');
const assert = require('node:assert');
const { inChildren } = require('./support/repo');

// The markup alone fits in the longest string; with the text's own characters the view does not.
test('cd and smc on a text whose view would pass the longest string answer within a few times the text', () => {
  const calls = [(face) => face.cd(`+${'x'.repeat(14)}\n`.repeat(7.5e6), false, true), (face) => face.smc('&'.repeat(120e6))];
  for (const call of calls) {
    const [sync, promises] = inChildren(call);
    assert.deepStrictEqual([sync.answer, promises.answer], ['undefined', { code: 'ERR_STRING_TOO_LONG' }]);
    for (const { peak } of [sync, promises]) assert.ok(peak < 6 * 120, `peak ${peak} MB for a 120 MB text`);
  }
});
