// Search as you type. "/" goes to the field; up, down and enter choose; escape leaves.
const field = document.getElementById("search"), list = document.getElementById("found");
let chosen = 0;

// How well an entry fits a word: as its name best, as a keyword next, then within its name, its keywords
// and its purpose, in other text least; 0: not.
function score([name, purpose, words, , keywords = ""], word) {
  const begins = new RegExp("\\b" + word.replace(/\W/g, "\\$&"));
  name = name.toLowerCase();
  if (name === word) return 100;
  if (keywords.split(", ").includes(word)) return 70;
  if (name.startsWith(word)) return 60;
  if (name.includes(word)) return 40;
  if (begins.test(keywords)) return 30;
  const text = purpose.toLowerCase();
  if (begins.test(text)) return 20;
  if (text.includes(word)) return 10;
  return words.toLowerCase().includes(word) ? 5 : 0;
}

function find(text) {
  const wanted = text.toLowerCase().split(/\s+/).filter(Boolean);
  if (!wanted.length) return [];
  return search_index
    .map((entry, place) => {
      const scores = wanted.map(word => score(entry, word));
      return { entry, place, score: scores.includes(0) ? 0 : scores.reduce((a, b) => a + b) };
    })
    .filter(hit => hit.score > 0)
    .sort((a, b) => b.score - a.score || a.entry[0].length - b.entry[0].length || a.place - b.place)
    .slice(0, 30);
}

function choose(number) {
  const links = list.querySelectorAll("a");
  if (!links.length) return;
  chosen = (number + links.length) % links.length;
  links.forEach((link, i) => link.classList.toggle("chosen", i === chosen));
  links[chosen].scrollIntoView({ block: "nearest" });
}

function show() {
  list.replaceChildren(...find(field.value).map(({ entry: [name, purpose, , where] }) => {
    const row = document.createElement("li"), link = row.appendChild(document.createElement("a"));
    link.href = site_root + where;
    link.append(name);
    link.appendChild(document.createElement("span")).textContent = purpose.replaceAll("`", "");
    return row;
  }));
  if (!list.children.length && field.value.trim()) {
    const row = list.appendChild(document.createElement("li"));
    row.className = "none";
    row.textContent = "Nothing found. Try a single word, or look at the families of the reference.";
  }
  list.hidden = !list.children.length;
  choose(0);
}

field.addEventListener("input", show);
field.addEventListener("keydown", event => {
  if (event.key === "ArrowDown") choose(chosen + 1);
  else if (event.key === "ArrowUp") choose(chosen - 1);
  else if (event.key === "Enter") list.querySelector("a.chosen")?.click();
  else if (event.key === "Escape") { field.value = ""; show(); field.blur(); }
  else return;
  event.preventDefault();
});
document.addEventListener("keydown", event => {
  if (event.key !== "/" || event.defaultPrevented || event.target.closest("input, textarea, canvas")) return;
  field.focus();
  event.preventDefault();
});
// A click on a result or beside the list closes it; the field opens it again.
document.addEventListener("click", event => { if (event.target !== field) list.hidden = true; });
field.addEventListener("focus", () => { if (field.value) show(); });

// index.html?q=WORDS begins with a search.
field.value = new URLSearchParams(location.search).get("q") ?? "";
if (field.value) show();
