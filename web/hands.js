// Keys, pointer, touch and game pads, as the words that the program reads
// (host/player/input_words.h).

const keyNames = {
  Space: 'space', Enter: 'enter', Escape: 'escape', Tab: 'tab', Backspace: 'backspace',
  Insert: 'insert', Delete: 'delete', Home: 'home', End: 'end', PageUp: 'pageup', PageDown: 'pagedown',
  ArrowLeft: 'left', ArrowRight: 'right', ArrowUp: 'up', ArrowDown: 'down', Pause: 'pause',
  ShiftLeft: 'lshift', ShiftRight: 'rshift', ControlLeft: 'lctrl', ControlRight: 'rctrl',
  AltLeft: 'lalt', AltRight: 'ralt',
};

// A key's name for scripts: by its place, or for signs by what it writes.
function keyName(event) {
  const part = event.code.match(/^(?:Key([A-Z])|Digit(\d)|Numpad(\d)|(F\d+))$/);
  if (part) return part[1] ? part[1].toLowerCase() : part[2] || (part[3] ? 'kp' + part[3] : part[4].toLowerCase());
  return keyNames[event.code] || (/^[!-~]$/.test(event.key) ? event.key.toLowerCase() : '');
}

// Whether a key is part of a combination. The right Alt and a Mac's Option write signs: @ or [.
const combined = event => (event.ctrlKey || event.altKey && !/^Mac/.test(navigator.platform)) &&
  !event.getModifierState('AltGraph');

// What is down, so that all of it can be let go of: a page that loses the focus isn't told.
function heldKeys(tell) {
  const held = new Map(); // name: how many hold it
  return {
    press(name) {
      const count = held.get(name) || 0;
      held.set(name, count + 1);
      if (!count) tell('+' + name);
    },
    release(name) {
      const count = held.get(name) || 0;
      if (count > 1) held.set(name, count - 1);
      else if (held.delete(name)) tell('-' + name);
    },
    releaseAll() {
      if (held.size) tell([...held.keys()].map(name => '-' + name).join(' '));
      held.clear();
    },
  };
}

// Listens to what happens on `canvas`, which can have the focus. `tell` takes the words; `shortcut`
// does what an event of a key is for the player, and says whether it is; `passes` says of an event
// of a key or the wheel that it is the browser's.
function listen(canvas, keys, tell, shortcut, passes) {
  const down = new Set(); // by the keys' places: a sign's name may change while it is held
  function letGo() {
    down.clear();
    touching.clear();
    keys.releaseAll();
  }

  canvas.addEventListener('keydown', event => {
    if (event.metaKey || event.isComposing) return;
    if (shortcut(event)) {
      event.preventDefault();
      return;
    }
    if (passes(event)) return;
    const name = keyName(event);
    const written = event.key === 'Backspace' ? 8 : [...event.key].length === 1 ? event.key.codePointAt(0) : 0;
    if (!name && !written) return;
    if (!event.repeat && name && !down.has(event.code + ' ' + name)) {
      down.add(event.code + ' ' + name);
      keys.press(name);
    }
    if (written && !combined(event)) tell('text=' + written);
    event.preventDefault();
  });
  canvas.addEventListener('keyup', event => {
    if (event.key === 'Meta') return letGo(); // Macs don't tell of keys let go of beside it
    for (const entry of down) {
      const [code, name] = entry.split(' ');
      if (code !== event.code) continue;
      down.delete(entry);
      keys.release(name);
      event.preventDefault();
    }
  });
  canvas.addEventListener('blur', letGo);

  // By their bits in `buttons`: an event of a second button is one of motion.
  const buttons = ['mouse_left', 'mouse_right', 'mouse_middle'];
  const touching = new Map(); // the bits that each pointer holds down, since it went down here
  function press(event) {
    const was = touching.get(event.pointerId) || 0, now = event.type === 'pointercancel' ? 0 : event.buttons;
    buttons.forEach((name, i) => {
      if (now & ~was & 1 << i) keys.press(name);
      if (was & ~now & 1 << i) keys.release(name);
    });
    if (now) touching.set(event.pointerId, now);
    else touching.delete(event.pointerId);
  }
  function point(event) {
    const place = canvas.getBoundingClientRect();
    const scaled = (at, from, size, pixels) =>
      Math.min(Math.max(Math.floor((at - from) * pixels / size), 0), pixels - 1);
    const width = Number(canvas.dataset.width), height = Number(canvas.dataset.height);
    tell('mouse=' + scaled(event.clientX, place.left, place.width, width) + ',' +
      scaled(event.clientY, place.top, place.height, height));
    if (event.type === 'pointerdown' || touching.has(event.pointerId)) press(event);
  }
  canvas.addEventListener('pointerdown', event => {
    canvas.focus();
    try { canvas.setPointerCapture(event.pointerId); } catch (problem) { /* gone already */ }
    point(event);
    event.preventDefault();
  });
  for (const type of ['pointermove', 'pointerup', 'pointercancel']) canvas.addEventListener(type, point);
  canvas.addEventListener('contextmenu', event => event.preventDefault());
  let turned = 0;
  canvas.addEventListener('wheel', event => {
    if (document.activeElement !== canvas || event.ctrlKey || passes(event)) return; // the page scrolls, or zooms
    event.preventDefault();
    turned += event.deltaMode === 0 ? event.deltaY / 100 : Math.sign(event.deltaY); // pixels, or lines
    const steps = Math.trunc(turned);
    turned -= steps;
    if (steps) tell('wheel=' + -steps);
  }, { passive: false });
}

