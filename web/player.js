// The player for pages: a canvas, a bar of buttons, and what a game prints, in an element of a page.
//
//   const player = orbPlayer(place, {game: {script, name, files, arguments}, poster, ...});
//
// place: an empty element. Options:
//   game       script: the path of a script, a folder with a main.lua, or a zip file of one, in the
//              program's own file system; name: under which saves are kept and pictures are stored;
//              files: {path: Uint8Array, {url, size}: fetched when the game reads it, or a URL: fetched
//              before play}; arguments: the script's
//   poster     the address of a picture, shown until play begins
//   autoplay   begin at once; else a button over the poster does
//   controls   false: no bar; or the names of its buttons: pause, step, again, stop, figures, boxes,
//              picture, record, sound, full; all are there if this is left out
//   fill       the game takes the height of `place` too, which has one; else that of its pixels
//   onstate    (state): idle, starting, playing, paused, over, failed, stopped
//   onerror    ({message, file, line}): why the game failed; else the player shows it
//   onprint    (lines): what the game prints; else the player shows it
//   strict     errors that the module reports end play
//   sums       numbers of frames, for tests: plays as fast as can be up to the last, and leaves their
//              sums in place.dataset.sums
// The player: play(changes), from the beginning, where changes are {path: text} instead of the
// game's files; stop(), pause() (and on), step(), focus(), replay(text of a recording), destroy(),
// state. place.dataset has `state` and `frame`, for style sheets and tests.

const stateNames = {
  idle: '', starting: 'Starting …', playing: '', paused: 'Paused', over: 'The game has ended.',
  failed: 'The game has failed.', stopped: 'Stopped',
};
const coarse = window.matchMedia('(pointer: coarse)');

function element(name, properties, ...children) {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children);
  return made;
}

function download(name, bytes, type) {
  const link = element('a', { download: name, href: URL.createObjectURL(new Blob([bytes], { type })) });
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 1000);
}

