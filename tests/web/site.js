// Opens the site whose examples play in a browser without a window, from the disk and from a server, and
// does what readers do with it: play, change, run again, stop, and bring a game of their own.
// usage: node site.js SITE-FOLDER [FOLDER-FOR-SCREENSHOTS]
const fs = require('fs');
const http = require('http');
const os = require('os');
const path = require('path');
const zlib = require('zlib');
const { run, check, skip } = require('./browser.js');

const root = path.join(__dirname, '../..');
const site = path.resolve(process.argv[2]);
if (!fs.existsSync(path.join(site, 'play/player.js'))) skip('no site with a player: ./orb web makes it');

// Serves the site below /some/place/, as anybody's server would.
function serve() {
  const types = { '.html': 'text/html', '.js': 'text/javascript', '.css': 'text/css', '.wasm': 'application/wasm' };
  const server = http.createServer((request, answer) => {
    const name = decodeURIComponent(request.url.split('?')[0]), file = path.join(site, name.slice('/some/place'.length));
    if (!name.startsWith('/some/place/') || !fs.existsSync(file)) return answer.writeHead(404).end();
    answer.writeHead(200, { 'Content-Type': types[path.extname(file)] || 'application/octet-stream' });
    answer.end(fs.readFileSync(file));
  });
  return new Promise(done => server.listen(0, '127.0.0.1', () => done(server)));
}

function crc32(bytes) {
  let sum = ~0;
  for (const byte of bytes) {
    sum ^= byte;
    for (let i = 0; i < 8; ++i) sum = sum >>> 1 ^ (sum & 1 ? 0xEDB88320 : 0);
  }
  return ~sum >>> 0;
}

// A zip file of one entry, deflated, which may claim another size.
function zip(name, contents, claimed = contents.length) {
  const packed = zlib.deflateRawSync(contents);
  const header = Buffer.alloc(26);
  [20, 0, 8].forEach((value, i) => header.writeUInt16LE(value, 2 * i));
  [crc32(contents), packed.length, claimed].forEach((value, i) => header.writeUInt32LE(value, 10 + 4 * i));
  header.writeUInt16LE(name.length, 22);
  const local = Buffer.concat([Buffer.from('PK\3\4'), header, Buffer.from(name), packed]);
  const central = Buffer.concat([Buffer.from('PK\1\2\24\0'), header, Buffer.alloc(14), Buffer.from(name)]);
  const end = Buffer.alloc(18);
  [1, 1].forEach((value, i) => end.writeUInt16LE(value, 4 + 2 * i));
  [central.length, local.length].forEach((value, i) => end.writeUInt32LE(value, 8 + 4 * i));
  return Buffer.concat([local, central, Buffer.from('PK\5\6'), end]);
}

const loop = 'mode_set(320, 200, 32, mode_window)\nwhile not key("left") do frame() end\n';

