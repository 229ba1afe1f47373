'use strict';
// Opens the preview page in headless Chromium and reads back what the add-on's markup shows: the
// browser builds every element the markup holds, accepts every colour, and gives back the texts
// and values that git printed.
const test = require('node:test');
const assert = require('node:assert');
const fs = require('fs');
const path = require('path');
const { execFileSync } = require('child_process');
const { tempDir, git } = require('./support/repo');
const { buildPreview } = require('../../scripts/preview/page');
const { makeSampleRepo } = require('../../scripts/preview/sample-repo');

function playwright() {
  try {
    return require('playwright-core');
  } catch (e) {
    return null;
  }
}

// CHROMIUM_PATH, or a Chromium on PATH (Debian's package installs /usr/bin/chromium).
const chromiumPath = process.env.CHROMIUM_PATH || ['chromium', 'chromium-browser', 'google-chrome'].map((name) => {
  try {
    return execFileSync('sh', ['-c', `command -v ${name}`], { encoding: 'utf8' }).trim();
  } catch (e) {
    return '';
  }
}).find(Boolean);
// A quiet headless run in a container: no sandbox, GPU, network extras or sync.
const LAUNCH_ARGS = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync'];
const skip = !chromiumPath ? 'no Chromium found (install Debian\'s chromium package or set CHROMIUM_PATH)'
  : !playwright() ? 'playwright-core is not installed (run npm install)' : false;

test('the preview page shows the add-on\'s markup in Chromium', { skip, timeout: 180000 }, async () => {
  // The preview's own sample: a renamed file, subjects with quotes, "<" and "&", colour codes in
  // the working tree's changes, no final line feed, and a branch that conflicts.
  const { repo, file: FILE, conflictBranch } = makeSampleRepo(path.join(tempDir(), 'preview site'));
  const result = buildPreview({ repo, file: FILE, name: 'browser-test', conflictBranch });
  const html = fs.readFileSync(result.pagePath, 'utf8');
  const count = (piece) => html.split(piece).length - 1;
  const browser = await playwright().chromium.launch({ executablePath: chromiumPath, headless: true, args: LAUNCH_ARGS });
  try {
    const page = await browser.newPage({ viewport: { width: 1100, height: 900 } });
    await page.goto(`file://${result.pagePath}`);
    const seen = await page.evaluate(() => {
      const all = (selector) => [...document.querySelectorAll(selector)];
      return {
        added: all('#diff .diff-added').length,
        removed: all('#diff .diff-removed').length,
        tools: all('#diff .diff-break > .tools').map((tools) => [...tools.children].map((link) => link.className).join(',')),
        swatches: all('#diff .color-preview').map((swatch) => swatch.style.backgroundColor !== ''),
        changed: all('#diff .diff-changed').map((mark) => getComputedStyle(mark).backgroundColor),
        diffText: document.querySelector('#diff .diff').textContent,
        conflict: document.querySelector('#conflict pre').textContent,
        options: all('#commits option').map((o) => [o.dataset.dfp, o.dataset.dlcid, o.value, o.textContent, o.selected]),
        lines: all('#blame .line').map((line) => [line.dataset.color,
          getComputedStyle(line.querySelector('.line-number')).borderRightColor, line.querySelector('.line-contents').textContent]),
        rows: all('#filters form > .row').map((row) => row.querySelectorAll(':scope > .column').length),
        buttons: all('#filters button').map((button) => button.type),
      };
    });
    assert.deepStrictEqual([seen.added, seen.removed, seen.tools.length, seen.swatches.length],
      [count("<div class='diff-added'>"), count("<div class='diff-removed'>"), count("<div class='tools'>"), count("class='color-preview'")]);
    assert.ok(seen.tools.length >= 1 && seen.swatches.length >= 3, 'the sample diff has hunks and colour codes');
    assert.ok(seen.changed.length === count("<span class='diff-changed'>") && seen.changed.length >= 1
      && seen.changed.every((colour) => colour !== 'rgba(0, 0, 0, 0)'), 'changed words are marked, and shown by the stylesheet');
    for (const tools of seen.tools) assert.strictEqual(tools, 'discard-hunk link,stage-hunk link,unstage-hunk link,revert-hunk link');
    assert.ok(seen.swatches.every(Boolean), 'every swatch has a colour the browser accepts');
    assert.ok(seen.diffText.includes('/* keep contrast > 4.5 && < 7 */'), 'the diff text reads back with "<" and "&"');
    assert.match(result.conflict.text, /^<<<<<<< /m);
    assert.strictEqual(seen.conflict, result.conflict.text);

    const log = git(repo, ['log', '--follow', '--name-status', '--format=%x01%h%x09%H%x09%ad%x09%s', '--date=format:%d %b %Y', '--', FILE]);
    assert.deepStrictEqual(seen.options, log.split('\x01').slice(1).map((record, i) => {
      const [header, ...rest] = record.split('\n');
      const [short, full, date, subject] = header.split('\t');
      const [status, first] = rest.find(Boolean).split('\t');
      return [status.startsWith('R') ? FILE : first, full, short, `${short} ${date} ${subject}`, i === 0];
    }));
    const content = git(repo, ['show', `HEAD:${FILE}`]).split('\n').slice(0, -1);
    assert.deepStrictEqual(seen.lines.map((line) => line[2]), content.map((line) => line || '\n'));
    for (const [color, border] of seen.lines) {
      assert.strictEqual(border, `rgb(${[0, 2, 4].map((i) => parseInt(color.slice(i, i + 2), 16)).join(', ')})`);
    }
    assert.deepStrictEqual([seen.rows, seen.buttons], [[2, 2, 2, 2], ['submit', 'reset']]);
    await page.screenshot({ path: result.pagePath.replace(/\.html$/, '.png'), fullPage: true });
  } finally {
    await browser.close();
  }
});
