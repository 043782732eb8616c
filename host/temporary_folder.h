// A private folder that is gone when it is no longer needed, however the program ends.
#pragma once

#include <string>

#include <sys/types.h>

namespace orbhost {

class TemporaryFolder {
public:
  // Makes a folder for this user alone, among the system's temporary files; its name begins with
  // "orb-". Throws HostError.
  TemporaryFolder();
  // Removes the folder and what is in it. If the program ends otherwise, killed or crashed, a small
  // process of its own does so.
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder &) = delete;
  TemporaryFolder &operator=(const TemporaryFolder &) = delete;

  [[nodiscard]] const std::string &path() const { return path_; } // absolute

private:
  std::string path_;
  int alive_ = -1;     // closed by the system when this program ends
  pid_t remover_ = -1; // waits for that
};

} // namespace orbhost
