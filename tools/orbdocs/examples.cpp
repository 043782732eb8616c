#include "tools/orbdocs/examples.h"

#include "host/host.h"
#include "host/screenshot.h"
#include "host/script.h"

#include <fstream>

namespace orbdocs {

std::string example_name(const orbhost::ReferenceEntry &entry, std::size_t number) {
  std::string name = entry.names[0];
  for (char &c : name)
    if (c == ' ' || c == '/') c = '_';
  return number == 0 ? name : name + "_" + std::to_string(number + 1);
}

std::vector<std::string> play_examples(const orbhost::ReferenceFamily &family,
                                       const orbhost::ReferenceEntry &entry,
                                       const std::string &module,
                                       const std::filesystem::path &folder) {
  constexpr int most_frames = 50;
  std::vector<std::string> found;
  for (std::size_t i = 0; i < entry.examples.size(); ++i) {
    const std::string file = (folder / example_name(entry, i)).string();
    std::ofstream(file + ".lua") << entry.examples[i];
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
      found.push_back(family.file + ":" + std::to_string(entry.line) + ": " + error.what());
    }
  }
  return found;
}

} // namespace orbdocs
