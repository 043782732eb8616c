// Plays one game in a worker, which the page can end even in the middle of an endless loop.
//
// The page runs the text of this function, and of createOrb, as a worker: a page that was opened from
// a disk has no other way to start one. Messages to it: {play: {wasm, files, script, arguments, sums,
// fast}}, then {key, character, down}, {pointer: [x, y]}, {button, down}. From it: {width, height,
// pixels, frame}, {print}, {sums}, {over}, {error}.
function orbWorker() {
  let orb, stamp = 0, frame = 0, wanted = [], sums = {}, fast = false;

  function say(message, transferred) { postMessage(message, transferred || []); }
  function fail() { say({ error: orb.ccall('orb_error', 'string') }); }

  function show() {
    const width = orb._orb_width(), height = orb._orb_height(), at = orb._orb_pixels();
    if (!at) return;
    const pixels = orb.HEAPU8.slice(at, at + 4 * width * height).buffer;
    say({ width, height, pixels, frame }, [pixels]);
  }

  // Paced by the rate that the script asks for. After a pause play goes on, and nothing is made up for.
  function step() {
    let state;
    try {
      state = orb._orb_frame();
    } catch (problem) { // of the program itself: out of memory, or it has ended
      say({ error: String(problem) });
      return;
    }
    ++frame;
    if (wanted.includes(frame)) sums[frame] = orb.ccall('orb_sum', 'string', ['number'], [0]);
    if (!fast || wanted.includes(frame)) show();
    if (wanted.length && frame === Math.max(...wanted)) { say({ sums }); fast = false; }
    if (state < 0) return fail();
    if (state === 0) return say({ over: true });
    const now = performance.now();
    stamp = Math.max(stamp + 1000 / (orb._orb_rate() || 60), now - 100);
    setTimeout(step, fast ? 0 : Math.max(0, stamp - now));
  }

  async function play({ wasm, files, script, arguments: words, sums: frames, fast: unpaced }) {
    const print = text => say({ print: text });
    orb = await createOrb({ wasmBinary: wasm, print, printErr: print });
    for (const [path, bytes] of files) {
      const folder = path.slice(0, path.lastIndexOf('/'));
      orb.FS.mkdirTree(folder);
      orb.FS.writeFile(path, bytes);
    }
    wanted = frames;
    fast = unpaced;
    if (!orb.ccall('orb_start', 'number', ['string', 'string', 'number'], [script, words.join('\n'), 0]))
      return fail();
    stamp = performance.now();
    step();
  }

  onmessage = ({ data }) => {
    if (data.play) play(data.play).catch(problem => say({ error: String(problem) }));
    else if (!orb) return;
    else if (data.key) orb.ccall('orb_key', 'number', ['string', 'number', 'number'],
      [data.key, data.character, data.down]);
    else if (data.pointer) orb._orb_pointer(data.pointer[0], data.pointer[1]);
    else if (data.button) orb._orb_button(data.button, data.down);
  };
}
