// Opens the page from the disk in a browser without a window, and looks at it: the sums of frames of
// three examples, keys, an error with its line, the end of an endless loop.
// usage: node page.js FOLDER-OF-INDEX.HTML [SCREENSHOT.PNG]
const fs = require('fs');
const path = require('path');
const { run, check, skip } = require('./browser.js');

const root = path.join(__dirname, '../..');
const folder = path.resolve(process.argv[2]);
if (!fs.existsSync(path.join(folder, 'data.js'))) skip('no page: ./orb web makes it');

async function look(page) {
  for (const [name, query, frames] of [
    ['basics_first_light_16bits', 'script=basics/basics_first_light.lua&arg=16', [1, 60]],
    ['drawing_paint_8bits', 'script=drawing/drawing_paint.lua&arg=8&arg=demo', [1, 60, 300]],
    ['games_meteors', 'script=games/games_meteors.lua&arg=demo', [1, 60, 300]],
  ]) {
    await page.open('file://' + folder + '/index.html?' + query + '&sums=' + frames.join());
    await page.until('document.getElementById("state").dataset.sums');
    const seen = JSON.parse(await page.value('document.getElementById("state").dataset.sums'));
    const recorded = fs.readFileSync(path.join(root, 'tests/golden', name + '.txt'), 'utf8').split('\n');
    for (const frame of frames) check(seen[frame], recorded[frame - 1], name + ', frame ' + frame);
  }
  if (process.argv[3]) await page.shot(path.resolve(process.argv[3]));

  const edit = async (text, expected) => {
    await page.value('source.value = ' + JSON.stringify(text) + '; element("run").click()');
    await page.until(expected);
  };
  await edit('mode_set(320, 200, 32, mode_window)\nwhile not key("left") do frame() end\n',
    'canvas.width === 320');
  await page.key('keyDown', 'ArrowLeft', 'ArrowLeft');
  await page.until('element("state").textContent === "over"');
  console.log('a key ends play');
  await edit('mode_set(320, 200, 32, mode_window)\nframe()\nnonsense()\n',
    'element("state").textContent === "failed"');
  check(await page.value('element("error").textContent.split("\\n")[0]'),
    "games/games_meteors.lua:3: attempt to call a nil value (global 'nonsense')", 'an error');
  await page.value('element("error").querySelector("button").click()');
  check(await page.value('source.value.slice(source.selectionStart, source.selectionEnd)'), 'nonsense()',
    'its line');
  await edit('while true do end', 'element("state").textContent === "starting"');
  await page.value('element("stop").click()');
  await edit('mode_set(160, 100, 8, mode_window)\nwhile true do frame() end', 'canvas.width === 160');
  console.log('an endless loop is stopped');
}

run(look);
