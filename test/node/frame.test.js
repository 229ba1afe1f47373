'use strict';
// The module frame, one suite over both faces: what require() and import give, loading in every
// context, how arguments cross into the add-on and results back, and what cd's options change.
const test = require('node:test');
const assert = require('node:assert');
const path = require('path');
const { spawn, execFileSync } = require('child_process');
const { root, standInGit, withPath, inChild, git, makeRepo, commit } = require('./support/repo');
const { eachFace } = require('./support/faces');

const METHODS = require('../../lib/methods').map((method) => method.name);

// The one list of methods is what both entries export, in order, each named by its short name,
// by require and by import, and what the typings declare.
test('both entries, by require and by import, export the list of methods in its order; the typings declare them', async () => {
  for (const [name, file, typings] of [['tarnwick-native-utils', 'index.js', 'index.d.ts'], ['tarnwick-native-utils/promises', 'promises.js', 'promises.d.ts']]) {
    const required = require(name);
    assert.strictEqual(required, require(path.join(root, file)), name);
    assert.deepStrictEqual(Object.entries(required).map(([key, method]) => [key, method.name]), METHODS.map((method) => [method, method]));
    const imported = await import(name);
    for (const method of METHODS) assert.strictEqual(imported[method], required[method], `${name} ${method}`);
    assert.strictEqual(imported.default, required, name);
    const declared = require('fs').readFileSync(path.join(root, typings), 'utf8');
    assert.deepStrictEqual([...declared.matchAll(/^export function (\w+)/gm)].map((m) => m[1]), METHODS, typings);
  }
  assert.strictEqual(require(path.join(root, 'build', 'Release', 'utils.node')), require(root));
});

// Every context loads the module: a child that admits only context-aware add-ons loads it in a
// worker alone, which ends before any other context loads it, then in its main thread and in two
// workers at once, whose results (big ones held outside the heap among them, dropped as each
// worker ends) are the main thread's.
eachFace('the add-on loads and answers in a lone worker, then in the main thread and two workers at once, under --force-context-aware', async (face) => {
  const repo = makeRepo();
  commit(repo, { 'a.txt': 'one\ntwo <&>\n' }, 'first');
  const answers = (file, dir) => {
    const u = require(file);
    const settled = (value) => Promise.resolve(value).catch((error) => error.code);
    return Promise.all([Object.keys(u).join(), u.smc('<\u00e9>'), settled(u.cd('+\u20ac #abcdef\n'.repeat(30000), 1, 1)).then((v) => v.length),
      u.mtgch('a.txt', dir, 'ffffff', null), u.mtgcld('a.txt', dir, ''), u.grsh('not a patch', dir)].map(settled));
  };
  const inContexts = (file, dir, source) => {
    const { Worker } = require('worker_threads');
    const post = `Promise.resolve((${source})(...${JSON.stringify([file, dir])}))
      .then((answer) => require('worker_threads').parentPort.postMessage(answer))`;
    const worker = () => new Promise((resolve) => {
      let answer;
      new Worker(post, { eval: true }).once('message', (got) => { answer = got; }).once('exit', () => resolve(answer));
    });
    return worker().then((alone) => Promise.all([alone, eval(source)(file, dir), worker(), worker()])); // eslint-disable-line no-eval
  };
  const expected = await answers(face.entry, repo);
  assert.deepStrictEqual(expected.slice(3).map((answer) => typeof answer === 'string' && /two &lt;&amp;&gt;|first/.test(answer)), [true, true, false]);
  assert.deepStrictEqual(inChild(inContexts, [face.entry, repo, String(answers)], ['--force-context-aware']), [expected, expected, expected, expected]);
});

eachFace('string arguments go through the script\'s own string conversion', async (face) => {
  const table = [[[], 'undefined'], [[undefined], 'undefined'], [[null], 'null'], [[12.5], '12.5'], [[-0], '0'],
    [[10n], '10'], [[true], 'true'], [[[1, '<']], '1,&lt;'], [[{ toString() { return '<a>'; } }], '&lt;a&gt;'], [[''], '']];
  for (const [args, expected] of table) assert.strictEqual(await face.smc(...args), expected, String(args[0]));
});

