#include "tools/orbdocs/site.h"

#include "tools/orbdocs/examples.h"
#include "tools/orbdocs/markdown.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace orbdocs {
namespace {

namespace fs = std::filesystem;

std::string read(const fs::path &file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) throw orbhost::ReferenceError(file.string() + " can't be read");
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void replace_all(std::string &text, std::string_view from, const std::string &to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.replace(at, from.size(), to);
}

// A text of Markdown without its title, which is the first line.
std::pair<std::string, std::string> split_title(const std::string &markdown) {
  const std::size_t end = std::min(markdown.find('\n'), markdown.size());
  return {markdown.substr(std::min<std::size_t>(2, end), end - std::min<std::size_t>(2, end)),
          markdown.substr(end)};
}

std::string json(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c == '\n' ? ' ' : c;
  }
  return result + "\"";
}

// The attributes src, width and height of a PNG file's picture, so that its place is there before
// it is. A small picture is shown at twice its size.
std::string source_of(const fs::path &png, const std::string &address) {
  const std::string head = read(png).substr(0, 24);
  const auto number = [&](std::size_t at) {
    unsigned value = 0;
    for (std::size_t i = at; i < at + 4 && i < head.size(); ++i)
      value = value << 8 | static_cast<unsigned char>(head[i]);
    return value;
  };
  const unsigned scale = number(16) < 200 ? 2 : 1;
  return "src=\"" + address + "\" width=" + std::to_string(scale * number(16)) +
         " height=" + std::to_string(scale * number(20));
}

// An example of the gallery: "NAME PICTURE" in examples/gallery.txt.
struct Shown {
  fs::path script, picture;
  std::string name, title, text, source;
};

// The comment that a script begins with: its first sentence, and the rest as Markdown.
void read_script(Shown &shown) {
  shown.source = read(shown.script);
  std::istringstream lines(shown.source);
  bool in_title = true;
  for (std::string line; std::getline(lines, line) && line.starts_with("--");) {
    const std::string words = line.substr(std::min<std::size_t>(3, line.size()));
    if (words.empty()) in_title = false;
    if (in_title)
      shown.title += (shown.title.empty() ? "" : " ") + words;
    else
      shown.text += (words.starts_with("  ") ? "  " : "") + words + "\n";
  }
}

class Site {
public:
  Site(const orbhost::Reference &reference, fs::path root, fs::path out, fs::path play)
      : reference_(reference), root_(std::move(root)), out_(std::move(out)), play_(std::move(play)),
        frame_(read(root_ / "tools/orbdocs/theme/page.html")) {}

  std::vector<std::string> make() {
    for (const char *folder : {"reference", "guides", "examples", "pictures"})
      fs::create_directories(out_ / folder);
    for (const char *file : {"style.css", "site.js"})
      copy(theme(file), out_ / file);
    copy(root_ / "share/orb.png", out_ / "orb.png");
    if (live()) {
      for (const char *file : {"live.css", "live.js"})
        copy(theme(file), out_ / file);
      fs::copy(play_, out_ / "play", fs::copy_options::recursive);
    }
    read_gallery();
    read_guides();
    for (const orbhost::ReferenceFamily &family : reference_.families())
      family_page(family);
    contents_page();
    for (const Guide &guide : guides_)
      guide_page(guide);
    for (const Shown &shown : gallery_)
      example_page(shown);
    start_page();
    if (live()) own_game_page();
    for (const auto &[name, script] : scripts_)
      example_page(script);
    std::ofstream(out_ / "search_index.js") << "const search_index = [\n" << index_ << "];\n";
    check_links();
    return std::move(found_);
  }

private:
  struct Guide {
    std::string name, title, text;
  };

  bool live() const { return !play_.empty(); }
  fs::path theme(const char *file) const { return root_ / "tools/orbdocs/theme" / file; }

  void copy(const fs::path &from, const fs::path &to) {
    std::error_code error;
    fs::copy_file(from, to, fs::copy_options::overwrite_existing, error);
    if (error) found_.push_back(from.string() + ": " + error.message());
  }

  void read_gallery() {
    std::istringstream lines(read(root_ / "examples/gallery.txt"));
    for (std::string line; std::getline(lines, line);) {
      if (line.empty() || line[0] == '#') continue;
      std::istringstream words(line);
      Shown shown;
      std::string script, picture;
      words >> script >> picture;
      shown.script = root_ / "examples" / script;
      shown.name = shown.script.stem().string();
      shown.picture = root_ / picture;
      read_script(shown);
      copy(shown.picture, out_ / "pictures" / (shown.name + ".png"));
      gallery_.push_back(std::move(shown));
    }
  }

