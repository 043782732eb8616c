// orbdocs: what is made from the reference, and whether it is true.
#include "host/host.h"
#include "host/module_file.h"
#include "tools/orbdocs/check.h"
#include "tools/orbdocs/examples.h"
#include "tools/orbdocs/manual.h"
#include "tools/orbdocs/site.h"
#include "tools/orbdocs/types.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

namespace fs = std::filesystem;

struct CommandLine {
  std::string source, module, out, entry, play;
};

void write(const fs::path &file, const std::string &text) {
  fs::create_directories(file.parent_path());
  std::ofstream out(file);
  out << text;
  out.close();
  if (!out) throw orbhost::ReferenceError(file.string() + " can't be written");
}

std::string read(const fs::path &file) {
  std::ifstream in(file);
  if (!in) throw orbhost::ReferenceError(file.string() + " can't be read");
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// The families of a folder, in the order of its contents.txt.
orbhost::Reference read_reference(const fs::path &folder) {
  std::vector<orbhost::ReferenceFamily> families;
  std::ifstream contents(folder / "contents.txt");
  if (!contents)
    throw orbhost::ReferenceError((folder / "contents.txt").string() + " can't be read");
  for (std::string name; std::getline(contents, name);) {
    if (name.empty() || name[0] == '#') continue;
    families.push_back(orbhost::parse_reference(name + ".md", read(folder / (name + ".md"))));
  }
  return orbhost::Reference(std::move(families));
}

int report(const std::vector<std::string> &found) {
  for (const std::string &line : found)
    std::printf("%s\n", line.c_str());
  return found.empty() ? 0 : 1;
}

int check(const CommandLine &line) {
  return report(orbdocs::check_reference(read_reference(line.source), line.module));
}

// The examples' scripts and pictures.
std::vector<std::string> play_into(const orbhost::Reference &reference, const CommandLine &line,
                                   const fs::path &folder) {
  fs::create_directories(folder);
  std::error_code already;
  fs::create_directory_symlink(fs::absolute(line.source).parent_path() / "examples" / "assets",
                               folder / "assets", already);
  std::vector<std::string> found;
  for (const orbhost::ReferenceFamily &family : reference.families())
    for (const orbdocs::Example &example : orbdocs::examples_of(family)) {
      if (!line.entry.empty() && example.name != line.entry && family.file != line.entry + ".md")
        continue;
      const std::string wrong = orbdocs::play_example(example, line.module, folder);
      if (!wrong.empty())
        found.push_back(family.file + ":" + std::to_string(example.line) + ": " + wrong);
    }
  return found;
}

int play(const CommandLine &line) {
  return report(play_into(read_reference(line.source), line, fs::absolute(line.out)));
}

// The site in a folder of its own, with what is wrong with it.
std::vector<std::string> site_into(const orbhost::Reference &reference, const CommandLine &line,
                                   const fs::path &site) {
  std::vector<std::string> found = play_into(reference, line, site / "made");
  const fs::path play = line.play.empty() ? fs::path() : fs::absolute(line.play);
  const std::vector<std::string> more =
      orbdocs::make_site(reference, fs::absolute(line.source).parent_path(), site, play);
  found.insert(found.end(), more.begin(), more.end());
  fs::remove_all(site / "made");
  return found;
}

int make_site(const CommandLine &line) {
  const fs::path site = fs::absolute(line.out);
  if (fs::exists(site) && !fs::is_empty(site) && !fs::exists(site / "search_index.js"))
    throw orbhost::ReferenceError(site.string() +
                                  " is in the way, and no site: name another folder");
  fs::remove_all(site);
  return report(site_into(read_reference(line.source), line, site));
}

// The site, the manual pages and the editor's types, in folders of their own.
int make_all(const CommandLine &line) {
  const orbhost::Reference reference = read_reference(line.source);
  const fs::path root = fs::absolute(line.source).parent_path(), out = fs::absolute(line.out);
  std::vector<std::string> found = orbdocs::check_reference(reference, line.module);
  const auto add = [&](const std::vector<std::string> &more) {
    found.insert(found.end(), more.begin(), more.end());
  };
  fs::remove_all(out / "site");
  add(site_into(reference, line, out / "site"));
  for (const std::string program : {"orbplay", "orbgfx"})
    write(out / "man" / (program + ".1"),
          orbdocs::manual_page(read(root / "docs" / (program + ".md"))));
  orbhost::Host host;
  host.load(line.module);
  const std::string types = orbdocs::editor_types(reference, host);
  write(out / "types/orb.lua", types);
  if (const std::string mistake = orbdocs::mistake_in(types); !mistake.empty()) add({mistake});
  return report(found);
}

} // namespace

int main(int argc, char **argv) {
  CommandLine line;
  CLI::App app{"Checks the reference, and makes what is read of it.", "orbdocs"};
  app.require_subcommand(1);
  app.add_option("--source", line.source, "the folder reference/")->required();
  app.add_option("--module", line.module, "the module's file");
  app.add_subcommand("check", "hold the reference against the module and the player");
  CLI::App *examples = app.add_subcommand("examples", "play the examples and keep their pictures");
  examples->add_option("out", line.out, "folder for scripts and pictures")->required();
  examples->add_option("entry", line.entry, "only this one, or those of this family");
  CLI::App *all = app.add_subcommand("all", "check, play the examples, and make all that is read");
  all->add_option("out", line.out, "folder for site/, man/ and types/")->required();
  CLI::App *site = app.add_subcommand("site", "play the examples, and make the site");
  site->add_option("out", line.out, "folder for it, which is replaced")->required();
  for (CLI::App *made : {all, site})
    made->add_option("--play", line.play, "the player for pages, for a site whose examples play")
        ->check(CLI::ExistingDirectory);
  CLI11_PARSE(app, argc, argv);
  try {
    if (line.module.empty()) line.module = orbhost::find_module(argc > 0 ? argv[0] : "");
    if (app.got_subcommand("check")) return check(line);
    if (app.got_subcommand("site")) return make_site(line);
    return app.got_subcommand("all") ? make_all(line) : play(line);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "orbdocs: %s\n", error.what());
    return 2;
  }
}
