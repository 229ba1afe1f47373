'use strict';
// Opens the preview page in headless Chromium and reads back what the add-on's markup shows:
// diff element counts, the commit list's options, the blame view's colours, the conflict text.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const { makeRepo, commit, git } = require('./support/repo');
const { findChromium, LAUNCH_ARGS } = require('./support/chromium');
const { buildPreview, BASE_COLOR } = require('../../scripts/preview/page');

const root = path.join(__dirname, '..', '..');
const FILE = 'web/site.css';

function playwright() {
  try {
    return require('playwright-core');
  } catch (e) {
    return null;
  }
}

const chromiumPath = findChromium();
const skip = !chromiumPath ? 'no Chromium found (install Debian\'s chromium package or set CHROMIUM_PATH)'
  : !playwright() ? 'playwright-core is not installed (run npm install)' : false;

// A repository whose file was renamed, with subjects holding quotes, "<" and "&", a branch that
// conflicts, and working-tree changes in two hunks with colour codes and no final line feed.
function sampleRepository() {
  const repo = makeRepo('preview site');
  const base = Array.from({ length: 30 }, (_, i) => `.c${i} { margin: ${i}px; }`);
  commit(repo, { 'old.css': `${base.join('\n')}\n` }, 'Say "hi" & <b>wave</b>', 1577880000);
  fs.mkdirSync(path.join(repo, 'web'));
  git(repo, ['mv', 'old.css', FILE]);
  commit(repo, { [FILE]: `${base.join('\n')}\n.a { color: #336699; }\n` },
    "Rename to web/site.css; it's <fine> & 'quoted'", 1600000000);
  const third = [...base.slice(0, 29), '.b > .c { color: red; } /* a & b */', '.a { color: #cc3300; }'];
  commit(repo, { [FILE]: `${third.join('\n')}\n` }, 'Tighten <selectors>', 1650000000);
  git(repo, ['branch', 'other']);
  commit(repo, { [FILE]: `${third.join('\n').replace('#cc3300', '#00aa55')}\n` }, 'Green', 1660000000);
  git(repo, ['checkout', '-q', 'other']);
  commit(repo, { [FILE]: `${third.join('\n').replace('#cc3300', '#0000ff')}\n` }, 'Blue', 1661000000);
  git(repo, ['checkout', '-q', 'main']);
  const work = [...third];
  work[2] = '.c2 { color: rgb(10, 20, 30); background: #ff8800; border-color: #abc; }';
  work.splice(5, 1);
  work[work.length - 1] = '.a { color: rgba(1,2,3,0.5); outline: 1px solid #12345678; } /* <b> & </b> */';
  fs.writeFileSync(path.join(repo, FILE), work.join('\n'));
  return repo;
}

