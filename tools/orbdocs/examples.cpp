#include "tools/orbdocs/examples.h"

#include "host/host.h"
#include "host/screenshot.h"
#include "host/script.h"

#include <algorithm>
#include <fstream>

namespace orbdocs {

std::vector<Example> examples_of(const orbhost::ReferenceFamily &family) {
  std::vector<Example> found;
  const auto add = [&](std::string name, const std::vector<std::string> &texts, std::size_t line) {
    std::ranges::replace(name, ' ', '_');
    for (std::size_t i = 0; i < texts.size(); ++i)
      found.push_back({i == 0 ? name : name + "_" + std::to_string(i + 1), &texts[i], line});
  };
  add("family_" + std::filesystem::path(family.file).stem().string(), family.examples, 1);
  for (const orbhost::ReferenceEntry &entry : family.entries)
    add(entry.names[0], entry.examples, entry.line);
  return found;
}

std::string play_example(const Example &example, const std::string &module,
                         const std::filesystem::path &folder) {
  constexpr int most_frames = 50;
  const std::string file = (folder / example.name).string();
  std::ofstream(file + ".lua") << *example.text;
  try {
    orbhost::Host host;
    host.load(module);
    orbhost::ScriptOptions options;
    options.strict = true;
    orbhost::Script script(host, options);
    script.load_file(file + ".lua");
    host.init();
    for (int frame = 1; script.frame() && frame < most_frames; ++frame) {
    }
    orbhost::save_png(orbhost::take_picture(host), file + ".png");
  } catch (const std::exception &error) {
    return error.what();
  }
  return {};
}

} // namespace orbdocs
