'use strict';
// Gathers from a repository what the preview page shows: a diff, a merge-conflict text, the file
// whose history and blame are shown, and that file's text as in HEAD.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { git } = require('./git');

// Returns true when `file` (relative to the top folder) exists in the commit HEAD.
function inHead(top, file) {
  return git(top, ['cat-file', '-e', `HEAD:${file}`], { allowFailure: true }) !== null;
}

function hasHead(top) {
  return git(top, ['rev-parse', '--verify', '--quiet', 'HEAD'], { allowFailure: true }) !== null;
}

function lines(text) {
  return (text || '').split('\n').filter(Boolean);
}

// Returns `file` relative to the top folder, with forward slashes. A path that names something on
// disk inside the repository, taken from `baseDir`, is made relative to the top folder; any other
// path is taken as git names it.
function relativeFile(top, file, baseDir) {
  const onDisk = path.resolve(baseDir, file);
  if (fs.existsSync(onDisk)) {
    const relative = path.relative(fs.realpathSync(top), fs.realpathSync(onDisk));
    if (!relative.startsWith('..') && !path.isAbsolute(relative)) return relative.split(path.sep).join('/');
  }
  return file.split(path.sep).join('/');
}

// Returns the most recently changed tracked file that is in HEAD: a file changed in the working
// tree or the index, else one of the latest commits' files, else README.md or the first file.
function chooseFile(top) {
  if (!hasHead(top)) return null;
  const changed = lines(git(top, ['diff', '--name-only', 'HEAD'], { allowFailure: true }));
  const committed = lines(git(top, ['log', '-n', '20', '--format=', '--name-only', 'HEAD'], { allowFailure: true }));
  const all = lines(git(top, ['ls-tree', '-r', '--name-only', 'HEAD'], { allowFailure: true }));
  // Lock files change often but say little; they are taken only when nothing else is there.
  const generated = (file) => /(^|\/)(package-lock\.json|[^/]*\.lock)$/.test(file);
  const recent = [...changed, ...committed];
  const candidates = [...recent.filter((file) => !generated(file)), 'README.md', ...recent, ...all.slice(0, 1)];
  return candidates.find((file) => inHead(top, file)) || null;
}

// Returns { text, source }: the working tree's diff, or the last commit's when that is empty.
function readDiff(top) {
  const working = git(top, ['diff', '--no-color', '--no-ext-diff'], { allowFailure: true }) || '';
  if (working) return { text: working, source: 'git diff (working tree against the index)' };
  if (!hasHead(top)) return { text: '', source: 'no commits and no changes' };
  const last = git(top, ['show', '--format=', '--no-color', '--no-ext-diff', '--diff-merges=first-parent', 'HEAD'],
    { allowFailure: true }) || '';
  return { text: last, source: 'git show HEAD (the working tree has no changes)' };
}

// Returns { text, source } of a conflict that merging `branch` into HEAD leaves, or null when the
// merge is clean or git cannot tell.
function conflictWithBranch(top, branch) {
  const out = git(top, ['merge-tree', '--write-tree', '--name-only', 'HEAD', branch],
    { okStatuses: [1], allowFailure: true });
  if (!out) return null;
  const [tree, ...rest] = out.split('\n');
  const file = rest.find(Boolean);
  if (!file) return null;
  const text = git(top, ['cat-file', '-p', `${tree}:${file}`], { allowFailure: true });
  return text ? { text, source: `${file} after merging ${branch} into HEAD (git merge-tree)` } : null;
}

// Fixed three versions of a small page that conflict; git merge-file writes the conflict text.
const SAMPLE_BASE = '<nav class="menu">\n  <a href="/">Home</a>\n  <a href="/log">History</a>\n</nav>\n';
const SAMPLE_OURS = '<nav class="menu">\n  <a href="/">Home &amp; start</a>\n  <a href="/log">History</a>\n</nav>\n';
const SAMPLE_THEIRS = '<nav class="menu">\n  <a href="/" class="home">Home</a>\n  <a href="/log">History</a>\n</nav>\n';

function sampleConflict() {
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'utils-preview-conflict-'));
  try {
    const files = { ours: SAMPLE_OURS, base: SAMPLE_BASE, theirs: SAMPLE_THEIRS };
    for (const [name, text] of Object.entries(files)) fs.writeFileSync(path.join(dir, name), text);
    const text = git(dir, ['merge-file', '-p', '-L', 'HEAD', '-L', 'base', '-L', 'feature/home-link',
      'ours', 'base', 'theirs'], { okStatuses: [0, 1, 2, 3] });
    return { text, source: 'a fixed sample merged with git merge-file' };
  } finally {
    fs.rmSync(dir, { recursive: true, force: true });
  }
}

// Returns { text, source }: an unmerged file of the working tree, a conflict with `branch`, or
// the fixed sample.
function readConflict(top, branch) {
  for (const file of lines(git(top, ['diff', '--name-only', '--diff-filter=U'], { allowFailure: true }))) {
    const full = path.join(top, file);
    if (fs.existsSync(full) && fs.readFileSync(full, 'utf8').includes('<<<<<<<')) {
      return { text: fs.readFileSync(full, 'utf8'), source: `${file} (unmerged in the working tree)` };
    }
  }
  return (branch && conflictWithBranch(top, branch)) || sampleConflict();
}

// Returns the abbreviated hash of the newest commit that touched `file`, or ''.
function newestCommit(top, file) {
  const out = git(top, ['log', '-n', '1', '--format=%h', 'HEAD', '--', file], { allowFailure: true });
  return out ? out.trim() : '';
}

// Returns everything the page needs from the repository at `top`; `file` is read from `baseDir`.
function readInputs(top, file, conflictBranch, baseDir = top) {
  const chosen = file ? relativeFile(top, file, baseDir) : chooseFile(top);
  const content = chosen ? git(top, ['show', `HEAD:${chosen}`], { allowFailure: true }) : null;
  return {
    file: chosen,
    content,
    selectedHash: chosen ? newestCommit(top, chosen) : '',
    diff: readDiff(top),
    conflict: readConflict(top, conflictBranch),
  };
}

module.exports = { readInputs, chooseFile };
