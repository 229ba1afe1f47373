'use strict';
// Builds the preview page: one standalone HTML file that shows a repository through each of the
// add-on's views (diff, merge conflict, commit list, blame, filter form).
const fs = require('fs');
const path = require('path');
const { repositoryTop } = require('./git');
const { readInputs } = require('./inputs');

const root = path.join(__dirname, '..', '..');

// The page background; the blame view keeps commit colours away from it.
const BASE_COLOR = 'ffffff';

// Returns `text` with HTML's three markup characters escaped, for text the page itself places.
function escapeHtml(text) {
  return String(text).replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;');
}

function escapeAttribute(text) {
  return escapeHtml(text).replace(/'/g, '&#39;');
}

function count(haystack, needle) {
  return haystack.split(needle).length - 1;
}

function loadAddon() {
  const file = path.join(root, 'build', 'Release', 'utils.node');
  if (!fs.existsSync(file)) throw new Error('the add-on is not built; run npm install first');
  return require(path.join(root, 'index.js'));
}

// Returns a section; `body` is called only when the add-on has `method`, else the section says so.
function section(id, title, method, addon, source, body) {
  const built = typeof addon[method] === 'function';
  const inner = built
    ? body()
    : `<p class='not-built'>not built yet: this add-on has no method "${method}".</p>`;
  const about = source ? `<p class='source'>${escapeHtml(source)}</p>` : '';
  return { built, html: `<section id='${id}' data-built='${built ? 'yes' : 'no'}'>`
    + `<h2>${escapeHtml(title)} <code>${method}</code></h2>${about}${inner}</section>\n` };
}

// Writes the page for `repo` (any folder inside a repository) and `file` (a path from `repo` or
// from the top folder; by default the most recently changed file) into `outDir` as `<name>.html`. `conflictBranch` names a branch whose merge into
// HEAD conflicts, to show that conflict. Returns the page path, what was shown and the counts.
function buildPreview({ repo, file, outDir = path.join(root, 'preview'), name = 'index', conflictBranch, addon } = {}) {
  const top = repositoryTop(repo || process.cwd());
  if (!top) throw new Error(`${repo || process.cwd()} is not inside a git repository`);
  const utils = addon || loadAddon();
  const inputs = readInputs(top, file, conflictBranch, repo || process.cwd());
  const counts = {};

  // The diff is text: the add-on escapes it as it reads it, and marks the words that changed.
  const diff = section('diff', 'Diff colouring', 'cd', utils, inputs.diff.source, () => {
    if (!inputs.diff.text) return "<p class='empty'>no diff to show</p>";
    const html = utils.cd(inputs.diff.text, true, true, { escapeHtml: true, words: true });
    Object.assign(counts, {
      added: count(html, "<div class='diff-added'>"),
      removed: count(html, "<div class='diff-removed'>"),
      breaks: count(html, "<div class='diff-break'>"),
      swatches: count(html, "<span class='color-preview'"),
      changedWords: count(html, "<span class='diff-changed'>"),
    });
    return `<div class='diff'>${html}</div>`;
  });

  // A pre element drops a line feed that directly follows its start tag; the added one keeps the text whole.
  const conflict = section('conflict', 'Merge conflict', 'smc', utils, inputs.conflict.source,
    () => `<pre class='conflict'>\n${utils.smc(inputs.conflict.text)}</pre>`);

  const fileNote = inputs.file ? `${inputs.file}, followed across renames` : 'no file in HEAD';
  const commits = section('commits', 'Commit list', 'mtgcld', utils, fileNote, () => {
    if (!inputs.file) return "<p class='empty'>no file to list</p>";
    const options = utils.mtgcld(inputs.file, top, inputs.selectedHash);
    counts.commits = count(options, '<option');
    return `<select class='commit-list' data-file='${escapeAttribute(inputs.file)}'>${options}</select>`;
  });

  // The client hands its own lines, escaped, to the blame view, as it would highlighted ones.
  const blame = section('blame', 'Blame view', 'mtgch', utils, inputs.file ? `${inputs.file} as in HEAD` : '', () => {
    if (!inputs.file || inputs.content === null) return "<p class='empty'>no file to show</p>";
    const html = utils.mtgch(inputs.file, top, BASE_COLOR, escapeHtml(inputs.content));
    counts.blameLines = count(html, "<div class='line'");
    return `<div class='code' data-base-color='${BASE_COLOR}'>${html}</div>`;
  });

  const filters = section('filters', 'Filter form', 'gafh', utils, '', () => utils.gafh());

  const sections = { diff, conflict, commits, blame, filters };
  const css = fs.readFileSync(path.join(__dirname, 'preview.css'), 'utf8');
  const page = "<!DOCTYPE html>\n<html lang='en'>\n<head>\n<meta charset='utf-8'>\n"
    + `<title>utils preview: ${escapeHtml(path.basename(top))}</title>\n<style>\n${css}</style>\n</head>\n<body>\n`
    + `<h1>utils preview</h1>\n<p class='about'>Repository <code>${escapeHtml(top)}</code>`
    + `${inputs.file ? `, file <code>${escapeHtml(inputs.file)}</code>` : ''}.</p>\n`
    + Object.values(sections).map((s) => s.html).join('')
    + '</body>\n</html>\n';

  fs.mkdirSync(outDir, { recursive: true });
  const pagePath = path.join(outDir, `${name}.html`);
  fs.writeFileSync(pagePath, page);
  const built = Object.fromEntries(Object.entries(sections).map(([key, s]) => [key, s.built]));
  return { pagePath, repo: top, file: inputs.file, diff: inputs.diff, conflict: inputs.conflict, built, counts };
}

module.exports = { buildPreview, escapeHtml, BASE_COLOR };
