// The programs as a user meets them: transcripts of a shell (*.txt beside this file), which
// docs/testing.md describes.
#include <fnmatch.h>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <vector>

#include <gtest/gtest.h>

#include "support/registration.h"
#include "support/world.h"

namespace {

namespace fs = std::filesystem;

struct command {
  int line;
  std::string text, expected;
};

struct program_case {
  std::string title;
  std::vector<command> commands;
};

std::vector<program_case> read_cases(const fs::path &path) {
  std::ifstream in(path);
  std::vector<program_case> cases;
  std::string row;
  for (int number = 1; std::getline(in, row); ++number) {
    if (row.empty() || row.starts_with('#')) continue;
    if (row.starts_with("== "))
      cases.push_back({row.substr(3), {}});
    else if (row.starts_with("$ "))
      cases.back().commands.push_back({number, row.substr(2) + '\n', ""});
    else if (row.starts_with("> "))
      cases.back().commands.back().text += row.substr(2) + '\n';
    else
      cases.back().commands.back().expected += row + '\n';
  }
  return cases;
}

/// Whether a text is as expected; "..." stands for anything.
bool matches(const std::string &seen, const std::string &expected) {
  std::string pattern;
  for (size_t at = 0; at < expected.size(); ++at)
    if (expected.compare(at, 3, "...") == 0)
      pattern += '*', at += 2;
    else
      pattern += {'\\', expected[at]};
  return fnmatch(pattern.c_str(), seen.c_str(), 0) == 0;
}

std::string text_of(const fs::path &file) {
  const file_bytes bytes = read_file(file);
  return {bytes.begin(), bytes.end()};
}

void play(const fs::path &file, const program_case &played) {
  const scratch_folder place;
  const fs::path folder = place.path / "in";
  fs::create_directory(folder);
  const std::string prelude = "cd '" + folder.string() +
                              "' || exit; ulimit -t 60\n"
                              "tests='" ORB_SOURCE_DIR "/tests'; data=$tests/data\n"
                              "run32='" ORB_SOURCE_DIR "/tools/run32'; bin='" ORB_BINARY_DIR
                              "/bin'\n"
                              "run() { \"$run32\" \"$bin/$@\"; }\n"
                              "orbplay() { run orbplay --headless \"$@\"; }\n"
                              "orbgfx() { run orbgfx \"$@\"; }\n{\n";
  for (const command &each : played.commands) {
    std::ofstream(place.path / "sh") << prelude << each.text << "} >../out 2>../err </dev/null\n";
    const int status = std::system(("LC_ALL=C sh '" + (place.path / "sh").string() + "'").c_str());
    std::string seen = text_of(place.path / "out") + text_of(place.path / "err");
    if (!seen.empty() && seen.back() != '\n') seen += '\n';
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (code != 0) seen += '[' + std::to_string(code) + "]\n";
    if (!matches(seen, each.expected))
      ADD_FAILURE_AT(file.c_str(), each.line) << each.text << "-- seen:\n"
                                              << seen << "-- expected:\n"
                                              << each.expected;
  }
}

[[maybe_unused]] const bool registered = [] {
  for (const auto &entry : fs::directory_iterator(tests_folder("host")))
    if (const fs::path file = entry.path(); file.extension() == ".txt")
      for (const program_case &played : read_cases(file))
        register_case("Program_" + file.stem().string(), played.title, file,
                      played.commands.front().line, [=] { play(file, played); });
  return true;
}();

} // namespace
