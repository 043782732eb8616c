// The player for pages under node: what tests of it use.
const fs = require('fs');
const path = require('path');

const root = path.join(__dirname, '../..');
process.setMaxListeners(0); // each program listens
delete globalThis.fetch; // else orb.js takes node for a browser

function copyFolder(FS, from, to) {
  FS.mkdir(to);
  for (const entry of fs.readdirSync(from, { withFileTypes: true })) {
    const source = path.join(from, entry.name);
    if (entry.isDirectory()) copyFolder(FS, source, to + '/' + entry.name);
    else FS.writeFile(to + '/' + entry.name, fs.readFileSync(source));
  }
}

// A function that makes programs, of the folder of orb.js; each has the examples, and prints with
// `print`. Ends the test as skipped if there is none.
function programs(folder) {
  folder = path.resolve(folder);
  if (!fs.existsSync(path.join(folder, 'orb.wasm'))) {
    console.log('no player for pages: ./orb web makes it');
    process.exit(77);
  }
  const createOrb = require(path.join(folder, 'orb.js'));
  const wasmBinary = fs.readFileSync(path.join(folder, 'orb.wasm'));
  return async (print = console.log) => {
    const orb = await createOrb({ wasmBinary, print, printErr: print });
    copyFolder(orb.FS, path.join(root, 'examples'), '/examples');
    return {
      FS: orb.FS,
      // Throws why it can't be played.
      start(script, words, options) {
        if (!orb.ccall('orb_start', 'number', ['string', 'string', 'string'], [script, words.join('\n'), options]))
          throw new Error(orb.ccall('orb_error', 'string'));
      },
      // False: play is over. Throws why it has failed.
      frame() {
        const state = orb._orb_frame();
        if (state < 0) throw new Error(orb.ccall('orb_error', 'string'));
        return state > 0;
      },
      sum: (ofDisplay = 0) => orb.ccall('orb_sum', 'string', ['number'], [ofDisplay]),
      input: words => orb.ccall('orb_input', null, ['string'], [words]),
    };
  };
}

// Runs a test, whose result is what is wrong; '' if nothing.
function run(test) {
  test().catch(error => String(error.stack)).then(wrong => {
    if (wrong) console.log('FAILED: ' + wrong);
    process.exitCode = wrong ? 1 : 0;
  });
}

module.exports = { programs, root, run };
