#include "host/player/screenshots.h"

#include "host/screenshot.h"

namespace orbplay {

void Screenshots::after_frame(orbhost::Host &host, std::uint64_t frame, bool last) {
  for (const Screenshot &shot : settings_.screenshots) {
    if (shot.frame != frame && !(last && shot.frame == 0)) continue;
    orbhost::save_png(settings_.display_pictures ? orbhost::take_display_picture()
                                                 : orbhost::take_picture(host),
                      shot.file);
  }
}

void Screenshots::ended(std::uint64_t frames) {
  for (const Screenshot &shot : settings_.screenshots) {
    if (shot.frame > frames) {
      throw PlayError(exit_script, "no screenshot " + shot.file + ": play ended at frame " +
                                       std::to_string(frames));
    }
  }
}

} // namespace orbplay