async function look(page) {
  const server = await serve(), work = fs.mkdtempSync(path.join(os.tmpdir(), 'orb-site-'));
  const disk = 'file://' + site + '/', served = 'http://127.0.0.1:' + server.address().port + '/some/place/';
  const state = '[...document.querySelectorAll(".place")].find(place => place.dataset.state).dataset.state';
  const click = label => page.value('[...document.querySelectorAll("button")].find(button => !button.disabled &&' +
    'button.textContent.startsWith(' + JSON.stringify(label) + ')).click()');
  const edit = text => page.value('{ const field = document.querySelector(".editor:not([hidden]) textarea");' +
    'field.value = ' + JSON.stringify(text) + '; field.dispatchEvent(new Event("input")); }');
  const drop = async (name, contents) => {
    fs.writeFileSync(path.join(work, name), contents);
    await page.drop(path.join(work, name));
  };
  const shoot = async name => { if (process.argv[3]) await page.shot(path.join(process.argv[3], name + '.png')); };
  try {
    // The gallery, and examples with what they draw.
    await page.open(disk + 'index.html');
    await page.until('document.querySelectorAll(".card").length >= 15');
    await click('Run');
    await page.until('document.querySelector(".place").dataset.frame > 5');
    await page.value('document.querySelector(".card").click()');
    await page.until('document.querySelector("h1").textContent === "basics_first_light" && ' + state + ' === "idle"');
    for (const [from, name, query, frames] of [
      [disk, 'basics_first_light', '_16bits?arg=16', [1, 60]],
      [served, 'drawing_paint', '_8bits?arg=8&arg=demo', [1, 60, 300]],
      [served, 'games_meteors', '?arg=demo', [1, 60, 300]],
    ]) {
      const [depth, words] = query.split('?');
      await page.open(from + 'examples/' + name + '.html?' + words + '&sums=' + frames);
      await page.until('document.querySelector(".place").dataset.sums');
      const seen = JSON.parse(await page.value('document.querySelector(".place").dataset.sums'));
      const recorded = fs.readFileSync(path.join(root, 'tests/golden', name + depth + '.txt'), 'utf8').split('\n');
      for (const frame of frames) check(seen[frame], recorded[frame - 1], name + ', frame ' + frame);
    }

    // Changed and run again, by keys, with an error, in an endless loop.
    await page.open(served + 'examples/games_pearls.html');
    await page.until(state + ' === "idle"');
    await click('Play');
    await page.until('document.querySelector(".place").dataset.frame > 30');
    await shoot('example');
    await edit(loop);
    await click('Run');
    await page.until('document.querySelector("canvas").dataset.width === "320" && ' + state + ' === "playing"');
    await page.key('keyDown', 'ArrowLeft', 'ArrowLeft');
    await page.until(state + ' === "over"');
    await edit(loop.replace('while', 'require "pearls_sea"\nwhile'));
    await click('pearls_sea.lua');
    await edit('\n'.repeat(60) + 'nonsense()\n');
    await click('games_pearls.lua');
    await click('Run');
    await page.until(state + ' === "failed"');
    check(await page.value('document.querySelector(".problem pre").textContent.split("\\n")[0]'),
      "games/pearls_sea.lua:61: attempt to call a nil value (global 'nonsense')", 'an error');
    await click('Line 61 of pearls_sea.lua');
    check(await page.value('{ const field = document.activeElement;' +
      'const mark = field.parentNode.querySelector(".mark").getBoundingClientRect();' +
      'field.value.slice(field.selectionStart, field.selectionEnd) + (mark.height > 9 && mark.bottom < innerHeight); }'),
      'nonsense()true', 'its line, in sight');
    await shoot('error');
    await click('games_pearls.lua');
    await edit('while true do end');
    await click('Run');
    await page.until('["starting", "playing"].includes(' + state + ')');
    await click('Stop');
    await click('Reset');
    await page.until(state + ' === "idle" && document.querySelector("textarea").value.startsWith("-- String")');

    // The reference's examples: one plays at a time.
    for (const from of [disk, served]) {
      await page.open(from + 'reference/ground.html');
      await page.until('document.querySelectorAll(".live").length > 10');
      const small = (at, what) => 'document.querySelectorAll(".live")[' + at + '].querySelector("' + what + '")';
      await page.value(small(1, 'button') + '.click()');
      await page.until(small(1, '.place') + '.dataset.frame > 2');
      await edit('print("changed")\n' + loop);
      await page.value(small(1, 'button') + '.click()');
      await page.until(small(1, '.live canvas') + '.dataset.width === "320"');
      check(await page.value(small(1, '.orb-printed') + '.textContent'), 'changed\n', 'what an example prints');
      await page.value(small(2, 'button') + '.click()');
      await page.until(small(2, '.place') + '.dataset.state === "playing"');
      check(await page.value(small(1, '.place') + '.dataset.state'), 'stopped', 'the first, once another plays');
      await shoot('reference');
      await page.value(small(2, 'button:nth-child(3)') + '.click()');
      await page.until(small(2, '.place > img'));
    }

    // Games of one's own.
    const says = text => page.until('document.querySelector(".problem").textContent.includes("' + text + '")');
    const plays = width => page.until('document.querySelector("#own .place").dataset.state === "playing" && ' +
      'document.querySelector("canvas").dataset.width === "' + width + '"');
    await page.open(served + 'play.html');
    await page.until('document.querySelector("#own .drop")');
    fs.mkdirSync(path.join(work, 'mine/.hidden'), { recursive: true });
    fs.writeFileSync(path.join(work, 'mine/.hidden/x.lua'), 'nonsense');
    fs.writeFileSync(path.join(work, 'mine/part.lua'), 'return 208');
    fs.writeFileSync(path.join(work, 'mine/main.lua'), loop.replace('320', 'require "part"'));
    await drop('take.rec', 'orbplay recording 1\n');
    await says('drop the game');
    await page.drop(path.join(work, 'mine'));
    await plays(208);
    check(await page.value('document.querySelector("#own .hint").textContent'),
      'Left out, since their names begin with a dot: mine/.hidden.', 'what is left out');
    await shoot('own');
    await drop('note.md', 'no game');
    await says('No Lua script');
    await drop('up.zip', zip('../evil.lua', Buffer.from(loop)));
    await says('up.zip: ../evil.lua: ');
    await drop('bomb.zip', zip('main.lua', Buffer.from(loop), 300 << 20));
    await says('bomb.zip: main.lua: unpacks to more than');
    await page.open(disk + 'play.html');
    await page.until('document.querySelector("#own .drop")');
    await drop('game.zip', zip('main.lua', Buffer.from(loop)));
    await plays(320);
    await drop('single.lua', loop.replace('320', '176'));
    await plays(176);

    check(page.complaints.join('\n'), '', 'what the console shows');
    const known = [disk, served, 'blob:', 'data:', 'about:'];
    const elsewhere = page.requests.filter(url => !known.some(own => url.startsWith(own)));
    check(elsewhere.join('\n'), '', 'requests to others');
  } finally {
    server.close();
    fs.rmSync(work, { recursive: true });
  }
}

run(look);
