// The module, which this program loads from a file.
#include "host/module_file.h"
#include "host/player/session.h"

namespace orbplay {

void attach_module(orbhost::Host &host, const Settings &settings) {
  std::string path = settings.module;
  if (path.empty())
    path = orbhost::find_module(settings.program.c_str());
  else if (path.find('/') == std::string::npos)
    path.insert(0, "./");
  try {
    host.load(path);
  } catch (const std::exception &error) {
    throw PlayError(exit_video, std::string("the module can't be loaded: ") + error.what());
  }
}

} // namespace orbplay
