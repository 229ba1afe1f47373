'use strict';
// The module frame: what require() returns, and how arguments and results cross into the script.
const test = require('node:test');
const assert = require('node:assert');
const path = require('path');
const { spawn, execFileSync } = require('child_process');
const utils = require('../..');
const { root, standInGit, withPath, inChild } = require('./support/repo');

const METHODS = require('../../lib/methods').map((method) => method.name);

// The one list of methods is what both faces export, in order, each named by its short name, and
// what the ES module entries and the typings declare.
test('both faces export the list of methods in its order; the ES module entries and the typings declare them', () => {
  for (const face of [utils, require('../../promises')]) {
    assert.deepStrictEqual(Object.keys(face), METHODS);
    assert.deepStrictEqual(Object.values(face).map((method) => typeof method === 'function' && method.name), METHODS);
  }
  assert.strictEqual(require(path.join(__dirname, '..', '..', 'build', 'Release', 'utils.node')), utils);
  const read = (file) => require('fs').readFileSync(path.join(__dirname, '..', '..', file), 'utf8');
  for (const entry of ['index.mjs', 'promises.mjs']) assert.match(read(entry), new RegExp(`export const \\{ ${METHODS.join(', ')} \\}`));
  for (const typings of ['index.d.ts', 'promises.d.ts']) {
    assert.deepStrictEqual([...read(typings).matchAll(/^export function (\w+)/gm)].map((m) => m[1]), METHODS, typings);
  }
});

// Every context loads the module: a child that admits only context-aware add-ons loads it in a
// worker alone, which ends before any other context loads it, then in its main thread and in two
// workers at once, whose results (big ones held outside the heap among them, dropped as each
// worker ends) are the main thread's.
test('the add-on loads and answers in a lone worker, then in the main thread and two workers at once, under --force-context-aware', () => {
  const answers = (dir) => {
    const u = require(dir);
    return [Object.keys(u).join(), u.smc('<\u00e9>'), u.cd('+\u20ac #abcdef\n'.repeat(30000), 1, 1).length];
  };
  const inContexts = (dir, source) => {
    const { Worker } = require('worker_threads');
    const post = `require('worker_threads').parentPort.postMessage((${source})(${JSON.stringify(dir)}))`;
    const worker = () => new Promise((resolve) => {
      let answer;
      new Worker(post, { eval: true }).once('message', (got) => { answer = got; }).once('exit', () => resolve(answer));
    });
    return worker().then((alone) => Promise.all([alone, eval(source)(dir), worker(), worker()])); // eslint-disable-line no-eval
  };
  const expected = answers(root);
  assert.deepStrictEqual(inChild(inContexts, [root, String(answers)], ['--force-context-aware']), [expected, expected, expected, expected]);
});

test('string arguments go through the script\'s own string conversion', () => {
  const table = [
    [[], 'undefined'],
    [[undefined], 'undefined'],
    [[null], 'null'],
    [[12.5], '12.5'],
    [[-0], '0'],
    [[10n], '10'],
    [[true], 'true'],
    [[[1, '<']], '1,&lt;'],
    [[{ toString() { return '<a>'; } }], '&lt;a&gt;'],
    [[''], ''],
  ];
  for (const [args, expected] of table) assert.strictEqual(utils.smc(...args), expected, String(args[0]));
});

test('a conversion that throws reads as the empty string and the exception stays inside', () => {
  assert.strictEqual(utils.smc({ toString() { throw new Error('no'); } }), '');
  assert.strictEqual(utils.smc(Symbol('s')), '');
});

test('a zero character survives inside the module, and a result is cut at its first zero byte', () => {
  assert.strictEqual(utils.smc('a<\0b>'), 'a&lt;');
  assert.strictEqual(utils.smc('\0'), '');
});

