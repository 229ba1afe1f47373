'use strict';
// Times "cd" from Node on real `git log -p` output of 2 MB and 20 MB (bench/git_log_sample.js),
// string conversion included, interleaved in one process with the same six passes written with
// JavaScript regular expressions, and prints the medians, their ratio and the page faults of one
// call. Then times the bare string round trip through the add-on ("smc" on the diff with "&",
// "<" and ">" replaced) for comparison. With UTILS_BENCH_OTHER_ADDON naming another build of
// utils.node (an earlier commit's, say), its "cd" is interleaved too, for before and after figures
// from one process.
const utils = require('..');
const { median } = require('./timing');
const { gitLogSamples } = require('./git_log_sample');
const js = require('./color_diff_js');

const other = process.env.UTILS_BENCH_OTHER_ADDON ? { exports: {} } : null;
if (other) process.dlopen(other, require('path').resolve(process.env.UTILS_BENCH_OTHER_ADDON));

const MB = 1024 * 1024;
const samples = gitLogSamples([2 * MB, 20 * MB]);

// Returns the median of `list`.
const mid = (list) => list.slice().sort((a, b) => a - b)[Math.floor(list.length / 2)];

// Returns the minor page faults of one call of `fn`, after a collection.
function faults(fn) {
  if (global.gc) global.gc();
  const before = process.resourceUsage().minorPageFault;
  fn();
  return process.resourceUsage().minorPageFault - before;
}

for (const [size, diff] of Object.entries(samples)) {
  const bytes = Buffer.byteLength(diff);
  const result = utils.cd(diff, true, true);
  if (result !== js.colorDiff(diff, true, true)) throw new Error('cd and the JavaScript passes disagree');
  const runs = bytes > 4 * MB ? 15 : 31;
  const cd = [];
  const script = [];
  const faulted = [];
  const otherCd = [];
  const otherFaulted = [];
  if (other && other.exports.cd(diff, true, true) !== result) throw new Error('the other add-on disagrees');
  for (let i = 0; i < runs; i += 1) {
    cd.push(median(() => utils.cd(diff, true, true), 1));
    script.push(median(() => js.colorDiff(diff, true, true), 1));
    faulted.push(faults(() => utils.cd(diff, true, true)));
    if (other) {
      otherCd.push(median(() => other.exports.cd(diff, true, true), 1));
      otherFaulted.push(faults(() => other.exports.cd(diff, true, true)));
    }
  }
  const plain = diff.replace(/[&<>]/g, '_');
  const roundTrip = median(() => utils.smc(plain), runs);
  const twoByte = /[^\u0000-\u00ff]/.test(diff) ? 'two-byte' : 'one-byte';
  process.stdout.write(`"cd" on ${(Number(size) / MB).toFixed(0)} MB of git log -p: ${bytes} bytes (${twoByte} string) -> `
    + `${Buffer.byteLength(result)} bytes of HTML, medians of ${runs} interleaved calls\n`);
  const row = (name, ms) => process.stdout.write(`  ${name.padEnd(38)} ${ms.toFixed(2).padStart(8)} ms  ${(bytes / MB / (ms / 1000)).toFixed(0).padStart(5)} MB/s of diff\n`);
  row('cd (native, with conversion)', mid(cd));
  row('JavaScript regex passes', mid(script));
  row('string round trip of the diff (smc)', roundTrip);
  process.stdout.write(`  cd is ${(mid(script) / mid(cd)).toFixed(1)}x the speed of the JavaScript passes; `
    + `${mid(faulted)} page faults a call\n`);
  if (other) {
    row('cd of the other add-on', mid(otherCd));
    process.stdout.write(`  the other add-on's cd is ${(mid(script) / mid(otherCd)).toFixed(1)}x the speed of the `
      + `JavaScript passes; ${mid(otherFaulted)} page faults a call\n`);
  }
}
