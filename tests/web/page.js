// Opens the page from the disk in a browser without a window, and looks at it: the sums of frames of
// three examples, keys, an error with its line, the end of an endless loop.
// usage: node page.js FOLDER-OF-INDEX.HTML [SCREENSHOT.PNG]
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawn, spawnSync } = require('child_process');

const root = path.join(__dirname, '../..');
const folder = path.resolve(process.argv[2]);
if (!fs.existsSync(path.join(folder, 'data.js'))) { console.log('no page: ./orb web makes it'); process.exit(77); }
if (spawnSync('chromium', ['--version']).error) { console.log("chromium isn't installed"); process.exit(77); }

const sleep = ms => new Promise(done => setTimeout(done, ms));

// A page of a new browser: {open(query), value(expression), until(expression), key(...), shot(file), close()}.
async function browse() {
  const profile = fs.mkdtempSync(path.join(os.tmpdir(), 'orb-page-'));
  const browser = spawn('chromium', ['--headless=new', '--no-sandbox', '--disable-gpu', '--no-first-run',
    '--remote-debugging-pipe', '--user-data-dir=' + profile, '--window-size=1200,760', 'about:blank'],
  { stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'], env: { ...process.env, HOME: profile } });
  const waiting = new Map();
  let last = 0, read = '';
  browser.stdio[4].on('data', data => {
    read += data;
    for (let end; (end = read.indexOf('\0')) >= 0; read = read.slice(end + 1)) {
      const message = JSON.parse(read.slice(0, end));
      if (message.id) waiting.get(message.id)(message);
    }
  });
  const send = (method, params, sessionId) => new Promise((done, failed) => {
    waiting.set(++last, answer => answer.error ? failed(new Error(answer.error.message)) : done(answer.result));
    browser.stdio[3].write(JSON.stringify({ id: last, method, params, sessionId }) + '\0');
  });
  const { targetId } = await send('Target.createTarget', { url: 'about:blank' });
  const { sessionId } = await send('Target.attachToTarget', { targetId, flatten: true });
  const page = (method, params) => send(method, params, sessionId);
  const value = async expression => {
    const answer = await page('Runtime.evaluate', { expression, returnByValue: true });
    if (answer.exceptionDetails) throw new Error(answer.exceptionDetails.exception.description);
    return answer.result.value;
  };
  return {
    value,
    open: query => page('Page.navigate', { url: 'file://' + folder + '/index.html?' + query }),
    async until(expression) {
      for (const end = Date.now() + 60000; Date.now() < end; await sleep(100))
        if (await value('document.readyState === "complete" && (' + expression + ')').catch(() => false)) return;
      throw new Error('in a minute it did not come to: ' + expression + '; the page says ' +
        await value('document.body.innerText'));
    },
    key: (type, code, key) => page('Input.dispatchKeyEvent', { type, code, key }),
    shot: async file => fs.writeFileSync(file,
      Buffer.from((await page('Page.captureScreenshot', { format: 'png' })).data, 'base64')),
    async close() {
      await send('Browser.close').catch(() => {});
      await new Promise(ended => browser.exitCode !== null ? ended() : browser.on('exit', ended));
      fs.rmSync(profile, { recursive: true, force: true, maxRetries: 5 });
    },
  };
}

function check(seen, expected, what) {
  if (seen !== expected) throw new Error(what + ': ' + seen + ', not ' + expected);
  console.log(what + ': ' + seen);
}

async function look(page) {
  for (const [name, query, frames] of [
    ['basics_first_light_16bits', 'script=basics/basics_first_light.lua&arg=16', [1, 60]],
    ['drawing_paint_8bits', 'script=drawing/drawing_paint.lua&arg=8&arg=demo', [1, 60, 300]],
    ['games_meteors', 'script=games/games_meteors.lua&arg=demo', [1, 60, 300]],
  ]) {
    await page.open(query + '&sums=' + frames.join());
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

browse().then(page => look(page).finally(page.close))
  .catch(error => { console.log('FAILED: ' + error.message); process.exitCode = 1; });
