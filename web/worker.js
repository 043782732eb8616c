// Plays a game in a worker, which a page can end even in the middle of an endless loop.
//
// A page that was opened from a disk can't start a worker from a file; it runs the text of this
// function, and of createOrb, as one. Messages to it, one word each with what belongs to it:
//
//   play: {program, files, saves, script, arguments, options, replay, sums}   the first
//   input: "+left mouse=3,4"      held: true or false     step: true     scale: 1, 2, ...
//   overlay: [figures, boxes]     screenshot: true        recording: true
//
// program: a WebAssembly.Module; files: [path, Uint8Array or {url, size}] each; saves: as the last
// `saved` had them; options: as of orb_start(); sums: numbers of frames. A headless play is as fast
// as can be. From it:
//
//   started: true   frame: {number, width, height, displayWidth, displayHeight, pixels}
//   sound: {rate, samples}   print: lines of text
//   asked: [key, ...]   saved: [[name, Uint8Array], ...]   screenshot: Uint8Array   recording: text
//   sums: {frame: sum}   over: true   error: text
function orbWorker() {
  const saveRoot = '/home/web_user/.local/share/orb';
  const soundAhead = 0.1; // seconds that the page has in store, so that a late frame isn't heard
  let orb, frame = 0, wanted = [], sums = {}, fast = false;
  let held = false, ended = false, timer = 0, scale = 1;
  let soundBegan = 0, soundGiven = 0; // ms; samples
  let asked = '', saved = '';

  let lines = [], left = 0, printedAt = 0;

  const text = name => orb.ccall(name, 'string');
  // Why the program itself has ended; exceptions of its own have no message.
  const reason = problem => 'the program has failed: ' + (problem.message || 'there may be no memory left');
  const say = (message, transferred) => postMessage(message, transferred || []);

  // A script that prints without an end must not drown the page: it gets what is newest.
  function print(line) {
    lines.push(line);
    if (lines.length > 1000) left += lines.splice(0, 500).length;
    if (performance.now() - printedAt > 100) tellPrinted();
  }
  function tellPrinted() {
    printedAt = performance.now();
    if (left) lines.unshift('(' + left + ' lines left out)');
    if (lines.length) say({ print: lines.join('\n') });
    lines = [];
    left = 0;
  }

  function end(message) {
    ended = true;
    tellPrinted();
    tellSaves();
    say(message);
  }

  function show() {
    const displayWidth = orb._orb_width(), displayHeight = orb._orb_height(), at = orb._orb_pixels(scale);
    if (!at) return;
    const width = scale * displayWidth, height = scale * displayHeight;
    const pixels = orb.HEAPU8.slice(at, at + 4 * width * height).buffer;
    say({ frame: { number: frame, width, height, displayWidth, displayHeight, pixels } }, [pixels]);
  }

  function give() {
    const rate = orb._orb_rate_of_sound(), now = performance.now();
    if (!rate) return;
    if (!soundBegan) { soundBegan = now; soundGiven = 0; }
    const missing = Math.floor(((now - soundBegan) / 1000 + soundAhead) * rate) - soundGiven;
    if (missing <= 0) return;
    const count = Math.min(missing, rate);
    const at = orb._orb_sound(count);
    const samples = new Int16Array(orb.HEAPU8.buffer, at, 2 * count).slice().buffer;
    soundGiven += missing;
    say({ sound: { rate, samples } }, [samples]);
  }

  // ---- Files -----------------------------------------------------------------------------------

  function write(path, bytes) {
    orb.FS.mkdirTree(path.slice(0, path.lastIndexOf('/')) || '/');
    if (bytes instanceof Uint8Array) return orb.FS.writeFile(path, bytes);
    orb.FS.writeFile(path, '');
    const node = orb.FS.lookupPath(path).node;
    let contents = null;
    node.usedBytes = bytes.size;
    Object.defineProperty(node, 'contents', {
      get() { return contents || (contents = fetched(bytes.url, bytes.size)); },
      set(value) { contents = value; },
    });
  }

  // A file of the server, at its first use: the game waits for it.
  function fetched(url, size) {
    const request = new XMLHttpRequest();
    request.open('GET', url, false);
    request.responseType = 'arraybuffer';
    try { request.send(); } catch (problem) { /* told below */ }
    const bytes = new Uint8Array(request.status === 200 ? request.response : 0);
    if (bytes.length === size) return bytes;
    print(url + " can't be loaded, or isn't the file that it was: reload the page");
    throw new orb.FS.ErrnoError(29);
  }

  // Calls each(path, node) for the files of the folder of saves.
  function eachSave(folder, each) {
    for (const name of orb.FS.readdir(folder)) {
      if (name === '.' || name === '..') continue;
      const path = folder + '/' + name, node = orb.FS.lookupPath(path).node;
      if (orb.FS.isDir(node.mode)) eachSave(path, each);
      else each(path, node);
    }
  }

  // Tells the page what the game has saved, if that has changed.
  function tellSaves() {
    if (!orb || !orb.FS.analyzePath(saveRoot).exists) return;
    let state = '';
    eachSave(saveRoot, (path, node) => { state += path + ' ' + node.usedBytes + ' ' + node.timestamp + '\n'; });
    if (state === saved) return;
    saved = state;
    const files = [];
    eachSave(saveRoot, path => files.push([path.slice(saveRoot.length), orb.FS.readFile(path)]));
    say({ saved: files });
  }

  // ---- Play ------------------------------------------------------------------------------------

  function step() {
    let state;
    timer = 0;
    try {
      state = orb._orb_frame();
    } catch (problem) { // the program itself has ended
      if (problem.name !== 'ExitStatus') return end({ error: reason(problem) });
      return end(problem.status ? { error: 'the script has ended play by os.exit(' + problem.status + ')' } : { over: true });
    }
    ++frame;
    if (wanted.includes(frame)) sums[frame] = orb.ccall('orb_sum', 'string', ['number'], [0]);
    if (state < 0) scale = Math.max(scale, Math.ceil(640 / orb._orb_width()) || 1);
    if (!fast || wanted.includes(frame) || state <= 0) show();
    if (frame === wanted[wanted.length - 1]) say({ sums });
    if (state < 0) return end({ error: text('orb_error') });
    if (state === 0) return end({ over: true });
    if (!fast && !held) give();
    if (lines.length) tellPrinted();
    tellSaves();
    const now = text('orb_asked');
    if (now !== asked) say({ asked: (asked = now).split(' ').filter(Boolean) });
    if (!held) timer = setTimeout(step, fast ? 0 : Math.max(0, orb._orb_due()));
  }

  function hold(now) {
    if (ended || now === held) return;
    held = now;
    orb._orb_hold(held ? 1 : 0);
    soundBegan = 0;
    clearTimeout(timer);
    if (!held) step();
  }

  async function play(game) {
    orb = await createOrb({
      print, printErr: print,
      instantiateWasm(imports, done) {
        WebAssembly.instantiate(game.program, imports).then(instance => done(instance, game.program),
          problem => say({ error: "the program can't begin; close other pages and try again: " + problem.message }));
        return {};
      },
    });
    for (const [path, bytes] of game.files) write(path, bytes);
    for (const [name, bytes] of game.saves || []) write(saveRoot + name, bytes);
    if (game.replay) orb.FS.writeFile('/replay.txt', game.replay);
    wanted = game.sums || [];
    fast = game.options.includes('headless');
    if (!orb.ccall('orb_start', 'number', ['string', 'string', 'string'],
      [game.script, game.arguments.join('\n'), game.options.join(' ')])) {
      show();
      return end({ error: text('orb_error') });
    }
    say({ started: true });
    step();
  }

  function hear(message) {
    if (message.play) return play(message.play).catch(problem => say({ error: reason(problem) }));
    if (!orb) return;
    if (message.input) orb.ccall('orb_input', null, ['string'], [message.input]);
    if (message.held !== undefined) hold(message.held);
    if (message.step && held && !ended) {
      orb._orb_hold(0);
      step();
      if (!ended) orb._orb_hold(1);
    }
    if (message.scale) scale = message.scale;
    if (message.overlay) orb._orb_overlay(message.overlay[0], message.overlay[1]);
    if ((message.scale || message.overlay) && (held || ended)) show();
    if (message.screenshot && orb.ccall('orb_screenshot', 'number', ['string'], ['/screenshot.png']))
      say({ screenshot: orb.FS.readFile('/screenshot.png') });
    if (message.recording) say({ recording: orb.FS.readFile('/recording.txt', { encoding: 'utf8' }) });
  }
  onmessage = ({ data }) => hear(data);
}
