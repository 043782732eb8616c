// The moving picture that --capture asks for: a GIF file, or a folder of numbered pictures.
#pragma once

#include "host/player/colours.h"
#include "host/player/gif.h"
#include "host/player/session.h"
#include "host/screenshot.h"

#include <memory>
#include <vector>

namespace orbplay {

class Capture : public Observer {
public:
  explicit Capture(const Settings &settings);
  // Completes the file of a play that ended with an error.
  ~Capture() override;
  void after_frame(orbhost::Host &host, std::uint64_t frame, bool last) override;
  // Throws PlayError if no frame was captured.
  void ended(std::uint64_t frames) override;

private:
  struct Shot {
    orbhost::Picture picture;
    // At 8 bits: the screen as it is. Else empty.
    std::vector<std::uint8_t> indices;
    std::vector<orb_rgb> palette;
  };

  [[nodiscard]] Shot take(const orbhost::Host &host) const;
  void show(Shot shot);
  void write_pending(int until);
  void finish();
  GifPatch changes(const Shot &shot); // since the shot that is shown

  const Settings &settings_;
  bool began_ = false, over_ = false;
  // Of a GIF file. A shot is written when the next one is there: until then it isn't known for how
  // long it is shown.
  std::unique_ptr<Gif> gif_;
  Shot shown_, pending_;
  double seconds_ = 0; // from the first frame to the present one
  int since_ = 0;      // when the pending shot appears, in hundredths of a second
  ColourReducer colours_;
};

} // namespace orbplay