// ---- Game pads ---------------------------------------------------------------------------------

// By the place of a button in a browser's order: its place in ours; the cross and the triggers are none.
const padButtons = ['a', 'b', 'x', 'y', 'l', 'r', '', '', 'back', 'start', 'button10', 'button11', '', '', '', '',
  'button9'];

// Percent of an axis's way beyond the dead zone, as on the desktop.
function percent(value) {
  const dead = 0.15, way = Math.min(Math.abs(value), 1) - dead;
  return way <= 0 ? 0 : Math.sign(value) * Math.trunc(100 * way / (1 - dead));
}

// Looks at the pads; call once a frame of the page. The words that tell what has changed.
function padWatch() {
  let told = [];
  return () => {
    const pads = [...(navigator.getGamepads ? navigator.getGamepads() : [])].filter(Boolean).slice(0, 4);
    const words = [];
    if (pads.length !== told.length || pads.some((pad, i) => pad.id !== told[i].id)) {
      words.push('pads=' + pads.length);
      told = pads.map(pad => ({ id: pad.id, axes: [0, 0, 0, 0], hat: '0,0', down: new Set() }));
    }
    pads.forEach((pad, i) => {
      const was = told[i], name = 'pad' + (i + 1) + '_';
      ['x', 'y', 'x2', 'y2'].forEach((axis, n) => {
        const value = percent(pad.axes[n] || 0);
        if (value !== was.axes[n]) words.push(name + axis + '=' + (was.axes[n] = value));
      });
      const held = n => pad.buttons[n] && pad.buttons[n].pressed ? 1 : 0;
      const hat = held(15) - held(14) + ',' + (held(13) - held(12));
      if (hat !== was.hat) words.push(name + 'hat=' + (was.hat = hat));
      padButtons.forEach((button, n) => {
        if (!button || !!held(n) === was.down.has(button)) return;
        words.push((held(n) ? '+' : '-') + name + button);
        if (held(n)) was.down.add(button); else was.down.delete(button);
      });
    });
    return words.join(' ');
  };
}

// ---- Keys on the screen ------------------------------------------------------------------------

const arrows = ['left', 'right', 'up', 'down'];
const keyLabels = { space: 'space', enter: '⏎', escape: 'esc', lctrl: 'ctrl', lshift: 'shift', lalt: 'alt' };

// Keys for fingers: a cross for the arrows and a button for each of the others that a script has asked
// for. Those that are there stay as asked() is told of more: a finger may hold them.
function screenKeys(place, keys) {
  const parts = new Map(); // name, or 'arrows' for the cross: its element
  const right = document.createElement('div');
  right.className = 'orb-buttons';

  // The cross: arrows by the direction from its middle, so that a thumb can slide.
  function cross() {
    const element = document.createElement('div');
    element.className = 'orb-cross';
    for (const arrow of arrows) element.append(Object.assign(document.createElement('i'), { className: arrow }));
    let now = [];
    const hold = next => {
      for (const name of now) if (!next.includes(name)) keys.release(name);
      for (const name of next) if (!now.includes(name)) keys.press(name);
      now = next;
      for (const part of element.children) part.classList.toggle('held', now.includes(part.className.split(' ')[0]));
    };
    const slide = event => {
      const box = element.getBoundingClientRect();
      const x = (event.clientX - box.left) / box.width * 2 - 1, y = (event.clientY - box.top) / box.height * 2 - 1;
      const next = [], slope = 0.41; // of the eight directions
      if (Math.hypot(x, y) > 0.2) {
        if (Math.abs(x) > Math.abs(y) * slope) next.push(x < 0 ? 'left' : 'right');
        if (Math.abs(y) > Math.abs(x) * slope) next.push(y < 0 ? 'up' : 'down');
      }
      hold(next);
    };
    element.onpointerdown = event => {
      event.preventDefault();
      element.setPointerCapture(event.pointerId);
      slide(event);
    };
    element.onpointermove = event => { if (element.hasPointerCapture(event.pointerId)) slide(event); };
    element.onpointerup = element.onpointercancel = () => hold([]);
    return element;
  }

  function button(name) {
    const element = document.createElement('button');
    element.type = 'button';
    element.tabIndex = -1;
    element.textContent = keyLabels[name] || name;
    element.onpointerdown = event => {
      event.preventDefault();
      element.setPointerCapture(event.pointerId);
      keys.press(name);
    };
    element.onpointerup = element.onpointercancel = () => keys.release(name);
    return element;
  }

  return {
    asked(names) {
      const known = new Set(names.filter(name => !/^(mouse_|pad)/.test(name))
        .map(name => arrows.includes(name) ? 'arrows' : name));
      if ([...parts.keys()].some(name => !known.has(name))) { // another play
        keys.releaseAll();
        parts.clear();
        place.replaceChildren();
        right.replaceChildren();
      }
      for (const name of known) {
        if (parts.has(name) || name !== 'arrows' && right.children.length === 8) continue;
        parts.set(name, name === 'arrows' ? cross() : button(name));
        if (name === 'arrows') place.prepend(parts.get(name));
        else right.append(parts.get(name));
      }
      if (known.size && !right.parentNode) place.append(right);
    },
  };
}
