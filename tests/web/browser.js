// Chromium without a window, driven by its debugging pipe: what tests of pages use.
const fs = require('fs');
const os = require('os');
const path = require('path');
const { spawn, spawnSync } = require('child_process');

const sleep = ms => new Promise(done => setTimeout(done, ms));

// A page of a new browser: {open(url), value(expression), until(expression), key(...), drop(file), size(width,
// height), shot(file), close()}, and of the page and its workers, since the browser began: `requests`, the addresses
// that were asked for, and `complaints`, what the console shows.
async function browse() {
  const profile = fs.mkdtempSync(path.join(os.tmpdir(), 'orb-page-'));
  const browser = spawn('chromium', ['--headless=new', '--no-sandbox', '--disable-gpu', '--no-first-run',
    '--remote-debugging-pipe', '--user-data-dir=' + profile, '--window-size=1200,760', 'about:blank'],
  { stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'], env: { ...process.env, HOME: profile } });
  const waiting = new Map(), requests = [], complaints = [];
  const hear = {
    'Target.attachedToTarget': ({ sessionId }) => watch(sessionId),
    'Network.requestWillBeSent': ({ request }) => requests.push(request.url),
    'Runtime.consoleAPICalled': ({ args }) => complaints.push(args.map(each => each.value).join(' ')),
    'Runtime.exceptionThrown': ({ exceptionDetails: { text, exception } }) =>
      complaints.push(text + ' ' + (exception ? exception.description : '')),
    'Log.entryAdded': ({ entry }) => complaints.push(entry.text + ' ' + (entry.url || '')),
  };
  let last = 0, read = '';
  browser.stdio[4].on('data', data => {
    read += data;
    for (let end; (end = read.indexOf('\0')) >= 0; read = read.slice(end + 1)) {
      const message = JSON.parse(read.slice(0, end));
      if (message.id) waiting.get(message.id)(message);
      else if (hear[message.method]) hear[message.method](message.params);
    }
  });
  const send = (method, params, sessionId) => new Promise((done, failed) => {
    waiting.set(++last, answer => answer.error ? failed(new Error(answer.error.message)) : done(answer.result));
    browser.stdio[3].write(JSON.stringify({ id: last, method, params, sessionId }) + '\0');
  });
  // Workers wait until they are watched.
  const watch = async sessionId => {
    const workers = { autoAttach: true, waitForDebuggerOnStart: true, flatten: true };
    for (const [method, params] of [['Network.enable'], ['Runtime.enable'], ['Log.enable'],
      ['Target.setAutoAttach', workers], ['Runtime.runIfWaitingForDebugger']])
      await send(method, params, sessionId).catch(() => {}); // workers don't have all of them
  };
  const { targetId } = await send('Target.createTarget', { url: 'about:blank' });
  const { sessionId } = await send('Target.attachToTarget', { targetId, flatten: true });
  await watch(sessionId);
  const page = (method, params) => send(method, params, sessionId);
  const value = async expression => {
    const answer = await page('Runtime.evaluate', { expression, returnByValue: true });
    if (answer.exceptionDetails) throw new Error(answer.exceptionDetails.exception.description);
    return answer.result.value;
  };
  return {
    value, requests, complaints,
    open: url => page('Page.navigate', { url }),
    async until(expression) {
      for (const end = Date.now() + 60000; Date.now() < end; await sleep(100))
        if (await value('document.readyState === "complete" && (' + expression + ')').catch(() => false)) return;
      throw new Error('in a minute it did not come to: ' + expression + '; the page says ' +
        await value('document.body.innerText.slice(0, 3000)'));
    },
    key: (type, code, key) => page('Input.dispatchKeyEvent', { type, code, key }),
    async drop(file) { // a folder, too
      const data = { items: [], files: [file], dragOperationsMask: 1 };
      for (const type of ['dragEnter', 'dragOver', 'drop'])
        await page('Input.dispatchDragEvent', { type, x: 300, y: 300, data });
    },
    size: (width, height) => page('Emulation.setDeviceMetricsOverride',
      { width, height, deviceScaleFactor: 1, mobile: width < 600 }),
    shot: async file => fs.writeFileSync(file,
      Buffer.from((await page('Page.captureScreenshot', { format: 'png' })).data, 'base64')),
    async close() {
      await send('Browser.close').catch(() => {});
      await new Promise(ended => browser.exitCode !== null ? ended() : browser.on('exit', ended));
      fs.rmSync(profile, { recursive: true, force: true, maxRetries: 5 });
    },
  };
}

// Ends the test as skipped, for the tests' runner.
function skip(why) {
  console.log(why);
  process.exit(77);
}

function check(seen, expected, what) {
  if (seen !== expected) throw new Error(what + ': ' + seen + ', not ' + expected);
  console.log(what + ': ' + seen);
}

// Calls look(page) with a page of a new browser, and gives the program its exit status.
function run(look) {
  if (spawnSync('chromium', ['--version']).error) skip("chromium isn't installed");
  browse().then(page => look(page).finally(page.close))
    .catch(error => { console.log('FAILED: ' + error.message); process.exitCode = 1; });
}

module.exports = { run, check, skip, sleep };
