// Plays the scenes of tests/golden/scenes.txt in the player for pages, under node, and compares each
// frame with the sums recorded from the module for x86.
// usage: node golden.js FOLDER-OF-ORB.JS [PART-OF-A-NAME]
const fs = require('fs');
const path = require('path');
const { programs, root, run } = require('./orb.js');

const program = programs(process.argv[2]);
const part = process.argv[3] || '';

// What is wrong with the scene; '' if nothing.
async function play(name, script, frames, words) {
  const display = words.includes('display') ? 1 : 0;
  const orb = await program();
  orb.start('/examples/' + script, words.filter(word => word !== 'display'), 'headless strict');
  const recorded = fs.readFileSync(path.join(root, 'tests/golden', name + '.txt'), 'utf8').split('\n');
  for (let frame = 0; frame < frames; ++frame) {
    orb.frame();
    const sum = orb.sum(display);
    if (sum !== recorded[frame])
      return 'frame ' + (frame + 1) + ' has the sum ' + sum + ', not ' + recorded[frame];
  }
  return '';
}

run(async () => {
  const scenes = fs.readFileSync(path.join(root, 'tests/golden/scenes.txt'), 'utf8')
    .split('\n').filter(line => line && !line.startsWith('#')).map(line => line.split(' '));
  let wrong = 0, played = 0;
  for (const [name, script, frames, ...words] of scenes) {
    if (!name.includes(part)) continue;
    const begun = Date.now();
    const mistake = await play(name, script, Number(frames), words).catch(error => error.message);
    played += Number(frames);
    if (mistake) ++wrong;
    console.log(name + ': ' + (mistake || frames + ' frames, ' + (Date.now() - begun) + ' ms'));
  }
  return wrong || !played ? wrong + ' scenes of ' + played + ' frames' : '';
});
