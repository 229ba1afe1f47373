// Typings of promises.mjs, the promise face as an ES module: the methods, options and error types
// of promises.d.ts as named exports, and the exports object itself as the default export.
import * as utils from './promises.js';

export * from './promises.js';
export default utils;