  void read_guides() {
    std::istringstream lines(read(root_ / "docs/guides/contents.txt"));
    for (std::string line; std::getline(lines, line);) {
      if (line.empty() || line[0] == '#') continue;
      const fs::path file = root_ / "docs" / line;
      const auto [title, text] = split_title(read(file));
      guides_.push_back({file.stem().string(), title, text});
    }
  }

  // Of a page in a folder beside the others, or with an empty `up` of the start page.
  MarkdownLinks links(const std::string &up) {
    return {[this, up](std::string_view name) {
              // What a form or a call names is its function.
              const orbhost::ReferencePlace *place =
                  reference_.find(name.substr(0, std::min(name.find('('), name.size())));
              return place ? up + address(*place, name.substr(0, name.find('('))) : "";
            },
            [this, up](std::string_view to) { return target(std::string(to), up); }};
  }

  static std::string page_of(const orbhost::ReferenceFamily &family) {
    return "reference/" + fs::path(family.file).stem().string() + ".html";
  }

  static std::string address(const orbhost::ReferencePlace &place, std::string_view name) {
    return page_of(*place.family) + "#" + id_of(name);
  }

  // Addresses in texts are those of the tree: of Markdown files, scripts and pictures.
  std::string target(std::string to, const std::string &up) {
    if (to.find("://") != std::string::npos || to.starts_with('#')) return to;
    const std::string fragment = to.find('#') == std::string::npos ? "" : to.substr(to.find('#'));
    to = to.substr(0, to.find('#'));
    const std::string name = fs::path(to).stem().string(), kind = fs::path(to).extension().string();
    if (kind == ".png") {
      for (const char *folder : {"docs/pictures", "docs/guides/pictures"})
        if (const fs::path picture = root_ / folder / (name + kind); fs::exists(picture))
          copy(picture, out_ / "pictures" / (name + kind));
      return up + "pictures/" + name + kind;
    }
    if (kind == ".lua") {
      add_script(to, name);
      return up + "examples/" + name + ".html" + fragment;
    }
    for (const Guide &guide : guides_)
      if (kind == ".md" && guide.name == name) return up + "guides/" + name + ".html" + fragment;
    if (kind == ".md" && fs::exists(root_ / "reference" / (name + kind)))
      return up + "reference/" + name + ".html" + fragment;
    // Any other file comes along as it is.
    if (const fs::path file = root_ / without_parents(to); fs::is_regular_file(file)) {
      copy(file, out_ / "examples" / file.filename());
      return up + "examples/" + file.filename().string();
    }
    found_.push_back(to + ": a link leads there, and no page is made of it");
    return to;
  }

  // "../../examples/x.lua" is below the root, wherever the text is.
  static std::string without_parents(std::string path) {
    while (path.starts_with("../"))
      path.erase(0, 3);
    return path;
  }

  // A script that a text links to and the gallery doesn't show gets a page of its own.
  void add_script(const std::string &to, const std::string &name) {
    const std::string path = without_parents(to);
    const bool shown =
        std::ranges::any_of(gallery_, [&](const Shown &s) { return s.name == name; });
    if (shown || !fs::exists(root_ / path)) return;
    Shown script;
    script.script = root_ / path;
    script.name = name;
    read_script(script);
    scripts_[name] = std::move(script);
  }

