'use strict';
// The eight methods of both faces, in the order of their exports: the one list that the entries,
// the typings and the tests are checked against (test/node/frame.test.js), so that a method
// added is added everywhere or fails there. `hunk`: it applies one hunk with git apply.
module.exports = [
  { name: 'cd' }, { name: 'smc' }, { name: 'grsh', hunk: true }, { name: 'gruh', hunk: true }, { name: 'grdh', hunk: true },
  { name: 'gafh' }, { name: 'mtgcld' }, { name: 'mtgch' },
];