eachFace('a conversion that throws reads as the empty string and the exception stays inside', async (face) => {
  assert.strictEqual(await face.smc({ toString() { throw new Error('no'); } }), '');
  assert.strictEqual(await face.smc(Symbol('s')), '');
});

eachFace('a zero character survives inside the module, and a result is cut at its first zero byte', async (face) => {
  assert.strictEqual(await face.smc('a<\0b>'), 'a&lt;');
  assert.strictEqual(await face.smc('\0'), '');
});

eachFace('cd needs three arguments, reads its flags by truthiness and its text by string conversion', async (face) => {
  const added = "<div class='diff-added'><span class='diff-action'>+</span>";
  assert.deepStrictEqual([await face.cd(), await face.cd('+a', true), await face.cd({ toString() { throw new Error('no'); } }, true)],
    [undefined, undefined, undefined]);
  const marked = `${added}a <span class='color-preview' style='background-color: #aabbcc'></span>#aabbcc</div>`;
  for (const truthy of [true, 1, 'x', {}, [], -1]) assert.strictEqual(await face.cd('+a #aabbcc', truthy, truthy), marked);
  for (const falsy of [false, 0, '', null, undefined, NaN]) assert.strictEqual(await face.cd('+a #aabbcc', falsy, falsy), '+a #aabbcc');
  assert.deepStrictEqual([await face.cd(12, 0, 0), await face.cd(undefined, 0, 0), await face.cd('+a\0b', 0, 1), await face.cd('+a', 0, 0, 1)],
    ['12', 'undefined', `${added}a`, '+a']);
});

eachFace('gafh returns the same form whatever it is given', async (face) => {
  assert.strictEqual(await face.gafh(1, null, {}, 'x'), await face.gafh());
});

