// The synchronous add-on as an ES module: its eight methods as named exports, and the exports
// object itself as the default export.
import { createRequire } from 'node:module';

const utils = createRequire(import.meta.url)('./index.js');

export const { cd, smc, grsh, gruh, grdh, gafh, mtgcld, mtgch } = utils;
export default utils;