  // A wide page has its menus above, folded.
  void write_page(const std::string &file, const std::string &title, const std::string &body,
                  const std::string &side = "", bool wide = false) {
    const std::string up = file.find('/') == std::string::npos ? "" : "../";
    std::string page = frame_;
    const auto when_live = [this](const char *html) { return live() ? html : ""; };
    replace_all(page, "@style@",
                when_live("<link rel=\"stylesheet\" href=\"@up@play/player.css\">\n"
                          "<link rel=\"stylesheet\" href=\"@up@live.css\">\n"));
    replace_all(page, "@own_game@",
                when_live("<p><a href=\"@up@play.html\">Play your own game</a></p>\n"));
    replace_all(page, "@scripts@",
                when_live("<script src=\"@up@play/player.js\" defer></script>\n"
                          "<script src=\"@up@live.js\" defer></script>\n"));
    replace_all(page, "@body_class@", wide ? "<body class=wide>\n" : "");
    replace_all(page, "@open@", wide ? "" : " open");
    std::string menu;
    for (const Guide &guide : guides_)
      menu += "<li><a href=\"" + up + "guides/" + guide.name + ".html\">" + escaped(guide.title) +
              "</a></li>\n";
    std::string families;
    for (const orbhost::ReferenceFamily &family : reference_.families())
      families +=
          "<li><a href=\"" + up + page_of(family) + "\">" + escaped(family.title) + "</a></li>\n";
    replace_all(page, "@guides@", menu);
    replace_all(page, "@families@", families);
    replace_all(page, "@title@", escaped(title));
    replace_all(page, "@side@", side);
    replace_all(page, "@up@", up);
    replace_all(page, "@body@", body); // last: what it says stays as it is
    constexpr std::size_t most = 300'000;
    if (page.size() > most) found_.push_back(file + ": a page of " + std::to_string(page.size()));
    std::ofstream(out_ / file) << page;
    pages_[file] = page;
  }

  // `words` are found too, though a search prefers the others.
  void add_to_index(const std::string &name, const std::string &purpose, const std::string &words,
                    const std::string &where, const std::string &keywords = "") {
    index_ += "[" + json(name) + "," + json(purpose) + "," + json(words) + "," + json(where) +
              (keywords.empty() ? "" : "," + json(keywords)) + "],\n";
  }

  // A text as HTML; after each example that has a picture the picture. The entry's own names, its
  // parameters and results aren't links.
  std::string with_pictures(const std::string &text, const std::vector<Example> &examples,
                            const std::set<std::string> &own = {}) {
    MarkdownLinks to = links("../");
    const link_of all = to.name;
    to.name = [&](std::string_view name) { return own.count(std::string(name)) ? "" : all(name); };
    std::string html = html_of(text, to);
    for (const Example &example : examples) {
      const std::string code = highlighted(*example.text, to.name) + "</code></pre>";
      const std::size_t at = html.find(code);
      if (at == std::string::npos) continue;
      const std::string picture = "pictures/" + example.name + ".png";
      copy(out_ / "made" / (example.name + ".png"), out_ / picture);
      const std::string shot = "<img class=shot alt=\"What this draws\" " +
                               source_of(out_ / picture, "../" + picture) + ">";
      html.insert(at + code.size(),
                  live() ? "<div class=bar></div><div class=place>" + shot + "</div></div>" : shot);
      if (live())
        html.insert(html.rfind("<pre", at),
                    "<div class=live data-script=\"/examples/reference.lua\""
                    " data-name=\"" +
                        example.name + "\">");
    }
    return html;
  }

  static std::set<std::string> own_names(const orbhost::ReferenceEntry &entry) {
    std::set<std::string> names;
    for (const orbhost::ReferenceForm &form : entry.forms) {
      names.insert(form.parameters.begin(), form.parameters.end());
      names.insert(form.results.begin(), form.results.end());
    }
    names.insert(entry.names.begin(), entry.names.end()); // the page of those is open
    return names;
  }

  void family_page(const orbhost::ReferenceFamily &family) {
    const std::string page = page_of(family);
    std::string body = "<h1>" + escaped(family.title) + "</h1>\n" +
                       with_pictures(family.introduction, examples_of(family));
    std::string side;
    add_to_index(family.title, "Family", "", page);
    for (const orbhost::ReferenceEntry &entry : family.entries) {
      std::string anchors, title;
      std::set<std::string> ids;
      const auto anchor = [&](const std::string &name) {
        if (ids.insert(id_of(name)).second) anchors += "<a id=\"" + id_of(name) + "\"></a>";
      };
      for (const std::string &name : entry.names) {
        anchor(name);
        title += (title.empty() ? "" : ", ") + name;
        add_to_index(name, entry.purpose, "", page + "#" + id_of(name), keywords_of(entry, name));
      }
      for (const std::string &alias : entry.aliases) {
        anchor(alias);
        add_to_index(alias, "The same as " + entry.names[0], "", page + "#" + id_of(alias));
      }
      for (const orbhost::ReferenceItem &item : entry.definitions)
        for (const std::string &name : item.names) {
          anchor(name);
          add_to_index(name, item.text, entry.names[0], page + "#" + id_of(name),
                       keywords_of(entry, name));
        }
      body += "<section>" + anchors + "<h2>" + escaped(title) + "</h2>\n" +
              with_pictures(entry.text, examples_of(family), own_names(entry)) + "</section>\n";
      side += "<li><a href=\"#" + id_of(entry.names[0]) + "\">" + escaped(title) + "</a></li>\n";
    }
    write_page(page, family.title, body, side);
  }