// What the host itself makes of a script string sent out as UTF-8 and back: a lone surrogate,
// written as three bytes that are not well-formed, returns as three replacement characters.
function hostRoundTrip(text) {
  return text.replace(/[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/g, '\ufffd\ufffd\ufffd');
}

eachFace('generated text, short and past the size handed over in place, returns as the host would return it', async (face) => {
  let seed = 5;
  const next = (n) => { seed = (seed * 1103515245 + 12345) % 2147483648; return seed % n; };
  const pieces = ['a', 'plain text ', 'é', 'ÿ', '€', '中', '😀', '\ud800', '\udc00', '\u0080', '\n'];
  for (let round = 0; round < 2000; round += 1) {
    let text = '';
    for (let i = next(30); i > 0; i -= 1) text += next(3) === 0 ? String.fromCharCode(next(0x10000)) : pieces[next(pieces.length)];
    text = text.replace(/[&<>\0]/g, '_');
    assert.strictEqual(await face.smc(text), hostRoundTrip(text), `round ${round}`);
    assert.strictEqual(await face.cd(text, false, false), hostRoundTrip(text), `round ${round}`);
  }
  // The last: a pair across the end of the first 8192 characters, which are read out together.
  for (const unit of ['x', 'ÿ', '€', '😀', 'a\ud800', `${'x'.repeat(8191)}😀`]) {
    const big = `${unit}${'0123456789abcdef'.repeat(40000)}${unit}`;
    for (const method of [face.smc, (text) => face.cd(text, false, false)]) {
      assert.strictEqual(await method(big), hostRoundTrip(big));
      assert.strictEqual(await method(`${big}\0tail`), hostRoundTrip(big));
    }
  }
});

// { escapeHtml: true } gives what the text escaped first gives, this repository's history among
// the texts; anything else as the fourth argument changes nothing.
eachFace('cd with escapeHtml shows the text escaped first', async (face) => {
  const escape = (text) => text.replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;');
  const texts = ['<&>', '+a <b> #aabbcc &amp;\n-\u00e9\ud800 rgb(1, 2, 3)\0<', `+${'<w'.repeat(12000)}\n-${'\u00ff&'.repeat(300000)}`,
    git(root, ['log', '-p', '-40', '--no-color'])];
  for (const text of texts) {
    for (const flags of [[true, true], [false, false]]) assert.strictEqual(await face.cd(text, ...flags, { escapeHtml: 1 }), await face.cd(escape(text), ...flags));
    for (const other of [{ escapeHtml: false }, 'escapeHtml', null]) assert.strictEqual(await face.cd(text, 1, 1, other), await face.cd(text, 1, 1));
  }
});

// Changed words: without their spans the view is the plain one, and in every change block the
// removed side's unmarked text equals the added side's.
eachFace('cd marks changed words so that the rest of a block is what both sides share', async (face) => {
  const marked = /<span class='diff-changed'>((?:<span class='color-preview'[^>]*><\/span>|[^<])*)<\/span>/g;
  const lines = ['-const a = compute(1); // #aabbcc', '+const a = compute(2); // #aabbcc', '-\u00e9t\u00e9 <b>', '+\u00e9t\u00e9 <i>'];
  const generated = Array.from({ length: 400 }, (_, i) => `@@ -${i} +${i} @@\n ctx\n${lines[i % 4]}\n${lines[(i + 1) % 4]}\n`).join('');
  // A block: rows next to each other (a note's wrapper aside); a removed one after an added one starts the next.
  const row = /(?:\n?<div class='diff-break'>)?<div class='diff-(removed|added)'><span class='diff-action'>.<\/span>(.*?)<\/div>(?:<\/div>\n)?\n?/g;
  for (const text of [generated, git(root, ['log', '-p', '-60', '--no-color'])]) {
    const html = await face.cd(text, true, true, { escapeHtml: true, words: true });
    assert.strictEqual(html.replace(marked, '$1'), await face.cd(text, true, true, { escapeHtml: true }));
    const blocks = [];
    for (const { 0: whole, 1: side, 2: content, index } of html.matchAll(row)) {
      let block = blocks[blocks.length - 1];
      if (!block || block.end !== index || (side === 'removed' && block.added)) blocks.push(block = {});
      block[side] = (block[side] || '') + content.replace(marked, '').replace(/<span class='color-preview'[^>]*><\/span>/g, '');
      Object.assign(block, { end: index + whole.length, marked: block.marked || content.includes("<span class='diff-changed'>") });
    }
    for (const block of blocks.filter((b) => b.marked)) assert.strictEqual(block.removed, block.added);
    assert.ok(blocks.some((b) => b.marked));
  }
});

// Anything that fails on the way answers false (the promise face rejects for memory): here the patch cannot even be read into memory,
// in a child whose address space is capped just above what it uses, with a git that takes any patch.
eachFace('a hunk method answers false when its patch cannot be read into memory', async (face) => {
  await withPath(standInGit(''), async () => {
    const child = spawn(process.execPath, ['-e', `const u = require(${JSON.stringify(face.entry)});
      const settled = (value) => Promise.resolve(value).catch((error) => error.code);
      const patch = '\\u20ac'.repeat(50e6), answers = [settled(u.grsh('small', '.'))];
      process.stdout.write(/VmSize:\\s+(\\d+)/.exec(require('fs').readFileSync('/proc/self/status', 'utf8'))[1] + '\\n');
      process.stdin.once('data', () => { answers.push(settled(u.grsh(patch, '.')));
        Promise.all(answers).then((all) => process.stdout.write(JSON.stringify(all))); });`]);
    let out = '';
    child.stdout.on('data', (chunk) => {
      out += chunk;
      if (!out.endsWith('\n')) return;
      execFileSync('prlimit', ['--pid', String(child.pid), `--as=${(Number(out) + 65536) * 1024}`]);
      child.stdin.end('go');
      out = '';
    });
    await new Promise((resolve) => child.on('close', resolve));
    assert.deepStrictEqual(JSON.parse(out), [true, face.name === 'sync' ? false : 'ERR_MEMORY_ALLOCATION_FAILED']);
  });
});
