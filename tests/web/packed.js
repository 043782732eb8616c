// Games packed by `orbplay --pack --web`, in a browser: from the disk as a single file, and from a server
// as a folder.
// usage: node packed.js RUNTIME-FOLDER ORBPLAY [COMMAND THAT RUNS IT]
const fs = require('fs');
const http = require('http');
const os = require('os');
const path = require('path');
const { spawnSync } = require('child_process');
const { pathToFileURL } = require('url');
const { run, check, skip } = require('./browser.js');

const [runtime, orbplay, ...runner] = process.argv.slice(2);
if (!fs.existsSync(path.join(runtime, 'packed.html'))) skip('no player for pages: ./orb web makes it');
const work = fs.mkdtempSync(path.join(os.tmpdir(), 'orb-packed-'));
process.on('exit', () => fs.rmSync(work, { recursive: true }));

// A picture, a module and a save are at hand, and keys arrive; else it fails.
const name = 'Günter\'s "<b>" 100%';
const folder = path.join(work, name);
fs.mkdirSync(path.join(folder, 'parts'), { recursive: true });
fs.copyFileSync(path.join(__dirname, '../../share/orb.png'), path.join(folder, 'ball.png'));
fs.writeFileSync(path.join(folder, 'parts/save.lua'), `
return function()
  local file = save_folder() .. '/plays'
  local f = io.open(file)
  local n = f and f:read('n') + 1 or 1
  if f then f:close() end
  f = io.open(file, 'w') f:write(n) f:close()
  return n
end`);
fs.writeFileSync(path.join(folder, 'main.lua'), `-- Two & two
set_fps(0, 0)
mode_set(160, 100, 16, mode_window)
ground_put(0, image_load('ball.png'), 80, 50)
print('play ' .. require('parts.save')())
repeat frame() until pressed('space')
quit()`);
const [program, ...words] = [...runner, orbplay, '--pack', folder, '--web'];
const packed = spawnSync(program, words, { encoding: 'utf8' });
if (packed.status !== 0 || packed.stderr) throw new Error(packed.stdout + packed.stderr);

// A plain server, as there are many.
const types = { '.html': 'text/html', '.js': 'text/javascript', '.css': 'text/css', '.png': 'image/png' };
const server = http.createServer((request, answer) => {
  const file = path.join(folder + '-web', request.url === '/' ? 'index.html' : decodeURIComponent(request.url));
  fs.readFile(file, (error, bytes) => {
    answer.writeHead(error ? 404 : 200, { 'Content-Type': types[path.extname(file)] || 'application/octet-stream' });
    answer.end(bytes);
  });
});

async function look(page) {
  const root = 'http://127.0.0.1:' + server.address().port + '/';
  const begin = 'document.querySelector(".orb-begin")', game = 'document.getElementById("game")';
  const disk = pathToFileURL(folder + '.html').href;
  for (const [url, width] of [[disk, 1200], [root, 400]]) {
    for (const play of ['first', 'second']) {
      await page.size(width, 760);
      await page.open(url);
      await page.until(begin + ' && document.querySelector(".orb-poster").naturalWidth === 160');
      await page.value(begin + '.click()');
      await page.until(game + '.dataset.frame > 60'); // it has faded in
      const blue = await page.value('document.querySelector(".orb-canvas").getContext("2d").getImageData(80, 50, 1, 1).data[2]');
      check(blue > 20, true, 'the ball is there');
      await page.key('keyDown', 'Space', ' ');
      await page.until(game + '.dataset.state === "over"');
      console.log('the ' + play + ' play at ' + url);
    }
    check(await page.value('document.title'), name, 'the title');
  }
  check(await page.value('document.body.scrollWidth <= 400 && document.body.scrollHeight <= 760'), true,
    'it fits a phone');
  check(page.complaints.join(), 'play 1,play 2,play 1,play 2', 'the console'); // there are no errors in it
  check(page.requests.filter(each => !/^(data|blob):/.test(each) && each !== disk && !each.startsWith(root)).join(), '',
    'requests elsewhere');
  await page.open(pathToFileURL(folder + '-web/index.html').href);
  await page.until('document.getElementById("problem").textContent.includes("open Günter")');
  console.log('from a disk the folder tells what to open');
}

server.listen(0, '127.0.0.1', () => run(page => look(page).finally(() => server.close())));
