// Recordings go from the desktop's player to the one for pages and back: the same frames, and the same
// inputs.
// usage: node replay.js FOLDER-OF-ORB.JS ORBPLAY [LAUNCHER]
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { programs, root, run } = require('./orb.js');

const program = programs(process.argv[2]);
const work = fs.mkdtempSync(path.join(os.tmpdir(), 'orb-replay-'));

// What the desktop's player prints.
function desktop(...words) {
  const [command, ...args] = [...process.argv.slice(4), process.argv[3], '--headless', ...words];
  const { status, stdout, stderr } = spawnSync(command, args, { encoding: 'utf8' });
  if (status !== 0) throw new Error(stderr);
  return stdout;
}

async function replaysEqual(recording, script) {
  const record = path.join(root, 'tests/golden', recording), hashes = path.join(work, 'hashes');
  desktop('--replay', record, '--hashes', hashes, path.join(root, 'examples', script));
  const orb = await program();
  orb.FS.writeFile('/replay.txt', fs.readFileSync(record));
  orb.start('/examples/' + script, [], 'headless replay hashes');
  let frames = 1;
  while (orb.frame()) ++frames;
  console.log(recording + ': ' + frames + ' frames');
  const expected = fs.readFileSync(hashes, 'utf8').split('\n');
  const seen = orb.FS.readFile('/hashes.txt', { encoding: 'utf8' }).split('\n');
  const line = expected.findIndex((text, i) => text !== seen[i]);
  if (line < 0) return '';
  return recording + ': ' + expected.slice(0, line).findLast(text => text.startsWith('frame')) + ': the desktop has "' +
    expected[line] + '", the page "' + seen[line] + '"';
}

async function recordsEqual() {
  const hands = ['', '+a +lshift mouse=3,4', '+mouse_left wheel=2 -a', 'text=97 text=233 nonsense +nonsense',
    '-mouse_left -lshift text=8', 'pads=2 +pad1_a pad1_x=-60 pad2_y2=100', '-pad1_a pad1_hat=1,0 +pad2_button16',
    'pads=0', '+f12', '-f12 wheel=-1 mouse=60,40'];
  const printed = [];
  const orb = await program(line => printed.push(line));
  orb.FS.writeFile('/input.lua', fs.readFileSync(path.join(root, 'tests/host/input.lua')));
  orb.start('/input.lua', [], 'headless record');
  for (let frame = 0, more = true; more; ++frame) {
    orb.input(hands[frame] || '');
    more = orb.frame();
  }
  const record = path.join(work, 'recording');
  fs.writeFileSync(record, orb.FS.readFile('/recording.txt'));
  const seen = desktop('--replay', record, path.join(root, 'tests/host/input.lua'));
  const told = /lshift|shift dp/.test(seen) && /wheel 2/.test(seen) && /"a/.test(seen) && /pads 2 -60/.test(seen);
  console.log(printed.join('\n'));
  if (!told) return 'the inputs did not reach the script';
  return seen === printed.join('\n') + '\n' ? '' : "the desktop's player prints\n" + seen;
}

run(async () => await replaysEqual('games_pearls.rec', 'games/games_pearls.lua') ||
  await replaysEqual('input_live.rec', 'input/input_live.lua') || await recordsEqual());
process.on('exit', () => fs.rmSync(work, { recursive: true }));
