// The pictures that --screenshot asks for.
#pragma once

#include "host/player/session.h"

namespace orbplay {

class Screenshots : public Observer {
public:
  explicit Screenshots(const Settings &settings) : settings_(settings) {}
  void after_frame(orbhost::Host &host, std::uint64_t frame, bool last) override;
  // Throws PlayError for a frame that play didn't reach.
  void ended(std::uint64_t frames) override;

private:
  const Settings &settings_;
};

} // namespace orbplay
