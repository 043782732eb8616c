// The site in a browser: searches find entries by name and by purpose, and no script of the pages fails.
// usage: node search.js SITE-FOLDER
const path = require('path');
const { pathToFileURL } = require('url');
const { run, check } = require('./browser.js');

const site = pathToFileURL(path.resolve(process.argv[2])).href + '/';

run(async page => {
  for (const [asked, found] of [
    ['map_xput', 'reference/drawing.html#map_xput'],
    ['collis', 'reference/collision.html'],
    ['touches+pixel', 'reference/collision.html#collision'],
    ['put', 'reference/ground.html#put'], // an alias
    ['fps', 'reference/globals.html#fps'],
    ['rotate', 'reference/processes.html#angle'], // keywords, which no text has
    ['fade+to+black', 'reference/fades.html#screen_fade'],
    ['first+game', 'guides/first_game.html'],
  ]) {
    await page.open(site + 'index.html?q=' + asked);
    await page.until('location.search === ' + JSON.stringify('?q=' + asked) + ' && document.querySelector("#found a")');
    check(await page.value('document.querySelector("#found a").getAttribute("href")'), found, asked);
  }
  for (const each of ['reference/effects.html', 'guides/first_game.html', 'examples/games_meteors.html']) {
    await page.open(site + each);
    await page.until('location.href.endsWith(' + JSON.stringify(each) + ')');
  }
  check(page.complaints.join('\n'), '', 'the console says');
});