// Returns the expected element counts of a diff, read from its lines and colour codes.
function expectedDiffCounts(diff) {
  const lines = diff.split('\n');
  const hunks = lines.filter((line) => line.startsWith('@@')).length;
  const hex = diff.match(/#[a-fA-F0-9]{6,8}/g) || [];
  const rgb = diff.match(/rgba*\s*\(\d+\s?,\s?\d+\s?,\s?\d+\s?(,\s?\d*(\.\d+)?\s?)?\)/g) || [];
  return {
    added: lines.filter((line) => line.startsWith('+')).length,
    removed: lines.filter((line) => line.startsWith('-')).length,
    breaks: hunks + lines.filter((line) => line.includes('\\ No newline at end of file')).length,
    hunks,
    swatches: hex.length + rgb.length,
  };
}

// Returns the commits that `git log --follow` lists for `file`: short and full hash, time,
// subject and the path that the commit list shows (the given path for a rename).
function logOf(repo, file) {
  const out = git(repo, ['log', '--follow', '--name-status', '--format=%x01%h%x09%H%x09%at%x09%s', '--', file]);
  return out.split('\x01').slice(1).map((record) => {
    const [header, ...rest] = record.split('\n');
    const [shortHash, hash, time, subject] = header.split('\t');
    const [status, first] = rest.find(Boolean).split('\t');
    return { shortHash, hash, time: Number(time), subject, path: status.startsWith('R') ? file : first };
  });
}

const MONTHS = ['Jan', 'Feb', 'Mar', 'Apr', 'May', 'Jun', 'Jul', 'Aug', 'Sep', 'Oct', 'Nov', 'Dec'];

// Returns the commit list's date text in the process's own time zone ("13 Sep 2020").
function dateText(seconds) {
  const date = new Date(seconds * 1000);
  return `${String(date.getDate()).padStart(2, '0')} ${MONTHS[date.getMonth()]} ${date.getFullYear()}`;
}

// Returns the blame view's colour of a commit: its first six digits, with blue at ff when that
// colour lies close to the base colour (channel differences summing to 267 or less).
function commitColor(hash, baseColor) {
  const channels = (hex) => [0, 2, 4].map((i) => parseInt(hex.slice(i, i + 2), 16));
  const own = channels(hash);
  const base = channels(baseColor);
  const distance = own.reduce((sum, value, i) => sum + Math.abs(value - base[i]), 0);
  return distance <= 267 ? `${hash.slice(0, 4)}ff` : hash.slice(0, 6);
}

function rgbOf(hex) {
  return `rgb(${[0, 2, 4].map((i) => parseInt(hex.slice(i, i + 2), 16)).join(', ')})`;
}

test('the preview page shows the add-on\'s markup in Chromium', { skip, timeout: 180000 }, async (t) => {
  const repo = sampleRepository();
  const result = buildPreview({ repo, file: FILE, outDir: path.join(root, 'preview'), name: 'browser-test', conflictBranch: 'other' });
  const browser = await playwright().chromium.launch({ executablePath: chromiumPath, headless: true, args: LAUNCH_ARGS });
  t.after(() => browser.close());
  const page = await browser.newPage({ viewport: { width: 1100, height: 900 } });
  await page.goto(`file://${result.pagePath}`);
  const builtSkip = (method, key) => (result.built[key] ? false : `"${method}" is not built yet`);

  await t.test('diff: element counts follow the diff lines and colour codes', { skip: builtSkip('cd', 'diff') }, async () => {
    const diff = git(repo, ['diff', '--no-color', '--no-ext-diff']);
    assert.strictEqual(result.diff.text, diff);
    const expected = expectedDiffCounts(diff);
    assert.ok(expected.hunks >= 2 && expected.swatches >= 4, 'the sample diff has hunks and colour codes');
    const seen = await page.evaluate(() => {
      const all = (selector) => [...document.querySelectorAll(`#diff ${selector}`)];
      return {
        added: all('.diff-added').length,
        removed: all('.diff-removed').length,
        breaks: all('.diff-break').length,
        hunks: all('.diff-break > .tools').length,
        swatches: all('.color-preview').length,
        tools: all('.diff-break > .tools').map((tools) => [...tools.children].map((link) => link.className).join(',')),
        swatchColors: all('.color-preview').map((swatch) => swatch.style.backgroundColor !== ''),
        text: document.querySelector('#diff .diff').textContent,
      };
    });
    assert.deepStrictEqual(
      { added: seen.added, removed: seen.removed, breaks: seen.breaks, hunks: seen.hunks, swatches: seen.swatches },
      { added: expected.added, removed: expected.removed, breaks: expected.breaks, hunks: expected.hunks, swatches: expected.swatches });
    for (const tools of seen.tools) {
      assert.strictEqual(tools, 'discard-hunk link,stage-hunk link,unstage-hunk link,revert-hunk link');
    }
    assert.ok(seen.swatchColors.every(Boolean), 'every swatch has a background colour the browser accepts');
    assert.ok(seen.text.includes('/* <b> & </b> */'), 'the diff text reads back with "<" and "&"');
  });

  await t.test('conflict: the text reads back whole, markers included', { skip: builtSkip('smc', 'conflict') }, async () => {
    const text = await page.evaluate(() => document.querySelector('#conflict pre').textContent);
    assert.match(result.conflict.text, /^<<<<<<< /m);
    assert.strictEqual(text, result.conflict.text);
  });

  await t.test('commit list: the options carry git\'s paths, hashes and subjects', { skip: builtSkip('mtgcld', 'commits') }, async () => {
    const options = await page.evaluate(() => {
      const select = document.querySelector('#commits select');
      return {
        value: select.value,
        options: [...select.options].map((option) => ({
          path: option.dataset.dfp, hash: option.dataset.dlcid, shortHash: option.value, label: option.textContent,
        })),
      };
    });
    const log = logOf(repo, FILE);
    assert.strictEqual(log.length, 4);
    assert.deepStrictEqual(options.options, log.map((entry) => ({
      path: entry.path, hash: entry.hash, shortHash: entry.shortHash,
      label: `${entry.shortHash} ${dateText(entry.time)} ${entry.subject}`,
    })));
    assert.ok(log.some((entry) => entry.path === 'old.css'), 'the commit before the rename shows the old path');
    assert.strictEqual(options.value, log[0].shortHash);
  });

  await t.test('blame: each line carries its commit\'s colour and its text', { skip: builtSkip('mtgch', 'blame') }, async () => {
    const lines = await page.evaluate(() => [...document.querySelectorAll('#blame .line')].map((line) => ({
      color: line.dataset.color,
      commit: line.dataset.commitid,
      number: line.dataset.dlinenumber,
      border: getComputedStyle(line.querySelector('.line-number')).borderRightColor,
      text: line.querySelector('.line-contents').textContent,
    })));
    const content = git(repo, ['show', `HEAD:${FILE}`]).split('\n').slice(0, -1);
    const hashes = new Set(logOf(repo, FILE).map((entry) => entry.hash));
    assert.strictEqual(lines.length, content.length);
    lines.forEach((line, i) => {
      assert.ok(hashes.has(line.commit), `line ${i + 1} names a commit of the file`);
      assert.strictEqual(line.color, commitColor(line.commit, BASE_COLOR));
      assert.strictEqual(line.border, rgbOf(line.color));
      assert.strictEqual(line.number, String(i + 1));
      assert.strictEqual(line.text, content[i]);
    });
    assert.ok(new Set(lines.map((line) => line.commit)).size >= 3, 'the lines come from several commits');
  });

  await t.test('filter form: four rows of two columns and two buttons', { skip: builtSkip('gafh', 'filters') }, async () => {
    const shape = await page.evaluate(() => ({
      rows: [...document.querySelectorAll('#filters form > .row')].map((row) => row.querySelectorAll(':scope > .column').length),
      inputs: document.querySelectorAll('#filters input').length,
      buttons: [...document.querySelectorAll('#filters button')].map((button) => button.type),
    }));
    assert.deepStrictEqual(shape, { rows: [2, 2, 2, 2], inputs: 8, buttons: ['submit', 'reset'] });
  });

  await page.screenshot({ path: result.pagePath.replace(/\.html$/, '.png'), fullPage: true });
});
