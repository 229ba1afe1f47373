'use strict';
// Prints C++ sources, one per line, relative to the package root. `core`: every .cc file of the
// subsystem folders (the plain C++ core, which binding.gyp builds once as a static library and
// CMake as utils_core); `utils`: the synchronous binding; `promises`: the promise face's binding
// files, the .cc files beside utils.cc. Without an argument: the synchronous add-on's full list.
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

function bindingSources(face) {
  const files = fs.readdirSync(path.join(root, native)).filter((file) => file.endsWith('.cc')).sort();
  const chosen = face === 'utils' ? files.filter((file) => file === 'utils.cc') : files.filter((file) => file !== 'utils.cc');
  return chosen.map((file) => [native, file].join('/'));
}

module.exports = { coreSources, bindingSources };

if (require.main === module) {
  const which = process.argv[2];
  const list = which === 'core' ? coreSources() : which ? bindingSources(which) : [...bindingSources('utils'), ...coreSources()];
  process.stdout.write(list.join('\n') + '\n');
}