  void contents_page() {
    std::string body = "<h1>Reference</h1>\n";
    for (const orbhost::ReferenceFamily &family : reference_.families()) {
      body += "<h2><a href=\"../" + page_of(family) + "\">" + escaped(family.title) +
              "</a></h2>\n<dl>\n";
      for (const orbhost::ReferenceEntry &entry : family.entries) {
        std::string names;
        for (const std::string &name : entry.names)
          names += (names.empty() ? "" : ", ") + name;
        body += "<dt><a href=\"../" + page_of(family) + "#" + id_of(entry.names[0]) + "\">" +
                escaped(names) + "</a></dt><dd>" + html_of(entry.purpose, links("../")) + "</dd>\n";
      }
      body += "</dl>\n";
    }
    write_page("reference/index.html", "Reference", body);
  }

  // Links to the second-level headings of a text, each of which has an anchor before it.
  static std::string headings_of(const std::string &html) {
    constexpr std::string_view id = "<a id=\"", heading = "\"></a>\n<h2>", end = "</h2>";
    std::string side;
    for (std::size_t at = 0; (at = html.find(heading, at)) != std::string::npos; ++at) {
      const std::size_t from = html.rfind(id, at) + id.size(), title = at + heading.size();
      side += "<li><a href=\"#" + html.substr(from, at - from) + "\">" +
              html.substr(title, html.find(end, title) - title) + "</a></li>\n";
    }
    return side;
  }

  void guide_page(const Guide &guide) {
    const std::string page = "guides/" + guide.name + ".html";
    add_to_index(guide.title, "Guide", guide.text, page);
    const std::string text = html_of(guide.text, links("../"));
    write_page(page, guide.title, "<h1>" + escaped(guide.title) + "</h1>\n" + text,
               headings_of(text));
  }

  // The scripts that a script requires, from its folder or from lib, and those that they require.
  void add_required(const std::string &source, const fs::path &folder,
                    std::vector<fs::path> &found) const {
    static const std::regex require("\\brequire[ (]*\"(\\w+)\"");
    for (std::sregex_iterator at(source.begin(), source.end(), require), end; at != end; ++at)
      for (const fs::path &place : {folder, root_ / "examples/lib"}) {
        const fs::path file = place / (at->str(1) + ".lua");
        if (!fs::exists(file)) continue;
        if (std::ranges::find(found, file) == found.end()) {
          found.push_back(file);
          add_required(read(file), place, found);
        }
        break;
      }
  }

  // A script's path for the player for pages.
  std::string path_of(const fs::path &script) const {
    return "/" + escaped(fs::relative(script, root_).string());
  }

  std::string code_of(const fs::path &script, const std::string &source) {
    return "<pre class=lua data-path=\"" + path_of(script) + "\"><code>" +
           highlighted(source, links("../").name) + "</code></pre>\n";
  }

  void example_page(const Shown &shown) {
    const std::string page = "examples/" + shown.name + ".html", picture = "pictures/" + shown.name;
    const bool plays =
        shown.script.parent_path().filename() != "lib"; // which is for others to require
    const std::string head =
        "<h1>" + escaped(shown.name) + "</h1>\n<p>" + escaped(shown.title) + "</p>\n";
    const std::string shot = shown.picture.empty()
                                 ? ""
                                 : "<img class=shot alt=\"\" " +
                                       source_of(shown.picture, "../" + picture + ".png") + ">\n";
    std::string words = html_of(shown.text, links("../")),
                code = code_of(shown.script, shown.source);
    if (plays)
      words += "<pre><code>./orb play " + escaped(fs::relative(shown.script, root_).string()) +
               "</code></pre>\n";
    add_to_index(shown.name, shown.title, shown.text, page);
    if (!live() || !plays) return write_page(page, shown.name, head + shot + words + code);

    std::vector<fs::path> others;
    add_required(shown.source, shown.script.parent_path(), others);
    std::stable_partition(others.begin(), others.end(), [&](const fs::path &file) { // its own first
      return file.parent_path() == shown.script.parent_path();
    });
    for (const fs::path &other : others)
      code += "<details><summary>" + escaped(other.filename().string()) + "</summary>" +
              code_of(other, read(other)) + "</details>\n";
    write_page(page, shown.name,
               head + "<div class=\"live bench\" data-script=\"" + path_of(shown.script) +
                   "\" data-name=\"" + escaped(shown.name) +
                   "\">\n<div class=shown><div class=place>" + shot +
                   "</div></div>\n<div class=source>\n<div class=bar></div>\n" + code +
                   "</div>\n<div class=words>\n" + words + "</div>\n</div>\n",
               "", true);
  }

