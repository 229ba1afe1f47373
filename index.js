'use strict';
// The package is the add-on itself: its exports object, with the eight methods and nothing else
// (from a source build in build/Release, else the prebuilt binary for this host).
module.exports = require('./lib/load-native').loadNative('utils');
