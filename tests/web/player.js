// The player for pages in a browser, on a page of its own: what its buttons, keys and fingers do, what is
// saved, heard and recorded.
// usage: node player.js RUNTIME-FOLDER [SCREENSHOT.PNG]
const fs = require('fs');
const os = require('os');
const path = require('path');
const { pathToFileURL } = require('url');
const { run, check, skip, sleep } = require('./browser.js');

const runtime = path.resolve(process.argv[2]);
if (!fs.existsSync(path.join(runtime, 'player.js'))) skip('no player for pages: ./orb web makes it');
const work = fs.mkdtempSync(path.join(os.tmpdir(), 'orb-player-'));
process.on('exit', () => fs.rmSync(work, { recursive: true }));

const game = `
mode_set(64, 48, 32, mode_window)
local file = save_folder() .. '/plays'
local n, held = 1, 0
local f = io.open(file)
if f then n = f:read('n') + 1 f:close() end
f = io.open(file, 'w') f:write(n) f:close()
print('play ' .. n)
local sound = sound_load('/examples/assets/pling.wav')
while not key('escape') do
  if pressed('left') then print('left') sound_play(sound) end
  held = key('left') and not key('lshift') and held + 1 or 0 -- which is asked for only now
  if held == 3 then print('held') end
  if pressed('pad1_a') then print('pad ' .. pad_count() .. ' ' .. pad(1, 'x')) end
  if mouse.left then print('mouse ' .. mouse.x .. ' ' .. mouse.y) elseif mouse.right then print('right') end
  if typed() ~= '' then print('typed ' .. typed()) end
  frame()
end`;

fs.symlinkSync(runtime, path.join(work, 'play'));
fs.writeFileSync(path.join(work, 'index.html'), `<!DOCTYPE html><meta charset="utf-8"><title>A game</title>
<link rel="stylesheet" href="play/player.css"><div id="place" style="width: 640px"></div><script src="play/player.js"></script>
<script>
  const place = document.getElementById('place'), given = [];
  let player, loud = 0;
  HTMLAnchorElement.prototype.click = function () { given.push(this.download); fetch(this.href).then(a => a.text()).then(t => given.push(t)); };
  const make = AudioContext.prototype.createBuffer;
  AudioContext.prototype.createBuffer = function (...all) {
    const buffer = make.apply(this, all);
    setTimeout(() => { loud = Math.max(loud, ...buffer.getChannelData(0)); });
    return buffer;
  };
  orbPlayer.examples().then(files => {
    files['/game/main.lua'] = new TextEncoder().encode(${JSON.stringify(game)});
    player = orbPlayer(place, {game: {script: '/game', name: 'trial', files}});
  });
  const button = name => [...document.querySelectorAll('button')].find(b => b.textContent === name);
  const printed = () => document.querySelector('.orb-printed').textContent;
</script>`);

async function look(page) {
  const text = expression => page.value(expression);
  const press = async (code, key) => {
    await page.key('keyDown', code, key);
    await sleep(250);
    await page.key('keyUp', code, key);
  };
  await page.open(pathToFileURL(path.join(work, 'index.html')).href);
  await page.until('player');
  check(await text('place.dataset.state'), 'idle', 'before the button');
  await text("button('Play').click()");
  await page.until('place.dataset.frame > 5');
  check(await text('printed()'), 'play 1\n', 'it prints');
  check(await text("document.querySelector('canvas').getBoundingClientRect().width"), 640, 'ten times as large');
  check(await text('document.activeElement.tagName'), 'CANVAS', 'keys go to');

  await press('ArrowLeft', 'ArrowLeft');
  await press('KeyQ', 'q');
  await page.until("printed().includes('left\\nheld\\ntyped q\\n')");
  await page.until('loud > 0.01');
  await text(`navigator.getGamepads = () => [{id: 'p', axes: [-1, 0, 0, 0], buttons: [{pressed: true}]}]`);
  await page.until("printed().includes('pad 1 -100\\n')");
  await text(`for (const type of ['pointerdown', 'pointerup']) document.querySelector('canvas').dispatchEvent(
    new PointerEvent(type, {bubbles: true, pointerId: 1, pointerType: 'touch', buttons: type === 'pointerdown' ? 1 : 0,
      clientX: place.getBoundingClientRect().left + 105, clientY: place.getBoundingClientRect().top + 55}))`);
  await page.until("printed().includes('mouse 10 5\\n')");
  await text(`for (const [type, buttons] of [['down', 1], ['move', 3], ['move', 2]]) // the right one stays down
    document.querySelector('canvas').dispatchEvent(new PointerEvent('pointer' + type, {pointerId: 2, buttons}))`);
  await page.until("printed().endsWith('right\\n')");
  check(await text("[...document.querySelectorAll('.orb-fingers > *')].map(e => e.className + e.textContent).join()"),
    'orb-cross,orb-buttonsescshift', 'keys for fingers');

  const frame = async () => Number(await text('place.dataset.frame'));
  const stillAfter = async expression => {
    await text(expression);
    const then = await frame();
    await sleep(300);
    return await frame() - then < 2;
  };
  const hide = hidden => `Object.defineProperty(document, 'hidden', {value: ${hidden}, configurable: true});
    document.dispatchEvent(new Event('visibilitychange'))`;
  check(await stillAfter(hide(true)), true, 'asleep where nobody sees it');
  await text(hide(false));
  check(await stillAfter(''), false, 'and awake again');
  check(await stillAfter("button('Pause').click()"), true, 'paused');
  const before = await frame();
  await text("button('Step').click()");
  await page.until('place.dataset.frame == ' + (before + 1));
  await text("button('Figures').click()");
  await page.until("document.querySelector('canvas').width === 640"); // fine letters over coarse pixels
  if (process.argv[3]) await page.shot(path.resolve(process.argv[3]));

  await text("button('Record').click()");
  await page.until("place.dataset.state === 'playing' && printed() === 'play 2\\npad 1 -100\\n'"); // saved
  await sleep(300);
  await press('ArrowLeft', 'ArrowLeft');
  await page.until("printed().includes('left')");
  await press('Escape', 'Escape');
  await page.until("place.dataset.state === 'over' && given.length === 2");
  check(await text('given[0]'), 'trial.rec', 'a recording');
  await text('player.replay(given[1])');
  await page.until("place.dataset.state === 'over'");
  check(await text('printed()'), 'play 3\npad 1 -100\nleft\nheld\n', 'played again');

  await text("player.play({'/game/main.lua': 'while true do print(1) end'})");
  await page.until("printed().includes('left out')");
  await text("button('Stop').click()");
  check(await text('place.dataset.state'), 'stopped', 'an endless loop that prints');
  check(page.complaints.join('\n'), '', 'the console says');
}
run(look);
