// The program: loaded and compiled once for all players of a page.

const here = document.currentScript ? new URL('.', document.currentScript.src || location.href).href : '';
const fromDisk = location.protocol === 'file:';

// A script of a page, run. The promise fails with words for a user.
function loadScript(name, base) {
  return new Promise((done, failed) => {
    const script = document.createElement('script');
    script.src = (base || here) + name;
    script.onload = done;
    script.onerror = () => failed(new Error(name + " can't be loaded; reload the page"));
    document.head.append(script);
  });
}

function bytesOf(base64) {
  const text = atob(base64), bytes = new Uint8Array(text.length);
  for (let i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);
  return bytes;
}

// A module that uses what the program needs: vectors and exceptions.
const probe = new Uint8Array([0, 97, 115, 109, 1, 0, 0, 0, 1, 5, 1, 96, 0, 1, 123, 3, 2, 1, 0, 10, 14, 1, 12, 0,
  6, 64, 25, 11, 65, 0, 253, 15, 253, 98, 11]);

// '', or why this browser can't play.
function supported() {
  if (typeof WebAssembly === 'undefined' || typeof Worker === 'undefined')
    return "This browser has no WebAssembly, which games need. A present Firefox, Chrome, Edge or Safari plays them.";
  if (!WebAssembly.validate(probe))
    return "This browser is too old to play: it lacks vectors or exceptions in WebAssembly. " +
      'Firefox 100, Chrome 95, Safari 16.4 and all that came after play.';
  return '';
}

async function compile() {
  if (fromDisk || orbPlayer.program) {
    if (!orbPlayer.program) await loadScript('orb.wasm.js');
    const bytes = bytesOf(orbPlayer.program);
    orbPlayer.program = null; // 5 MB
    return WebAssembly.compile(bytes);
  }
  const answer = await fetch(here + 'orb.wasm').catch(() => ({ ok: false }));
  if (!answer.ok) throw new Error("orb.wasm can't be loaded; reload the page");
  // Streams want the right type from the server.
  if (WebAssembly.compileStreaming && /^application\/wasm/.test(answer.headers.get('content-type')))
    return WebAssembly.compileStreaming(answer);
  return WebAssembly.compile(await answer.arrayBuffer());
}

let compiled = null, glue = null, address = '';

// A Promise of [the WebAssembly.Module, the address of the worker's script].
function prepare() {
  compiled = compiled || compile();
  glue = glue || (typeof createOrb !== 'undefined' ? Promise.resolve() : loadScript('orb.js'));
  return Promise.all([compiled, glue]).then(([program]) => {
    const text = 'var _scriptDir;\nconst createOrb = ' + createOrb + ';\n(' + orbWorker + ')();';
    // Kept for all plays: some browsers read it only after `new Worker` has returned.
    address = address || URL.createObjectURL(new Blob([text], { type: 'text/javascript' }));
    return [program, address];
  }).catch(problem => {
    compiled = glue = null;
    throw problem;
  });
}

// A Promise of the examples' files.
async function examples() {
  const files = {};
  if (fromDisk) {
    if (!orbPlayer.exampleContents) await loadScript('examples.data.js');
    for (const [name, contents] of Object.entries(orbPlayer.exampleContents))
      files['/examples/' + name] = bytesOf(contents);
  } else {
    if (!orbPlayer.exampleSizes) await loadScript('examples.js');
    for (const [name, size] of Object.entries(orbPlayer.exampleSizes))
      files['/examples/' + name] = { url: here + 'examples/' + name, size };
  }
  return files;
}
