'use strict';
// Finds a Chromium to drive with playwright-core: CHROMIUM_PATH, Debian's /usr/bin/chromium, or
// a chromium/chrome command on PATH.
const fs = require('fs');
const path = require('path');

const NAMES = ['chromium', 'chromium-browser', 'google-chrome', 'google-chrome-stable'];

function executable(file) {
  try {
    fs.accessSync(file, fs.constants.X_OK);
    return fs.statSync(file).isFile();
  } catch (e) {
    return false;
  }
}

// Returns the path of a Chromium executable, or null when there is none.
function findChromium() {
  const candidates = [process.env.CHROMIUM_PATH, '/usr/bin/chromium'];
  for (const dir of (process.env.PATH || '').split(path.delimiter).filter(Boolean)) {
    for (const name of NAMES) candidates.push(path.join(dir, name));
  }
  return candidates.find((file) => file && executable(file)) || null;
}

// Launch arguments for a quiet headless run in a container: no sandbox, GPU, network extras or sync.
const LAUNCH_ARGS = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync'];

module.exports = { findChromium, LAUNCH_ARGS };