  // The start page's example plays in the place of the picture above it.
  void bring_to_life(std::string &start) {
    const std::string_view paragraph = "<p><img ", code = "</code></pre>";
    const std::size_t from = start.find(paragraph), end = start.find("</p>", from),
                      last = start.find(code, end);
    if (last == std::string::npos) {
      found_.push_back("docs/guides/start.md: it has no picture with an example below");
      return;
    }
    const std::string image = start.substr(from, end - from);
    const auto value = [&](std::string_view attribute) {
      const std::size_t at = image.find(attribute) + attribute.size();
      return image.substr(at, image.find('"', at) - at);
    };
    const std::string picture = value("src=\"");
    start.insert(last + code.size(), "</div>");
    start.replace(from, end + 4 - from,
                  "<div class=live data-script=\"/examples/basics/hello.lua\" data-name=hello>"
                  "<div class=place><img class=shot alt=\"" +
                      value("alt=\"") + "\" " + source_of(out_ / picture, picture) +
                      "></div><div class=bar></div>");
  }

  void start_page() {
    std::string body = html_of(read(root_ / "docs/guides/start.md"), links(""));
    if (live()) bring_to_life(body);
    std::string cards;
    for (const Shown &shown : gallery_) {
      const std::string picture = "pictures/" + shown.name + ".png";
      cards += "<a class=card href=\"examples/" + shown.name +
               ".html\"><img loading=lazy alt=\"\" " + source_of(shown.picture, picture) + "><b>" +
               escaped(shown.name) + "</b> " + escaped(shown.title) + "</a>\n";
    }
    const std::string live_words = "<p>Each plays on its page, beside its source, which you can "
                                   "change and run again. You can also "
                                   "<a href=\"play.html\">play a game of your own</a>.</p>\n";
    write_page("index.html", "ORB graphics2D",
               body + "<h2 id=\"examples\">Examples</h2>\n" + (live() ? live_words : "") +
                   "<div class=cards>\n" + cards + "</div>\n");
  }

  void own_game_page() {
    add_to_index("Play your own game", "A folder or a zip file, played on a page", "", "play.html");
    write_page("play.html", "Play your own game", read(theme("play.html")), "", true);
  }

  // Every href and src of the pages leads to a file and, where it names one, an id.
  void check_links() {
    for (const auto &[file, page] : pages_)
      for (const std::string_view attribute : {"href=\"", "src=\""})
        for (std::size_t at = page.find(attribute); at != std::string::npos;
             at = page.find(attribute, at + 1)) {
          const std::size_t from = at + attribute.size();
          check_link(file, page.substr(from, page.find('"', from) - from));
        }
  }

  void check_link(const std::string &file, const std::string &to) {
    if (to.find("://") != std::string::npos) return;
    const std::size_t hash = std::min(to.find('#'), to.size());
    const fs::path path =
        hash == 0 ? fs::path(file)
                  : (fs::path(file).parent_path() / to.substr(0, hash)).lexically_normal();
    const auto page = pages_.find(path.string());
    if (page == pages_.end() ? !fs::exists(out_ / path)
                             : hash < to.size() && page->second.find("id=\"" + to.substr(hash + 1) +
                                                                     "\"") == std::string::npos)
      found_.push_back(file + ": the link to " + to + " leads nowhere");
  }

  const orbhost::Reference &reference_;
  const fs::path root_, out_, play_;
  const std::string frame_;
  std::vector<Shown> gallery_;
  std::vector<Guide> guides_;
  std::map<std::string, Shown> scripts_; // that texts link to
  std::map<std::string, std::string> pages_;
  std::string index_;
  std::vector<std::string> found_;
};

} // namespace

std::vector<std::string> make_site(const orbhost::Reference &reference, const fs::path &root,
                                   const fs::path &out, const fs::path &play) {
  return Site(reference, root, out, play).make();
}

} // namespace orbdocs
