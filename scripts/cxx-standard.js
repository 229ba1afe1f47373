'use strict';
// Prints the C++ dialect to build the add-on with for the host whose headers are in the folder
// given (the one holding include/node): the host's own when its common.gypi asks for C++20 or
// later (its V8 refuses anything older), else gnu++17, which the code needs and which older hosts
// (gnu++1y up to Node 16) leave out. binding.gyp runs it with node-gyp's node_root_dir, under
// whatever Node runs the install, so it is written for the oldest (Node 10).
const fs = require('fs');
const path = require('path');

// Returns the newest standard year that `gypi` names in a -std= flag, as a number (14, 17, 20...).
function hostStandard(gypi) {
  const years = { '1y': 14, '1z': 17, '2a': 20, '2b': 23 };
  const flag = /['"]-std=(?:gnu|c)\+\+(\w+)['"]/g;
  let newest = 0;
  for (let match = flag.exec(gypi); match !== null; match = flag.exec(gypi)) {
    const year = years[match[1]] || Number(match[1]);
    if (year > newest) newest = year;
  }
  return newest;
}

const gypi = fs.readFileSync(path.join(process.argv[2], 'include', 'node', 'common.gypi'), 'utf8');
const year = hostStandard(gypi);
process.stdout.write(year > 17 ? `gnu++${year}\n` : 'gnu++17\n');
