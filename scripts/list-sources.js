'use strict';
// Prints the add-on's C++ sources, one per line, relative to the package root: the binding file
// and every .cc file of the subsystem folders. binding.gyp and CMakeLists.txt share this list.
const fs = require('fs');
const path = require('path');

const root = path.join(__dirname, '..');
const native = path.join('src', 'native');

function coreSources() {
  const out = [];
  for (const dir of fs.readdirSync(path.join(root, native), { withFileTypes: true })) {
    if (!dir.isDirectory()) continue;
    for (const file of fs.readdirSync(path.join(root, native, dir.name)).sort()) {
      if (file.endsWith('.cc')) out.push([native, dir.name, file].join('/'));
    }
  }
  return out.sort();
}

module.exports = { coreSources };

if (require.main === module) {
  const all = [[native, 'utils.cc'].join('/'), ...coreSources()];
  process.stdout.write(all.join('\n') + '\n');
}
