// Typings of index.mjs, the synchronous add-on as an ES module: the eight methods of index.d.ts as
// named exports, and the exports object itself as the default export.
import * as utils from './index.js';

export * from './index.js';
export default utils;
