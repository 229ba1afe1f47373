'use strict';
// Makes a small sample repository for the preview: a file renamed along its history, commits by
// several people on several dates, subjects holding quotes, "<" and "&", a branch whose merge
// conflicts, and working-tree changes with colour codes.
const fs = require('fs');
const path = require('path');
const { git } = require('./git');

const FILE = 'styles/theme.css';
const CONFLICT_BRANCH = 'palette';

const THEME_1 = [
  ':root {',
  '  --accent: #336699;',
  '  --text: #222222;',
  '}',
  '',
].join('\n');
const THEME_2 = [
  ':root {',
  '  --accent: #336699;',
  '  --text: #222222;',
  '  --warm: #ffcc00;',
  '  --aside: #f4e1c1;',
  '}',
  '',
  'aside { background: var(--aside); }',
  '',
].join('\n');
const THEME_3 = THEME_2.replace('aside {', 'aside, .note {');
const THEME_4 = `${THEME_3}.muted { color: rgba(60, 60, 60, 0.7); }\n`;
const THEME_MAIN = THEME_4.replace('--accent: #336699;', '--accent: #cc3300;');
const THEME_PALETTE = THEME_4.replace('--accent: #336699;', '--accent: #00aa55;');
// The working tree: new colour codes, a removed line, a comment with "<" and "&", no final line feed.
const THEME_WORK = THEME_MAIN
  .replace('  --text: #222222;\n', '  --text: rgb(10, 20, 30);\n  --highlight: #ff8800;\n')
  .replace('  --warm: #ffcc00;\n', '')
  .replace('.muted {', '/* keep contrast > 4.5 && < 7 */\n.muted {')
  .replace(/\n$/, '');

const PEOPLE = {
  ada: ['Ada Lovelace', 'ada@example.org'],
  grace: ['Grace Hopper', 'grace@example.org'],
  margaret: ['Margaret Hamilton', 'margaret@example.org'],
};

function write(repo, files) {
  for (const [file, text] of Object.entries(files)) {
    const full = path.join(repo, file);
    fs.mkdirSync(path.dirname(full), { recursive: true });
    fs.writeFileSync(full, text);
  }
}

function commit(repo, who, date, message) {
  const [name, email] = PEOPLE[who];
  const stamp = `${date}T10:00:00+00:00`;
  git(repo, ['add', '-A']);
  git(repo, ['commit', '-q', '-m', message], {
    env: {
      GIT_AUTHOR_NAME: name, GIT_AUTHOR_EMAIL: email, GIT_AUTHOR_DATE: stamp,
      GIT_COMMITTER_NAME: name, GIT_COMMITTER_EMAIL: email, GIT_COMMITTER_DATE: stamp,
    },
  });
}

// Fills the empty folder `repo` with the sample repository. Returns { repo, file, conflictBranch }.
function makeSampleRepo(repo) {
  fs.mkdirSync(repo, { recursive: true });
  git(repo, ['init', '-q', '-b', 'main']);
  git(repo, ['config', 'core.autocrlf', 'false']);
  git(repo, ['config', 'commit.gpgsign', 'false']);

  write(repo, { 'colors.css': THEME_1, 'README.md': '# Sample site\n\nColours & styles.\n' });
  commit(repo, 'ada', '2023-01-10', 'Start the colour sheet');
  write(repo, { 'colors.css': THEME_2 });
  commit(repo, 'grace', '2023-02-14', 'Add "warm" & <aside> colours');
  fs.mkdirSync(path.join(repo, 'styles'));
  git(repo, ['mv', 'colors.css', FILE]);
  write(repo, { [FILE]: THEME_3 });
  commit(repo, 'ada', '2023-03-03', `Move colours to ${FILE}`);
  write(repo, { [FILE]: THEME_4 });
  commit(repo, 'margaret', '2023-04-21', "Muted text: it's 'quiet' but < 7:1 & readable");

  git(repo, ['branch', CONFLICT_BRANCH]);
  write(repo, { [FILE]: THEME_MAIN, 'README.md': '# Sample site\n\nColours & styles, red accent.\n' });
  commit(repo, 'grace', '2023-05-02', 'Red accent');
  git(repo, ['checkout', '-q', CONFLICT_BRANCH]);
  write(repo, { [FILE]: THEME_PALETTE });
  commit(repo, 'margaret', '2023-05-09', 'Green accent');
  git(repo, ['checkout', '-q', 'main']);

  write(repo, { [FILE]: THEME_WORK });
  return { repo, file: FILE, conflictBranch: CONFLICT_BRANCH };
}

module.exports = { makeSampleRepo };
