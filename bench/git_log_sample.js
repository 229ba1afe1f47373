'use strict';
// Real `git log -p` output for the benchmarks, the same on every run on one machine. A temporary
// repository imports real source trees found here (Linux and C++ headers, node's headers, npm's
// bundled packages, the OpenSSL and compiler headers), one commit a tree, and then goes through
// seeded edit commits: each changes a few files by deleting runs of their lines and putting in
// runs of lines taken from other files of the repository. The log of the edit commits, newest
// first, as git prints it (headers, hunks with context, added and removed source lines, non-ASCII
// text where the sources hold it), is cut after a line feed to the sizes asked for.
const fs = require('fs');
const path = require('path');
const { makeRepo, git } = require('../test/node/support/repo');

// Returns the regular text files under `dir` (no symbolic links, no zero byte, under 24 KB) as
// [path below dir, bytes], sorted by path.
function textFiles(dir) {
  const out = [];
  const walk = (sub) => {
    const entries = fs.readdirSync(path.join(dir, sub), { withFileTypes: true });
    for (const entry of entries.sort((a, b) => (a.name < b.name ? -1 : 1))) {
      const rel = sub ? `${sub}/${entry.name}` : entry.name;
      if (entry.isDirectory()) walk(rel);
      if (!entry.isFile() || /[\n"\\]/.test(rel)) continue;
      const bytes = fs.readFileSync(path.join(dir, rel));
      if (bytes.length > 0 && bytes.length < 24 * 1024 && !bytes.includes(0)) out.push([rel, bytes]);
    }
  };
  if (fs.existsSync(dir)) walk('');
  return out;
}

// Returns the entries of `dir` matching `pattern` (a RegExp), sorted, as full paths.
function entries(dir, pattern) {
  if (!fs.existsSync(dir)) return [];
  return fs.readdirSync(dir).filter((name) => pattern.test(name)).sort().map((name) => path.join(dir, name));
}

// Returns [[source folder, folder in the repository]], the trees to import, oldest first.
function trees() {
  const list = [
    ['/usr/include/linux', 'include/linux'],
    ...entries('/usr/include/c++', /^\d+$/).slice(-1).map((dir) => [dir, 'include/c++']),
    ['/usr/include/node', 'include/node'],
    ['/usr/lib/node_modules/npm/node_modules', 'lib'],
    ['/usr/include/openssl', 'include/openssl'],
    ...entries('/usr/lib/gcc/x86_64-linux-gnu', /^\d+$/).slice(-1).map((dir) => [`${dir}/include`, 'include/gcc']),
    ...entries('/usr/lib', /^llvm-\d+$/).slice(-1).flatMap((dir) => entries(`${dir}/lib/clang`, /./).slice(-1))
      .map((dir) => [`${dir}/include`, 'include/clang']),
  ];
  return list.filter(([from]) => fs.existsSync(from));
}

const AUTHORS = [['Ann Author', 'ann@example.com'], ['Bo B\u00f6rk', 'bo@example.com'], ['Chen Wei', 'chen@example.com']];

// Returns the fast-import stream of the whole history and the number of edit commits in it.
function history(edits) {
  let seed = 20260113;
  const next = (n) => { seed = (seed * 1103515245 + 12345) % 2147483648; return Math.floor(seed / 65536) % n; };
  const parts = [];
  let mark = 0;
  let when = 1600000000;
  const commit = (message, files) => {
    mark += 1;
    when += 3600;
    const [name, email] = AUTHORS[mark % AUTHORS.length];
    const text = Buffer.from(message);
    parts.push(Buffer.from(`commit refs/heads/main\nmark :${mark}\nauthor ${name} <${email}> ${when} +0000\n`
      + `committer ${name} <${email}> ${when} +0000\ndata ${text.length}\n`), text,
    Buffer.from(`\n${mark > 1 ? `from :${mark - 1}\n` : ''}`));
    for (const [file, bytes] of files) parts.push(Buffer.from(`M 100644 inline ${file}\ndata ${bytes.length}\n`), bytes, Buffer.from('\n'));
  };
  const lines = new Map();
  for (const [from, to] of trees()) {
    const files = textFiles(from).map(([rel, bytes]) => [`${to}/${rel}`, bytes]);
    for (const [file, bytes] of files) lines.set(file, bytes.toString('latin1').split('\n'));
    if (files.length > 0) commit(`Import ${to}`, files);
  }
  const names = [...lines.keys()].sort();
  for (let e = 0; e < edits; e += 1) {
    const changed = new Set();
    for (let f = 1 + next(5); f > 0; f -= 1) {
      const name = names[next(names.length)];
      const file = lines.get(name);
      for (let h = 1 + next(12); h > 0; h -= 1) {
        const donor = lines.get(names[next(names.length)]);
        const take = next(13);
        const from = next(Math.max(1, donor.length - take));
        file.splice(next(file.length + 1), next(10), ...donor.slice(from, from + take));
      }
      changed.add(name);
    }
    commit(`Edit ${changed.size} file${changed.size > 1 ? 's' : ''} (${e + 1})`,
      [...changed].map((name) => [name, Buffer.from(lines.get(name).join('\n'), 'latin1')]));
  }
  return Buffer.concat(parts);
}

// Returns { [bytes]: text } for each size in `sizes`: the newest part of the edit commits' log,
// cut after the last line feed that fits.
function gitLogSamples(sizes) {
  const edits = 2000;
  const repo = makeRepo();
  git(repo, ['-c', 'pack.compression=0', 'fast-import', '--quiet', '--depth=0'], { input: history(edits) });
  const log = git(repo, ['log', '-p', '--no-color', '-n', String(edits), 'main'], { encoding: 'buffer' });
  const out = {};
  for (const size of sizes) {
    if (log.length < size) throw new Error(`the sample log has ${log.length} bytes, fewer than ${size}`);
    out[size] = log.subarray(0, log.lastIndexOf(0x0a, size - 1) + 1).toString('utf8');
  }
  return out;
}

module.exports = { gitLogSamples };
