#include "support/recording.h"

#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

bool recording() { return std::getenv("ORB_RECORD") != nullptr; }

uint32_t sum_of(const void *bytes, size_t size) {
  return uint32_t(crc32(0, static_cast<const uint8_t *>(bytes), uInt(size)));
}

void record_outcome(const std::filesystem::path &file, int line, const std::string &outcome) {
  std::ifstream in(file);
  std::ostringstream text;
  std::string row;
  for (int number = 1; std::getline(in, row); ++number) {
    if (number == line) {
      std::printf("%s:%d: %s -> %s\n", file.c_str(), line, row.c_str(), outcome.c_str());
      row = row.substr(0, row.find(" -> ")) + " -> " + outcome;
    }
    text << row << '\n';
  }
  in.close();
  std::ofstream(file) << text.str();
}
