// Sums of every frame, so that two plays of a game can be compared.
//
//   orbplay hashes 1
//   frame 1 70a1f0c8e2b35d94          the sum of the screen
//   2 type=2 status=2 graph=1000 x=80 a process by its number: what has changed in it
//   frame 2 5b0e7712c09a44f3
//   2 x=82
//   -2                                it has ended
#pragma once

#include "host/player/session.h"

#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace orbplay {

// What is compared of a frame: the script's screen (size, depth, pixels, and at 8 bits the
// palette), and of each process its type, status and locals, by the numbers that scripts see
// ("process 7").
struct FrameState {
  using Words = std::vector<std::int32_t>;
  std::uint64_t screen = 0; // 0: there is none
  std::map<std::uint32_t, Words> processes;

  static FrameState of(orbhost::Host &host);
  // The names of the words.
  static std::vector<std::string> names(orbhost::Host &host);
};

class HashWriter : public Observer {
public:
  // Throws PlayError where the file can't be written.
  explicit HashWriter(const std::string &file);
  void after_frame(orbhost::Host &host, std::uint64_t frame, bool last) override;

private:
  std::string name_;
  std::ofstream file_;
  FrameState last_;
};

class HashCheck : public Observer {
public:
  // Throws PlayError where the file can't be read.
  explicit HashCheck(const Settings &settings);
  // Throws PlayError at the first frame that differs, with what does.
  void after_frame(orbhost::Host &host, std::uint64_t frame, bool last) override;
  void ended(std::uint64_t frames) override;

private:
  bool read_frame(const std::vector<std::string> &names);
  [[noreturn]] void fail() const;

  const Settings &settings_;
  std::ifstream file_;
  int line_number_ = 0;
  std::string line_; // the next
  FrameState expected_;
};

} // namespace orbplay
