// Writes data.js: the program and the examples as texts, since a page that was opened from a disk may
// load scripts only. usage: node pack.js ORB.WASM EXAMPLES-FOLDER DATA.JS
const fs = require('fs');
const path = require('path');

const [wasm, examples, to] = process.argv.slice(2);
const files = {};
function add(folder) {
  for (const entry of fs.readdirSync(path.join(examples, folder), { withFileTypes: true })) {
    const name = path.posix.join(folder, entry.name);
    if (entry.isDirectory()) add(name);
    else if (!/\.(py|c|txt|md)$/.test(name)) files[name] = fs.readFileSync(path.join(examples, name)).toString('base64');
  }
}
add('');
// An example that starts is named after its folder, or main.lua.
const scripts = Object.keys(files).filter(name => {
  const parts = name.split('/');
  return parts.length === 2 && (parts[1].startsWith(parts[0] + '_') || parts[1] === 'main.lua');
}).filter(name => name.endsWith('.lua')).sort();
const data = { wasm: fs.readFileSync(wasm).toString('base64'), files, scripts };
fs.writeFileSync(to, 'const orbData = ' + JSON.stringify(data) + ';\n');
