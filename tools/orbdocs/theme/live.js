// What is live on the site's pages: examples that play beside their source, which can be changed and
// run again, and the page for games of one's own. The player is play/player.js; without it, or where it
// can't play, pictures and sources stay as they are.
'use strict';

(() => {
if (typeof orbPlayer === 'undefined') return;
const why_not = orbPlayer.supported();

// make('button', {className: 'x', onclick: f}, 'text', node ...)
function make(tag, properties = {}, ...inside) {
  const node = Object.assign(document.createElement(tag), properties);
  node.append(...inside);
  return node;
}

function button(label, hint, onclick) {
  return make('button', { type: 'button', textContent: label, title: hint, onclick });
}

// ---- One plays at a time ------------------------------------------------------------------------

let loud = null; // the player that began last

function begins(player) {
  if (loud !== player && loud && ['starting', 'playing', 'paused'].includes(loud.state)) loud.stop();
  loud = player;
}

// ---- Source -------------------------------------------------------------------------------------

const words = new RegExp([
  /(--(?:\[(=*)\[[^]*?\]\2\]|[^\n]*))/, /("(?:\\[^]|[^"\\\n])*"?|'(?:\\[^]|[^'\\\n])*'?|\[(=*)\[[^]*?\]\4\])/,
  /(\b\d[\w.]*)/,
  /\b(and|break|do|else|elseif|end|false|for|function|goto|if|in|local|nil|not|or|repeat|return|then|true|until|while)\b/,
].map(part => part.source).join('|'), 'g');

// Lua in the colours that the site gives it, as nodes.
function coloured(text) {
  const nodes = document.createDocumentFragment();
  let at = 0;
  for (const found of text.matchAll(words)) {
    const style = found[1] ? 'c' : found[3] ? 's' : found[5] ? 'n' : 'k';
    nodes.append(text.slice(at, found.index), make('span', { className: style }, found[0]));
    at = found.index + found[0].length;
  }
  nodes.append(text.slice(at), '\n'); // a last line without text has its height
  return nodes;
}

// Puts an editor in the place of a <pre>: a transparent text field over the coloured text, which gives
// it its size, so that the box around both scrolls.
function edit(pre, path, run) {
  const original = pre.textContent.replace(/\n$/, '');
  const field = make('textarea', { value: original, spellcheck: false, autocapitalize: 'off', wrap: 'off' });
  field.setAttribute('autocorrect', 'off');
  field.setAttribute('aria-label', 'Source of ' + path.split('/').pop() +
    '. Control and Enter run it; Tab indents; Escape, then Tab leaves.');
  const shown = make('pre', { className: 'lua' }), mark = make('div', { className: 'mark', hidden: true });
  shown.setAttribute('aria-hidden', 'true');
  const box = make('div', { className: 'editor' }, mark, shown, field);
  const unmark = () => { mark.hidden = true; };
  const paint = () => { shown.replaceChildren(coloured(field.value)); unmark(); };
  paint();
  field.addEventListener('input', paint);

  let leaving = false;
  field.addEventListener('keydown', event => {
    if (event.key === 'Tab' && !leaving && !event.shiftKey) {
      insert('  ');
      event.preventDefault();
    } else if (event.key === 'Enter' && (event.ctrlKey || event.metaKey)) {
      run();
      event.preventDefault();
    }
    if (event.key !== 'Shift') leaving = event.key === 'Escape';
  });

  // As if typed, so that it can be undone.
  function insert(text) {
    if (document.execCommand('insertText', false, text)) return;
    field.setRangeText(text, field.selectionStart, field.selectionEnd, 'end');
    field.dispatchEvent(new Event('input'));
  }

  pre.replaceWith(box);
  return {
    path, box, field, original, unmark,
    reset() {
      if (field.value === original) return;
      if (box.hidden) {
        field.value = original;
        return paint();
      }
      field.focus();
      field.select();
      insert(original);
      field.setSelectionRange(0, 0);
      box.scrollTo(0, 0);
    },
    // Marks, selects and shows a line.
    select(line) {
      const lines = field.value.split('\n'), number = Math.min(Math.max(line, 1), lines.length);
      const from = lines.slice(0, number - 1).reduce((sum, text) => sum + text.length + 1, 0);
      field.setSelectionRange(from, from + lines[number - 1].length);
      const style = getComputedStyle(shown), height = parseFloat(style.lineHeight);
      mark.hidden = false;
      mark.style.top = parseFloat(style.paddingTop) + (number - 1) * height + 'px';
      mark.style.height = height + 'px';
      box.scrollTo(0, mark.offsetTop - box.clientHeight / 3);
    },
    go() {
      field.focus({ preventScroll: true });
      mark.scrollIntoView({ block: 'nearest' });
    },
  };
}

// What a line of help says: of the name at the caret, with a link to its entry, else the keys.
function help(line, { field }) {
  const from = field.value.slice(0, field.selectionStart).search(/\w*$/);
  const word = field.value.slice(from).match(/^\w*/)[0];
  const entry = word && search_index.find(([name, , , where]) => name === word && where.startsWith('reference/'));
  if (!entry) line.textContent = 'Ctrl+Enter runs. Tab indents; Escape, then Tab leaves the source.';
  else line.replaceChildren(make('a', { href: site_root + entry[3] }, word), ' ' + entry[1].replaceAll('`', ''));
}

// ---- Examples -----------------------------------------------------------------------------------

// What an example takes behind its name, from the list that it gives lib/options.lua.
function arguments_of(source) {
  const list = source.match(/require "options" \{([^]*?)\n?\}\n/);
  if (!list) return '';
  return [...list[1].matchAll(/\{ "(\w+)", ([^,]+), "([^"]*)"(?:, \{ ([^}]*) \})? \}/g)]
    .map(([, name, value, , values]) => value === 'false' ? name : name + ' (' + (values || value) + ')').join(' ');
}

function bring_to_life(live) {
  const { script, name } = live.dataset, large = live.classList.contains('bench');
  const place = live.querySelector('.place'), bar = live.querySelector('.bar');
  const shot = place.querySelector('img'), words = new URLSearchParams(location.search);
  let editors = [], player = null, examples = null, wanted = null;
  const game = { // what the page says now: the player asks whenever play begins
    script, name,
    get files() {
      const written = editors.map(({ path, field }) => [path, new TextEncoder().encode(field.value + '\n')]);
      return { ...examples, ...Object.fromEntries(written) };
    },
    get arguments() { return wanted ? wanted.value.split(/\s+/).filter(Boolean) : []; },
  };

  const run = button('Run', 'Plays from the beginning (Ctrl+Enter in the source)', () => start(true));
  const stop = button('Stop', 'Ends play', () => player.stop());
  const reset = button('Reset', 'The source and the picture as they were', back);
  const problem = make('div', { className: 'problem', hidden: true });
  problem.setAttribute('role', 'alert');
  bar.append(run, stop, reset);
  place.after(problem);
  if (shot) place.style.setProperty('--shape', shot.getAttribute('width') + ' / ' + shot.getAttribute('height'));
  const expect = () => orbPlayer.prepare().catch(() => {}); // play will say what is wrong
  for (const near of ['pointerenter', 'focusin']) live.addEventListener(near, expect, { once: true });

  // The sources become editors: at once beside a large picture, else when play begins.
  function open_source() {
    if (editors.length) return;
    editors = [...live.querySelectorAll('pre.lua')].map(pre => edit(pre, pre.dataset.path || script, () => start(false)));
    const line = make('p', { className: 'hint' });
    (large ? live.querySelector('.source') : bar).append(line);
    for (const editor of editors) {
      editor.field.addEventListener('input', show_state);
      for (const moved of ['keyup', 'click']) editor.field.addEventListener(moved, () => help(line, editor));
    }
    help(line, editors[0]);
  }

  function show_state() {
    const state = player ? player.state : 'idle';
    stop.disabled = !['starting', 'playing', 'paused'].includes(state);
    reset.disabled = state === 'idle' && editors.every(editor => editor.field.value === editor.original);
    if (state !== 'starting') return;
    begins(player);
    problem.hidden = true;
    for (const editor of editors) editor.unmark();
  }

  // The player in the place of the picture, once the examples' files are known.
  async function create() {
    run.disabled = true;
    try {
      examples = examples || await orbPlayer.examples();
    } catch (error) {
      complain({ message: error.message });
    }
    run.disabled = false;
    if (!examples) return;
    if (!large) place.style.width = shot.offsetWidth + 'px';
    const sums = large && words.get('sums') ? words.get('sums').split(',').map(Number) : undefined; // for tests
    player = orbPlayer(place, { game, poster: shot ? shot.src : '', controls: large, fill: true, sums,
      autoplay: Boolean(sums), onstate: show_state, onerror: complain });
    show_state();
  }

  async function start(focused) {
    open_source();
    if (!player) await create();
    if (!player) return;
    player.play();
    if (focused) player.focus();
  }

  // As the page was when it was opened.
  function back() {
    if (player) player.destroy();
    if (loud === player) loud = null;
    player = null;
    problem.hidden = true;
    for (const editor of editors) editor.reset();
    if (large) create();
    else place.replaceChildren(shot);
    show_state();
    run.focus({ preventScroll: true });
  }

  function complain({ message, file, line }) {
    problem.hidden = false;
    problem.replaceChildren(make('pre', {}, message));
    const editor = editors.find(({ path }) => path === file);
    if (!editor || !line) return;
    const show = () => { choose(editor); editor.select(line); };
    show();
    problem.prepend(button('Line ' + line + (editor === editors[0] ? '' : ' of ' + file.split('/').pop()),
      'Goes to the line in the source', () => { show(); editor.go(); }));
  }

  let choose = () => {};
  if (!large) return show_state();

  // Beside a large picture: files in tabs, arguments, and the player from the start.
  for (const details of live.querySelectorAll('details')) details.replaceWith(details.querySelector('pre'));
  open_source();
  const tabs = editors.map(editor => button(editor.path.split('/').pop(), editor.path.slice(1), () => choose(editor)));
  choose = chosen => editors.forEach((editor, i) => {
    editor.box.hidden = editor !== chosen;
    tabs[i].setAttribute('aria-pressed', editor === chosen);
  });
  choose(editors[0]);
  const list = make('div', { className: 'tabs' }, ...tabs);
  list.setAttribute('role', 'group');
  list.setAttribute('aria-label', 'Files');
  if (tabs.length > 1) bar.after(list);
  const taken = arguments_of(editors[0].original);
  if (taken) {
    wanted = make('input', { type: 'text', placeholder: taken, spellcheck: false, value: words.getAll('arg').join(' '),
      title: 'What is written behind the name on a command line; "help" prints what there is' });
    wanted.addEventListener('keydown', event => { if (event.key === 'Enter') start(true); });
    bar.append(make('label', {}, 'Arguments ', wanted));
  }
  create();
}

// ---- A game of one's own ------------------------------------------------------------------------

const most = 256 << 20, most_together = 512 << 20, most_files = 20000;

// What was dropped, as [{path, file}]: folders with all that is in them.
async function dropped(transfer) {
  const entries = [...transfer.items].filter(item => item.kind === 'file')
    .map(item => ({ entry: item.webkitGetAsEntry && item.webkitGetAsEntry(), file: item.getAsFile() }));
  const found = [], promised = ask => new Promise((done, failed) => ask(done, failed));
  async function walk(entry) {
    if (found.length > most_files) return;
    if (entry.name.startsWith('.')) {
      found.push({ path: entry.fullPath.slice(1) });
    } else if (entry.isFile) {
      found.push({ path: entry.fullPath.slice(1), file: await promised((done, failed) => entry.file(done, failed)) });
    } else {
      const reader = entry.createReader();
      const more = () => promised((done, failed) => reader.readEntries(done, failed));
      for (let some; (some = await more()).length;) // it gives some at a time
        for (const inside of some) await walk(inside);
    }
  }
  for (const { entry, file } of entries)
    if (entry && entry.isDirectory) await walk(entry);
    else if (file) found.push({ path: file.webkitRelativePath || file.name, file });
  return found;
}

// The game that files are: {game, notes, scripts: which of them may begin, if none is main.lua}, {recording},
// or {refused} with words for a user.
async function game_of(list) {
  const notes = [], taken = [], hidden = new Set();
  let together = 0;
  for (const { path, file } of list) {
    const dotted = path.match(/^(?:.*?\/)?\.[^/]*/);
    if (dotted) {
      hidden.add(dotted[0]);
    } else if (file.size > most) {
      notes.push(path + ' is larger than 256 MB and is left out.');
    } else {
      together += file.size;
      taken.push({ path, file });
    }
  }
  if (hidden.size) notes.push('Left out, since their names begin with a dot: ' + [...hidden].sort().join(', ') + '.');
  if (list.length > most_files) return { refused: 'There are more than 20,000 files: choose the game\'s own folder.' };
  if (together > most_together)
    return { refused: 'All files together are larger than 512 MB, which is more than a page can play.' };
  if (!taken.length) return { refused: ['There is nothing to play in it.', ...notes].join(' ') };

  const [{ path, file }] = taken, alone = taken.length === 1;
  if (alone && /\.(txt|rec)$/i.test(path)) {
    const text = await file.text();
    if (text.startsWith('orbplay recording 1')) return { recording: text };
  }
  const bytes = async from => new Uint8Array(await from.arrayBuffer());
  if (alone && !path.includes('/') && /\.zip$/i.test(path)) {
    const script = '/drop/' + path;
    return { notes, game: { name: path.replace(/\.zip$/i, ''), script, files: { [script]: await bytes(file) } } };
  }

  // Loose files are as a folder of them.
  const loose = taken.some(one => !one.path.includes('/'));
  const files = {};
  for (const one of taken) files['/drop/' + (loose ? 'game/' : '') + one.path] = await bytes(one.file);
  const folder = loose ? '/drop/game' : '/drop/' + path.split('/')[0];
  const game = { name: alone ? path.replace(/\.lua$/, '') : folder.slice(6), script: folder, files };
  if (files[folder + '/main.lua']) return { notes, game };
  const all = Object.keys(files).filter(name => name.endsWith('.lua')).sort();
  const above = all.filter(name => name.lastIndexOf('/') === folder.length);
  const scripts = above.length ? above : all;
  if (!scripts.length)
    return { refused: 'No Lua script is in it. A game is a folder with a main.lua, or a zip file of one.' };
  game.script = scripts[0];
  return { notes, game, scripts };
}

function own_games(own) {
  let player = null;
  const place = make('div', { className: 'place', hidden: true });
  const problem = make('div', { className: 'problem', hidden: true }), notes = make('p', { className: 'hint' });
  problem.setAttribute('role', 'alert');
  const input = (label, properties) => {
    const chooser = make('input', { type: 'file', ...properties });
    chooser.addEventListener('change', () => {
      take([...chooser.files].map(file => ({ path: file.webkitRelativePath || file.name, file })));
      chooser.value = ''; // the same again is a change
    });
    return make('label', { className: 'chooser' }, label, chooser);
  };
  own.append(make('div', { className: 'drop' }, make('p', {}, 'Drop it here'),
    input('Choose a folder', { webkitdirectory: true }), input('Choose a file', { accept: '.zip,.lua,.txt,.rec' })),
    notes, problem, place);

  function refuse(message) {
    problem.hidden = false;
    problem.replaceChildren(make('pre', {}, message));
  }

  function play(game) {
    problem.hidden = true;
    if (player) player.destroy();
    place.hidden = false;
    player = orbPlayer(place, { game, autoplay: true, fill: true, onerror: ({ message }) => refuse(message),
      onstate: state => { if (state === 'starting') problem.hidden = true; } });
    place.scrollIntoView({ block: 'nearest' });
    player.focus();
  }

  async function take(list) {
    problem.hidden = true;
    notes.textContent = '';
    const { game, recording, refused, scripts = [], notes: left_out } = await game_of(list)
      .catch(error => ({ refused: 'It can\'t be read: ' + error.message }));
    if (refused) return refuse(refused);
    if (recording && !player) return refuse('That is a recording: drop the game that it was made of first.');
    if (recording) {
      notes.textContent = 'The recording is played.';
      player.replay(recording);
      player.focus();
    } else {
      notes.textContent = left_out.join(' ');
      if (scripts.length < 2) return play(game);
      const choices = scripts.slice(0, 50).map(script => button(script.split('/').slice(3).join('/'), 'Plays it',
        () => play({ ...game, name: game.name + '/' + script.split('/').pop(), script })));
      notes.append(make('span', { className: 'bar' }, 'No main.lua is in it. Which script begins?', ...choices));
    }
  }

  let inside = 0; // entered elements that have not been left
  const over = change => {
    inside = Math.max(inside + change, 0);
    document.body.classList.toggle('dropping', inside > 0);
  };
  document.addEventListener('dragenter', () => over(1));
  document.addEventListener('dragleave', () => over(-1));
  const has_files = event => [...event.dataTransfer.types].includes('Files'); // text goes where it is dropped
  document.addEventListener('dragover', event => { if (has_files(event)) event.preventDefault(); });
  document.addEventListener('drop', event => {
    over(-inside);
    if (!has_files(event)) return;
    event.preventDefault();
    dropped(event.dataTransfer).then(take, error => refuse(location.protocol !== 'file:'
      ? 'It can\'t be read: ' + error.message
      : 'This browser lets no page from a disk read a dropped folder: choose it with the button, or drop a zip file.'));
  });
}

// ---- The page -----------------------------------------------------------------------------------

const own = document.getElementById('own');
if (why_not) {
  document.querySelectorAll('.bench .place').forEach(place => { place.style.padding = 0; });
  for (const where of [own, document.querySelector('.bench .source')])
    if (where) where.prepend(make('p', { className: 'problem' }, why_not));
} else {
  document.querySelectorAll('.live').forEach(bring_to_life);
  if (own) own_games(own);
}
})();
