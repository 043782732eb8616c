// Makes the folder that pages load the player from.
// usage: node assemble.js SOURCE-TREE ORB.JS FOLDER-OF-LICENCES OUT
//
// What is there twice, as it is and as a script, is so for pages that were opened from a disk: they
// may load scripts only.
const fs = require('fs');
const path = require('path');

const [root, orb, licences, out] = process.argv.slice(2);
const web = path.join(root, 'web'), examples = path.join(root, 'examples');
const parts = ['program.js', 'worker.js', 'sound.js', 'saves.js', 'hands.js', 'player.js'];

const write = (name, contents) => {
  fs.mkdirSync(path.dirname(path.join(out, name)), { recursive: true });
  fs.writeFileSync(path.join(out, name), contents);
};
const base64 = file => fs.readFileSync(file).toString('base64');

fs.rmSync(out, { recursive: true, force: true });
write('player.js', "(() => {\n'use strict';\n\n" +
  parts.map(part => fs.readFileSync(path.join(web, part), 'utf8')).join('\n') + '})();\n');
for (const name of ['player.css', 'packed.html'])
  if (fs.existsSync(path.join(web, name))) write(name, fs.readFileSync(path.join(web, name)));
const wasm = orb.replace(/\.js$/, '.wasm');
write('orb.js', fs.readFileSync(orb));
write('orb.wasm', fs.readFileSync(wasm));
write('orb.wasm.js', 'orbPlayer.program = "' + base64(wasm) + '";\n');

// The licences of all that is in the program, with those of Debian's that they name by their paths.
const texts = [['orb graphics2D', path.join(root, 'LICENSE')],
  ...fs.readdirSync(licences).filter(name => name !== 'googletest').map(name => [name, path.join(licences, name)]),
  ["Emscripten's runtime and libraries", '/usr/share/doc/emscripten/copyright']]
  .filter(([, file]) => fs.existsSync(file)).map(([name, file]) => [name, fs.readFileSync(file, 'utf8')]);
const named = texts.map(([, text]) => text).join().match(/\/usr\/share\/common-licenses\/[\w.-]*\w/g) || [];
for (const file of [...new Set(named)].sort())
  if (fs.existsSync(file)) texts.push([file, fs.readFileSync(file, 'utf8')]);
write('licences.txt', texts.map(([name, text]) => '==== ' + name + ' ====\n\n' + text.trim() + '\n').join('\n\n'));

// The files that examples use: no programs that made them, and no hidden ones.
const sizes = {}, contents = {};
function add(folder) {
  for (const entry of fs.readdirSync(path.join(examples, folder), { withFileTypes: true })) {
    const name = path.posix.join(folder, entry.name), file = path.join(examples, name);
    if (entry.name.startsWith('.') || /\.(py|c|txt|md)$/.test(name)) continue;
    if (entry.isDirectory()) {
      add(name);
      continue;
    }
    write('examples/' + name, fs.readFileSync(file));
    sizes[name] = fs.statSync(file).size;
    contents[name] = base64(file);
  }
}
add('');
write('examples.js', 'orbPlayer.exampleSizes = ' + JSON.stringify(sizes, null, 1) + ';\n');
write('examples.data.js', 'orbPlayer.exampleContents = ' + JSON.stringify(contents) + ';\n');