// A message as people read it: paths as they are in the game.
const readable = text => text.replace(/(^|[^\w.-])\/(?:examples|drop|game|tmp\/[^/]+\/game)\//g, '$1');

function orbPlayer(place, options) {
  const game = options.game;
  let state = 'idle', worker = null, turn = 0;
  let latest = null, shape = null; // the newest frame; {width, height} of the display
  let pixelScale = 1, figures = false, boxes = false, paused = false, recording = false, pictures = 0;
  let asked = new Set();
  const sound = soundOutput();

  // ---- What is on the page ---------------------------------------------------------------------

  const canvas = element('canvas', { className: 'orb-canvas', tabIndex: 0, width: 1, height: 1 });
  canvas.setAttribute('role', 'application'); // screen readers leave the keys to it
  canvas.setAttribute('aria-label', game.name + ', the game');
  const poster = element('img', { className: 'orb-poster', alt: '' });
  const begin = element('button', { type: 'button', className: 'orb-begin', onclick: () => begun() },
    element('span', { textContent: 'Play' }));
  const fingers = element('div', { className: 'orb-fingers none' });
  const screen = element('div', { className: 'orb-screen' }, canvas, poster, begin);
  const stage = element('div', { className: 'orb-stage' }, screen, fingers);
  const status = element('span', { className: 'orb-state' });
  status.setAttribute('role', 'status');
  const failure = element('pre', { className: 'orb-error' });
  failure.setAttribute('role', 'alert');
  const printed = element('pre', { className: 'orb-printed' });
  const bar = element('div', { className: 'orb-bar' });
  bar.setAttribute('role', 'group');
  bar.setAttribute('aria-label', 'Play');

  const buttons = {};
  function addButton(name, label, title, onclick) {
    buttons[name] = element('button', { type: 'button', textContent: label, title, onclick });
    if (!Array.isArray(options.controls) || options.controls.includes(name)) bar.append(buttons[name]);
  }
  addButton('pause', 'Pause', 'F6 in the game', () => pause());
  addButton('step', 'Step', 'One frame: F7 in the game', () => step());
  addButton('again', 'Restart', 'Play from the beginning', () => begun());
  addButton('stop', 'Stop', 'End play', () => stop());
  addButton('figures', 'Figures', 'Times and counts: F3 in the game', () => overlay(!figures, boxes));
  addButton('boxes', 'Boxes', 'What is drawn, and its locals: F4 in the game', () => overlay(figures, !boxes));
  addButton('picture', 'Picture', 'Save what is shown as a PNG file', () => tell({ screenshot: true }));
  addButton('record', 'Record', 'Play from the beginning, and save a recording of it', () => record());
  addButton('sound', 'Sound', 'Sound on and off', () => {
    sound.muted = !sound.muted;
    refresh();
  });
  if (document.fullscreenEnabled)
    addButton('full', 'Full screen', 'Alt-Enter in the game', () => fullScreen());
  bar.append(status);

  place.classList.add('orb-player');
  place.classList.toggle('orb-fill', !!options.fill);
  place.replaceChildren(stage, ...(options.controls === false ? [] : [bar]), failure, printed);

  function refresh() {
    const on = state === 'playing' || state === 'paused';
    status.textContent = recording && on ? 'Recording' : stateNames[state];
    buttons.pause.textContent = state === 'paused' ? 'Continue' : 'Pause';
    for (const name of ['pause', 'picture', 'figures', 'boxes']) buttons[name].disabled = !on;
    buttons.stop.disabled = !on && state !== 'starting';
    buttons.step.hidden = state !== 'paused';
    buttons.record.textContent = recording ? 'End recording' : 'Record';
    for (const [name, pressed] of [['figures', figures], ['boxes', boxes], ['sound', !sound.muted]])
      buttons[name].setAttribute('aria-pressed', String(pressed));
    begin.hidden = state !== 'idle' && state !== 'stopped' && state !== 'over' && state !== 'failed';
    begin.firstChild.textContent = state === 'idle' ? 'Play' : 'Play again';
    begin.classList.toggle('low', state === 'failed'); // the error is to be read
    poster.hidden = !poster.src || shape !== null;
  }

  function setState(now) {
    state = place.dataset.state = now;
    refresh();
    if (options.onstate) options.onstate(now);
  }

  // As large as there is room, and each pixel as large as every other if that costs little. Elsewhere
  // the worker enlarges by a whole number, and the browser makes that smaller: edges stay sharp.
  function fit() {
    const pixels = shape || { width: poster.naturalWidth || 640, height: poster.naturalHeight || 480 };
    const full = document.fullscreenElement === stage, dense = window.devicePixelRatio || 1;
    const tall = full || options.fill ? screen.clientHeight : window.innerHeight * 0.85;
    const most = Math.min(screen.clientWidth * dense / pixels.width, tall * dense / pixels.height);
    if (!(most > 0)) return;
    const whole = Math.floor(most), crisp = whole >= 1 && whole / most > 0.6;
    const scale = crisp ? whole : most;
    for (const shown of [canvas, poster]) {
      shown.style.width = pixels.width * scale / dense + 'px';
      shown.style.height = pixels.height * scale / dense + 'px';
      shown.style.imageRendering = crisp ? 'pixelated' : 'auto';
    }
    const wanted = crisp && !figures && !boxes ? 1 : Math.max(Math.ceil(scale), 1);
    if (wanted !== pixelScale) tell({ scale: pixelScale = wanted });
  }
  const watch = new ResizeObserver(() => requestAnimationFrame(fit));
  watch.observe(screen);
  poster.onload = fit;
  if (options.poster) poster.src = options.poster;

  function paint() {
    if (!latest) return;
    const { width, height, pixels, number } = latest;
    latest = null;
    if (canvas.width !== width || canvas.height !== height) {
      canvas.width = width;
      canvas.height = height;
    }
    canvas.getContext('2d').putImageData(new ImageData(new Uint8ClampedArray(pixels), width, height), 0, 0);
    place.dataset.frame = number;
  }

  function show(frame) {
    if (!latest) requestAnimationFrame(paint);
    latest = frame;
    // The display's own size, whatever the player draws on top needs.
    const width = frame.displayWidth, height = frame.displayHeight;
    if (shape && shape.width === width && shape.height === height) return;
    shape = { width, height };
    canvas.dataset.width = width;
    canvas.dataset.height = height;
    refresh();
    fit();
  }

  // ---- Play ------------------------------------------------------------------------------------

  const tell = message => { if (worker) worker.postMessage(message); };

  function end(now) {
    if (worker) worker.terminate();
    worker = null;
    ++turn;
    sound.end();
    keys.releaseAll();
    fingers.classList.add('none');
    recording = false;
    setState(now);
  }

  // `text` begins with the place if a script has failed.
  function fail(text) {
    end('failed');
    const found = text.match(/^(.+?\.lua):(\d+):/);
    const message = readable(text);
    if (options.onerror) options.onerror({ message, file: found ? found[1] : '', line: found ? Number(found[2]) : 0 });
    else failure.textContent = message;
  }

  function print(lines) {
    if (options.onprint) options.onprint(lines);
    else showPrinted(lines);
  }

  function showPrinted(lines) {
    printed.textContent += lines + '\n';
    if (printed.textContent.length > 20000) printed.textContent = printed.textContent.slice(-10000);
    printed.scrollTop = printed.scrollHeight;
  }

  async function filesWith(changes) {
    const files = { ...game.files };
    for (const [path, text] of Object.entries(changes || {})) files[path] = new TextEncoder().encode(text);
    for (const [path, contents] of Object.entries(files)) {
      if (typeof contents !== 'string') continue;
      const answer = await fetch(contents).catch(() => ({}));
      if (!answer.ok) throw new Error(contents + " can't be loaded; reload the page");
      files[path] = new Uint8Array(await answer.arrayBuffer());
    }
    return Object.entries(files);
  }

  const hear = {
    started() {
      lookAtPads = padWatch(); // a new program knows of none
      setState('playing');
      settle();
    },
    frame: show,
    sound: message => sound.hear(message),
    print,
    asked(names) {
      asked = new Set(names);
      screenButtons.asked(names);
      fingers.classList.toggle('none', !touched || !fingers.children.length);
    },
    saved: files => saves.keep(game.name, files).then(kept => {
      if (!kept && !hear.told) showPrinted('This browser keeps nothing for this page: what the game saves is lost with it.');
      hear.told = hear.told || !kept;
    }),
    screenshot: bytes => download(game.name + '-' + ++pictures + '.png', bytes, 'image/png'),
    recording: text => download(game.name + '.rec', text, 'text/plain'),
    sums(sums) { place.dataset.sums = JSON.stringify(sums); end('stopped'); },
    over() { if (recording) endRecording('over'); else end('over'); },
    error: fail,
  };

  async function play(changes, more) {
    end('starting');
    const mine = turn, why = supported();
    failure.textContent = printed.textContent = '';
    paused = false;
    asked = new Set();
    wakeSound();
    try {
      if (why) throw new Error(why);
      const [[program, script], files, kept] =
        await Promise.all([prepare(), filesWith(changes), options.sums ? [] : saves.of(game.name)]);
      if (mine !== turn) return;
      worker = new Worker(script);
      worker.onmessage = ({ data }) => {
        if (mine === turn) for (const [word, value] of Object.entries(data)) hear[word](value);
      };
      worker.onerror = problem => { if (mine === turn) fail(problem.message || 'the program has failed'); };
      const words = [...(options.strict ? ['strict'] : []), ...(options.sums ? ['headless'] : []), ...(more ? more.words : [])];
      tell({ play: { program, files, saves: kept, script: game.script, arguments: game.arguments || [],
        options: words, replay: more && more.replay, sums: options.sums } });
    } catch (problem) {
      if (mine === turn) fail(problem.message);
    }
  }

  // What a new worker has to know.
  function settle() {
    pixelScale = 1;
    tell({ overlay: [figures ? 1 : 0, boxes ? 1 : 0] });
    fit();
    hold();
  }

  // A page that nobody sees doesn't play.
  function hold() {
    tell({ held: paused || document.hidden });
  }
  document.addEventListener('visibilitychange', hold);

  // By the user, who is then to use the keys.
  function begun() {
    player.play();
    canvas.focus({ preventScroll: true });
  }

  function pause() {
    if (state !== 'playing' && state !== 'paused') return;
    paused = !paused;
    setState(paused ? 'paused' : 'playing');
    hold();
  }

  function step() {
    if (state === 'playing') pause();
    tell({ step: true });
  }

  function stop() {
    if (recording && worker) endRecording();
    else if (worker || state === 'starting') end('stopped');
  }

  function record() {
    if (recording) return stop();
    play(null, { words: ['record'] });
    recording = state === 'starting'; // or this browser can't play
    refresh();
    canvas.focus({ preventScroll: true });
  }

  // The worker's recording ends play; one that is busy for ever has none.
  function endRecording(then = 'stopped') {
    const give = text => {
      if (text !== undefined) hear.recording(text);
      clearTimeout(late);
      end(then);
    };
    const mine = worker, late = setTimeout(() => { if (worker === mine) give(); }, 500);
    recording = false;
    worker.onmessage = ({ data }) => { if (worker === mine && data.recording !== undefined) give(data.recording); };
    tell({ recording: true });
  }

  function overlay(withFigures, withBoxes) {
    figures = withFigures;
    boxes = withBoxes;
    tell({ overlay: [figures ? 1 : 0, boxes ? 1 : 0] });
    fit();
    refresh();
  }

  function fullScreen() {
    if (document.fullscreenElement === stage) document.exitFullscreen();
    else stage.requestFullscreen().catch(() => {});
    canvas.focus({ preventScroll: true });
  }

  // ---- Hands -----------------------------------------------------------------------------------

  const keys = heldKeys(words => tell({ input: words }));
  const screenButtons = screenKeys(fingers, keys);
  let touched = coarse.matches;
  stage.addEventListener('pointerdown', event => {
    wakeSound();
    if (event.pointerType !== 'touch' || touched) return;
    touched = true;
    fingers.classList.toggle('none', !fingers.children.length);
  });

  // Keys of the player; and those that are the browser's, unless the game asks for them.
  listen(canvas, keys, words => tell({ input: words }), event => {
    wakeSound();
    if (event.altKey && event.key === 'Enter') return fullScreen(), true;
    if (['over', 'failed', 'stopped'].includes(state) && (event.key === 'r' || event.key === 'Enter'))
      return begun(), true;
    switch (event.key) {
    case 'F3': return overlay(!figures, boxes), true;
    case 'F4': return overlay(figures, !boxes), true;
    case 'F6': return pause(), true;
    case 'F7': return step(), true;
    }
    return false;
  }, event => {
    if (!worker || event.type === 'wheel') return !worker;
    const name = keyName(event);
    if (name === 'tab' && state === 'paused') return true; // a way out for those who have keys only
    return !asked.has(name) && !/^(lctrl|rctrl)$/.test(name) &&
      (event.ctrlKey && combined(event) || /^(f\d+|tab)$/.test(name));
  });

  let lookAtPads = padWatch();
  let looking = requestAnimationFrame(function look() {
    const words = state === 'playing' ? lookAtPads() : '';
    if (words) tell({ input: words });
    looking = requestAnimationFrame(look);
  });

  const player = {
    get state() { return state; },
    play: changes => play(changes),
    replay: text => play(null, { words: ['replay'], replay: text }),
    stop, pause, step,
    focus: () => canvas.focus({ preventScroll: true }),
    destroy() {
      end('stopped');
      watch.disconnect();
      cancelAnimationFrame(looking);
      document.removeEventListener('visibilitychange', hold);
      place.replaceChildren();
      place.classList.remove('orb-player', 'orb-fill');
    },
  };
  setState('idle');
  if (options.autoplay) player.play();
  return player;
}

window.orbPlayer = Object.assign(orbPlayer, { supported, prepare, examples, bytesOf });
