// Plays the scenes of tests/golden/scenes.txt in the player for pages, under node, and compares each
// frame with the sums recorded from the module for x86.
// usage: node golden.js FOLDER-OF-ORB.JS [PART-OF-A-NAME]
const fs = require('fs');
const path = require('path');

const root = path.join(__dirname, '../..');
const folder = path.resolve(process.argv[2]);
const part = process.argv[3] || '';
if (!fs.existsSync(path.join(folder, 'orb.wasm'))) {
  console.log('no player for pages: ./orb web makes it');
  process.exit(77);
}
const createOrb = require(path.join(folder, 'orb.js'));

function copyFolder(FS, from, to) {
  FS.mkdir(to);
  for (const entry of fs.readdirSync(from, { withFileTypes: true })) {
    const source = path.join(from, entry.name);
    if (entry.isDirectory()) copyFolder(FS, source, to + '/' + entry.name);
    else FS.writeFile(to + '/' + entry.name, fs.readFileSync(source));
  }
}

// What is wrong with the scene; '' if nothing.
async function play(wasmBinary, name, script, frames, words) {
  const display = words.includes('display') ? 1 : 0;
  const args = words.filter(word => word !== 'display');
  const orb = await createOrb({ wasmBinary, print: console.log, printErr: console.error });
  copyFolder(orb.FS, path.join(root, 'examples'), '/examples');
  const error = () => orb.ccall('orb_error', 'string');
  const started = orb.ccall('orb_start', 'number', ['string', 'string', 'string'],
    ['/examples/' + script, args.join('\n'), 'headless strict']);
  if (!started) return error();
  const recorded = fs.readFileSync(path.join(root, 'tests/golden', name + '.txt'), 'utf8').split('\n');
  for (let frame = 0; frame < frames; ++frame) {
    if (orb._orb_frame() < 0) return 'frame ' + (frame + 1) + ': ' + error();
    const sum = orb.ccall('orb_sum', 'string', ['number'], [display]);
    if (sum !== recorded[frame])
      return 'frame ' + (frame + 1) + ' has the sum ' + sum + ', not ' + recorded[frame];
  }
  return '';
}

async function main() {
  process.setMaxListeners(0); // each instance listens
  delete globalThis.fetch; // else orb.js takes node for a browser
  const wasmBinary = fs.readFileSync(path.join(folder, 'orb.wasm'));
  const scenes = fs.readFileSync(path.join(root, 'tests/golden/scenes.txt'), 'utf8')
    .split('\n').filter(line => line && !line.startsWith('#')).map(line => line.split(' '));
  let wrong = 0, played = 0;
  for (const [name, script, frames, ...words] of scenes) {
    if (!name.includes(part)) continue;
    const begun = Date.now();
    const mistake = await play(wasmBinary, name, script, Number(frames), words);
    played += Number(frames);
    if (mistake) ++wrong;
    console.log(name + ': ' + (mistake || frames + ' frames, ' + (Date.now() - begun) + ' ms'));
  }
  console.log(played + ' frames, ' + wrong + ' scenes wrong');
  process.exitCode = wrong || !played ? 1 : 0;
}

main().catch(error => { console.error(error); process.exit(1); });
