'use strict';
// Times "cd" from Node on real `git log -p` output of 2 MB and 20 MB (bench/git_log_sample.js),
// string conversion included, interleaved in one process: against the same six passes written
// with JavaScript regular expressions; escaped by the add-on ({ escapeHtml: true }) against a
// JavaScript escape followed by "cd"; and the promise face's "cd" and "smc" against the
// synchronous ones, with the page faults of a call. With UTILS_BENCH_OTHER naming another build's
// package folder (an earlier commit's, say), its faces are interleaved too, for before and after
// figures from one process.
const utils = require('..');
const promises = require('../promises');
const { gitLogSamples } = require('./git_log_sample');
const js = require('./color_diff_js');

// diff2html, the JavaScript library a client would otherwise take for a word-marked view; the
// benchmark alone uses it, from the folder scripts/bench.js installs it into, outside the package.
const diff2html = process.env.UTILS_BENCH_DIFF2HTML ? require(process.env.UTILS_BENCH_DIFF2HTML) : null;

const other = process.env.UTILS_BENCH_OTHER
  ? { sync: require(process.env.UTILS_BENCH_OTHER), promises: require(`${process.env.UTILS_BENCH_OTHER}/promises`) }
  : null;

const MB = 1024 * 1024;
const samples = gitLogSamples([2 * MB, 20 * MB]);
const escape = (text) => text.replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;');

// Returns the median of `list`.
const mid = (list) => list.slice().sort((a, b) => a - b)[Math.floor(list.length / 2)];

// Returns the milliseconds and the minor page faults of one call of `fn` (awaited), after a
// collection.
async function once(fn) {
  if (global.gc) global.gc();
  const faults = process.resourceUsage().minorPageFault;
  const start = process.hrtime.bigint();
  await fn();
  return [Number(process.hrtime.bigint() - start) / 1e6, process.resourceUsage().minorPageFault - faults];
}

async function main() {
  for (const [size, diff] of Object.entries(samples)) {
    const bytes = Buffer.byteLength(diff);
    const result = utils.cd(diff, true, true);
    if (result !== js.colorDiff(diff, true, true)) throw new Error('cd and the JavaScript passes disagree');
    if (utils.cd(diff, true, true, { escapeHtml: true }) !== utils.cd(escape(diff), true, true)) {
      throw new Error('escaped cd and cd of the escaped text disagree');
    }
    if (await promises.cd(diff, true, true) !== result) throw new Error('the faces disagree');
    const plain = diff.replace(/[&<>]/g, '_');
    const calls = {
      'cd (native, with conversion)': () => utils.cd(diff, true, true),
      'JavaScript regex passes': () => js.colorDiff(diff, true, true),
      'cd, { escapeHtml: true }': () => utils.cd(diff, true, true, { escapeHtml: true }),
      'cd, { escapeHtml, words }': () => utils.cd(diff, true, true, { escapeHtml: true, words: true }),
      'JavaScript escape, then cd': () => utils.cd(escape(diff), true, true),
      'promise face cd': () => promises.cd(diff, true, true),
      'smc (string round trip)': () => utils.smc(plain),
      'promise face smc': () => promises.smc(plain),
    };
    // At 2 MB only: diff2html takes seconds a call at 20 MB.
    if (diff2html && bytes < 4 * MB) {
      calls['diff2html, word-style HTML'] = () => diff2html.html(diff, { diffStyle: 'word', matching: 'words', drawFileList: false });
    }
    if (other) {
      calls['other build: cd'] = () => other.sync.cd(diff, true, true);
      calls['other build: promise face cd'] = () => other.promises.cd(diff, true, true);
      calls['other build: promise face smc'] = () => other.promises.smc(plain);
    }
    const runs = bytes > 4 * MB ? 15 : 31;
    const times = Object.fromEntries(Object.keys(calls).map((name) => [name, []]));
    const faults = Object.fromEntries(Object.keys(calls).map((name) => [name, []]));
    for (let i = 0; i < runs; i += 1) {
      for (const [name, call] of Object.entries(calls)) {
        const [ms, faulted] = await once(call);
        times[name].push(ms);
        faults[name].push(faulted);
      }
    }
    const twoByte = /[^\u0000-\u00ff]/.test(diff) ? 'two-byte' : 'one-byte';
    process.stdout.write(`"cd" on ${(Number(size) / MB).toFixed(0)} MB of git log -p: ${bytes} bytes (${twoByte} string) -> `
      + `${Buffer.byteLength(result)} bytes of HTML, medians of ${runs} interleaved calls\n`);
    for (const name of Object.keys(calls)) {
      const ms = mid(times[name]);
      process.stdout.write(`  ${name.padEnd(32)} ${ms.toFixed(2).padStart(8)} ms  ${(bytes / MB / (ms / 1000)).toFixed(0).padStart(5)} MB/s`
        + `  ${String(mid(faults[name])).padStart(6)} page faults a call\n`);
    }
    const ratio = (a, b) => (mid(times[a]) / mid(times[b])).toFixed(2);
    process.stdout.write(`  cd is ${ratio('JavaScript regex passes', 'cd (native, with conversion)')}x the speed of the JavaScript passes; `
      + `escaped cd is ${ratio('JavaScript escape, then cd', 'cd, { escapeHtml: true }')}x the speed of escaping in JavaScript first, `
      + `${ratio('cd, { escapeHtml: true }', 'cd (native, with conversion)')}x plain cd; promise face / synchronous: `
      + `cd ${ratio('promise face cd', 'cd (native, with conversion)')}, smc ${ratio('promise face smc', 'smc (string round trip)')}; `
      + `changed words cost ${ratio('cd, { escapeHtml, words }', 'cd, { escapeHtml: true }')}x escaped cd`
      + `${times['diff2html, word-style HTML'] ? `; diff2html's word-style HTML takes ${ratio('diff2html, word-style HTML', 'cd, { escapeHtml, words }')}x as long` : ''}\n`);
  }
}

main();
