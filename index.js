'use strict';
// The package is the add-on itself: its exports object, with the eight methods and nothing else.
module.exports = require('./build/Release/utils.node');