test('cd needs three arguments, reads its flags by truthiness and its text by string conversion', () => {
  const added = "<div class='diff-added'><span class='diff-action'>+</span>";
  assert.deepStrictEqual([utils.cd(), utils.cd('+a', true), utils.cd({ toString() { throw new Error('no'); } }, true)],
    [undefined, undefined, undefined]);
  const marked = `${added}a <span class='color-preview' style='background-color: #aabbcc'></span>#aabbcc</div>`;
  for (const truthy of [true, 1, 'x', {}, [], -1]) assert.strictEqual(utils.cd('+a #aabbcc', truthy, truthy), marked);
  for (const falsy of [false, 0, '', null, undefined, NaN]) assert.strictEqual(utils.cd('+a #aabbcc', falsy, falsy), '+a #aabbcc');
  assert.deepStrictEqual([utils.cd(12, 0, 0), utils.cd(undefined, 0, 0), utils.cd('+a\0b', 0, 1), utils.cd('+a', 0, 0, 1)],
    ['12', 'undefined', `${added}a`, '+a']);
});

test('gafh returns the same form whatever it is given', () => {
  assert.strictEqual(utils.gafh(1, null, {}, 'x'), utils.gafh());
});

// What the host itself makes of a script string sent out as UTF-8 and back: a lone surrogate,
// written as three bytes that are not well-formed, returns as three replacement characters.
function hostRoundTrip(text) {
  return text.replace(/[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/g, '\ufffd\ufffd\ufffd');
}

test('generated text, short and past the size handed over in place, returns as the host would return it', () => {
  let seed = 5;
  const next = (n) => { seed = (seed * 1103515245 + 12345) % 2147483648; return seed % n; };
  const pieces = ['a', 'plain text ', 'é', 'ÿ', '€', '中', '😀', '\ud800', '\udc00', '\u0080', '\n'];
  for (let round = 0; round < 2000; round += 1) {
    let text = '';
    for (let i = next(30); i > 0; i -= 1) text += next(3) === 0 ? String.fromCharCode(next(0x10000)) : pieces[next(pieces.length)];
    text = text.replace(/[&<>\0]/g, '_');
    assert.strictEqual(utils.smc(text), hostRoundTrip(text), `round ${round}`);
    assert.strictEqual(utils.cd(text, false, false), hostRoundTrip(text), `round ${round}`);
  }
  // The last: a pair across the end of the first 8192 characters, which are read out together.
  for (const unit of ['x', 'ÿ', '€', '😀', 'a\ud800', `${'x'.repeat(8191)}😀`]) {
    const big = `${unit}${'0123456789abcdef'.repeat(40000)}${unit}`;
    for (const method of [utils.smc, (text) => utils.cd(text, false, false)]) {
      assert.strictEqual(method(big), hostRoundTrip(big));
      assert.strictEqual(method(`${big}\0tail`), hostRoundTrip(big));
    }
  }
});

// Anything that fails on the way answers false: here the patch cannot even be read into memory,
// in a child whose address space is capped just above what it uses, with a git that takes any patch.
test('a hunk method answers false when its patch cannot be read into memory', async () => {
  await withPath(standInGit(''), async () => {
    const child = spawn(process.execPath, ['-e', `const u = require(${JSON.stringify(root)});
      const patch = '\\u20ac'.repeat(50e6), answers = [u.grsh('small', '.')];
      process.stdout.write(/VmSize:\\s+(\\d+)/.exec(require('fs').readFileSync('/proc/self/status', 'utf8'))[1] + '\\n');
      process.stdin.once('data', () => { answers.push(u.grsh(patch, '.')); process.stdout.write(JSON.stringify(answers)); });`]);
    let out = '';
    child.stdout.on('data', (chunk) => {
      out += chunk;
      if (!out.endsWith('\n')) return;
      execFileSync('prlimit', ['--pid', String(child.pid), `--as=${(Number(out) + 65536) * 1024}`]);
      child.stdin.end('go');
      out = '';
    });
    await new Promise((resolve) => child.on('close', resolve));
    assert.strictEqual(out, '[true,false]');
  });
});
