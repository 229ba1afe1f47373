'use strict';
// Returns the median time in milliseconds of `runs` calls of `fn`, collecting garbage before
// each when node runs with --expose-gc, so one run's garbage is not charged to the next.
function median(fn, runs) {
  const times = [];
  for (let i = 0; i < runs; i += 1) {
    if (global.gc) global.gc();
    const start = process.hrtime.bigint();
    fn();
    times.push(Number(process.hrtime.bigint() - start) / 1e6);
  }
  times.sort((a, b) => a - b);
  return times[Math.floor(times.length / 2)];
}

module.exports = { median };
