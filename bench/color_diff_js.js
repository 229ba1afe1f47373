'use strict';
// The diff colouring of the add-on's "cd", written with JavaScript regular expressions: the same
// six passes and the same chunking, on the UTF-8 bytes of the text (held one byte a character),
// so that "." and "\s" see what the native passes see.

const HEADER = "$1\n<div class='diff-break'>$2<div class='tools'><span class='discard-hunk link'>discard hunk</span>"
  + "<span class='stage-hunk link'>stage hunk</span><span class='unstage-hunk link'>unstage hunk</span>"
  + "<span class='revert-hunk link'>revert hunk</span></div></div>\n";
const SWATCH = "<span class='color-preview' style='background-color: $1'></span>$1";
const ADDED = /(^|\n)\+{1}([^\n\r]*)/g;
const REMOVED = /(^|\n)-{1}([^\n\r]*)/g;
const HUNK = /(^|\n)(@@[^\n\r]*)/g;
const NOTE = /(^|\n)([^\n\r]*\\ No newline at end of file[^\n\r]*)/g;
const HEX = /(#[a-fA-F0-9]{6,8})/g;
const RGB = /(rgb[a]*[ \t\n\v\f\r]*\([0-9]+[ \t\n\v\f\r]?,[ \t\n\v\f\r]?[0-9]+[ \t\n\v\f\r]?,[ \t\n\v\f\r]?[0-9]+[ \t\n\v\f\r]?(,[ \t\n\v\f\r]?[0-9]*(\.[0-9]+)?[ \t\n\v\f\r]?)?\))/g;

// Returns the HTML of one chunk; `bytes` holds one UTF-8 byte per character.
function colorDiffChunk(bytes, showColorPreviews, markAddedRemoved) {
  let text = bytes;
  if (markAddedRemoved) {
    text = text.replace(ADDED, "$1<div class='diff-added'><span class='diff-action'>+</span>$2</div>");
    text = text.replace(REMOVED, "$1<div class='diff-removed'><span class='diff-action'>-</span>$2</div>");
  }
  text = text.replace(HUNK, HEADER);
  text = text.replace(NOTE, "$1\n<div class='diff-break'>$2</div>\n");
  if (showColorPreviews) {
    text = text.replace(HEX, SWATCH);
    text = text.replace(RGB, SWATCH);
  }
  return text;
}

// Returns what "cd" returns for `diffText`: swatches off above 150000 bytes, chunks of at most
// 10000 bytes cut at the slice's last line feed (index 10 or more), cut at the first zero.
function colorDiff(diffText, showColorPreviews, markAddedRemoved) {
  const bytes = Buffer.from(String(diffText), 'utf8').toString('latin1');
  const length = bytes.length;
  const show = length > 150000 ? false : !!showColorPreviews;
  const mark = !!markAddedRemoved;
  let out;
  if (length <= 10000) {
    out = colorDiffChunk(bytes, show, mark);
  } else {
    const parts = [];
    for (let start = 0; start <= length;) {
      const feed = bytes.lastIndexOf('\n', Math.min(start + 10000, length) - 1);
      const chunkLength = feed >= start + 10 ? feed - start : 10000;
      parts.push(colorDiffChunk(bytes.slice(start, start + chunkLength), show, mark));
      start += chunkLength;
    }
    out = parts.join('');
  }
  const zero = out.indexOf('\0');
  return Buffer.from(zero < 0 ? out : out.slice(0, zero), 'latin1').toString('utf8');
}

module.exports = { colorDiff, colorDiffChunk };
