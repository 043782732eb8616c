// The page: an example on a canvas, its source beside it. What the address may say: ?script=FOLDER/
// NAME.lua, any number of &arg=WORD, and for tests &sums=1,60,300 (plays as fast as it can up to the
// last of these frames, and shows their sums).
'use strict';

const element = id => document.getElementById(id);
const canvas = element('screen'), source = element('source');
const asked = new URLSearchParams(location.search);
let worker = null, latest = null;

function bytesOf(base64) {
  const text = atob(base64), bytes = new Uint8Array(text.length);
  for (let i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);
  return bytes;
}
const wasm = bytesOf(orbData.wasm);
const files = Object.entries(orbData.files).map(([path, bytes]) => ['/examples/' + path, bytesOf(bytes)]);
const scripts = files.map(([path]) => path).filter(path => orbData.scripts.includes(path.slice(10)));

// ---- Play --------------------------------------------------------------------------------------

function stop(state) {
  if (worker) worker.terminate();
  worker = null;
  element('state').textContent = state;
}

// The message, with a button that leads to its line if that is in the source at hand.
function showError(text, script) {
  const box = element('error');
  box.textContent = text.replaceAll('/examples/', '');
  const name = script.split('/').pop(), found = text.match(/([^/\s:]+\.lua):(\d+):/);
  if (!found || found[1] !== name) return;
  const go = document.createElement('button');
  go.textContent = 'Line ' + found[2];
  go.onclick = () => selectLine(Number(found[2]));
  box.append('\n', go);
}

function selectLine(line) {
  const lines = source.value.split('\n');
  const from = lines.slice(0, line - 1).join('\n').length + (line > 1 ? 1 : 0);
  source.focus();
  source.setSelectionRange(from, from + (lines[line - 1] || '').length);
  source.scrollTop = source.scrollHeight * (line - 5) / lines.length;
}

function play() {
  stop('');
  element('error').textContent = element('printed').textContent = '';
  const script = element('examples').value;
  const text = 'var _scriptDir;\nconst createOrb = ' + createOrb + ';\n(' + orbWorker + ')();';
  const address = URL.createObjectURL(new Blob([text], { type: 'text/javascript' }));
  const mine = worker = new Worker(address);
  URL.revokeObjectURL(address);
  element('state').textContent = 'starting';
  worker.onmessage = ({ data }) => {
    if (worker !== mine) return;
    if (data.pixels) {
      if (!latest) requestAnimationFrame(paint);
      latest = data;
      if (data.frame === 1) element('state').textContent = 'playing, without sound';
    }
    if (data.print !== undefined) element('printed').textContent += data.print + '\n';
    if (data.sums) element('state').dataset.sums = JSON.stringify(data.sums);
    if (data.over) stop('over');
    if (data.error) { stop('failed'); showError(data.error, script); }
  };
  worker.onerror = problem => { stop('failed'); showError(problem.message, script); };
  const edited = files.map(([path, bytes]) =>
    path === script ? [path, new TextEncoder().encode(source.value)] : [path, bytes]);
  const sums = (asked.get('sums') || '').split(',').filter(Boolean).map(Number);
  const words = script === '/examples/' + asked.get('script') ? asked.getAll('arg') : [];
  worker.postMessage({ play: { wasm, files: edited, script, arguments: words, sums, fast: sums.length > 0 } });
}

function paint() {
  const { width, height, pixels } = latest;
  latest = null;
  if (canvas.width !== width || canvas.height !== height) {
    canvas.width = width;
    canvas.height = height;
  }
  canvas.getContext('2d').putImageData(new ImageData(new Uint8ClampedArray(pixels), width, height), 0, 0);
}

// ---- Hands -------------------------------------------------------------------------------------

const keys = {
  Space: 'space', Enter: 'enter', Escape: 'escape', Tab: 'tab', Backspace: 'backspace',
  Insert: 'insert', Delete: 'delete', Home: 'home', End: 'end', PageUp: 'pageup', PageDown: 'pagedown',
  ArrowLeft: 'left', ArrowRight: 'right', ArrowUp: 'up', ArrowDown: 'down', Pause: 'pause',
  ShiftLeft: 'lshift', ShiftRight: 'rshift', ControlLeft: 'lctrl', ControlRight: 'rctrl',
  AltLeft: 'lalt', AltRight: 'ralt',
};

// A key's name for scripts: by its place, or for signs by what it writes.
function keyName(event) {
  const code = event.code;
  const part = code.match(/^(?:Key([A-Z])|Digit(\d)|Numpad(\d)|(F\d+))$/);
  if (part) return part[1] ? part[1].toLowerCase() : part[2] || (part[3] ? 'kp' + part[3] : part[4].toLowerCase());
  return keys[code] || (event.key.length === 1 ? event.key.toLowerCase() : '');
}

const tell = message => { if (worker) worker.postMessage(message); };
const held = new Set();

function hearKey(event) {
  const name = keyName(event);
  if (!name || event.metaKey) return;
  event.preventDefault();
  const down = event.type === 'keydown' ? 1 : 0;
  if (down) held.add(name); else held.delete(name);
  const character = event.key.length === 1 ? event.key.charCodeAt(0) : event.key === 'Backspace' ? 8 : 0;
  tell({ key: name, character, down });
}
canvas.addEventListener('keydown', hearKey);
canvas.addEventListener('keyup', hearKey);
canvas.addEventListener('blur', () => { // what is let go of elsewhere isn't heard
  for (const key of held) tell({ key, character: 0, down: 0 });
  held.clear();
});

function hearPointer(event) {
  const place = canvas.getBoundingClientRect();
  const scaled = (at, from, size, pixels) =>
    Math.min(Math.max(Math.floor((at - from) * pixels / size), 0), pixels - 1);
  tell({ pointer: [scaled(event.clientX, place.left, place.width, canvas.width),
                   scaled(event.clientY, place.top, place.height, canvas.height)] });
  if (event.type === 'pointermove') return;
  if (event.type === 'pointerdown') {
    canvas.focus();
    canvas.setPointerCapture(event.pointerId);
  }
  tell({ button: event.button + 1, down: event.type === 'pointerdown' ? 1 : 0 });
  event.preventDefault();
}
for (const type of ['pointermove', 'pointerdown', 'pointerup']) canvas.addEventListener(type, hearPointer);
canvas.addEventListener('contextmenu', event => event.preventDefault());
canvas.addEventListener('wheel', event => {
  const button = event.deltaY < 0 ? 4 : 5;
  tell({ button, down: 1 });
  tell({ button, down: 0 });
  event.preventDefault();
}, { passive: false });

// ---- Controls ----------------------------------------------------------------------------------

function open() {
  const [, bytes] = files.find(([path]) => path === element('examples').value);
  source.value = new TextDecoder().decode(bytes);
  play();
}
for (const path of scripts) element('examples').add(new Option(path.slice(10), path));
element('examples').value = '/examples/' + (asked.get('script') || 'games/games_meteors.lua');
if (!element('examples').value) element('examples').selectedIndex = 0;
element('examples').onchange = open;
element('run').onclick = () => { play(); canvas.focus(); };
element('stop').onclick = () => stop('stopped');
open();
