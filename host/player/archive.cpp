#include "host/player/archive.h"

#include "host/player/options.h"

#include <sys/stat.h>

#include <zip.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <vector>

namespace orbplay {
namespace {

namespace fs = std::filesystem;
namespace limits = archive_limits;

struct CloseZip {
  void operator()(zip_t *zip) const { zip_discard(zip); }
  void operator()(zip_file_t *file) const { zip_fclose(file); }
};
using Zip = std::unique_ptr<zip_t, CloseZip>;
using ZipFile = std::unique_ptr<zip_file_t, CloseZip>;

struct Entry {
  zip_uint64_t index;
  std::string name; // a folder's without the slash at its end
  bool folder;
  std::uint64_t bytes;
};

bool is_control(char c) {
  return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

std::string lower(std::string_view text) {
  std::string result(text);
  for (char &c : result)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return result;
}

// Names that stand for a device in any folder of some systems, whatever follows a dot.
bool is_device(std::string_view part) {
  const std::string name = lower(part.substr(0, part.find('.')));
  if (name == "con" || name == "prn" || name == "aux" || name == "nul") return true;
  return name.size() == 4 && (name.starts_with("com") || name.starts_with("lpt")) &&
         name[3] >= '0' && name[3] <= '9';
}

[[noreturn]] void refuse(const std::string &archive, std::string entry,
                         const std::string &problem) {
  std::replace_if(entry.begin(), entry.end(), is_control,
                  '?'); // a name is no message to a terminal
  throw PlayError(exit_script, archive + ": " + entry + (entry.empty() ? "" : ": ") + problem);
}

Zip open(const std::string &archive) {
  int code = 0;
  Zip zip(zip_open(archive.c_str(), ZIP_RDONLY, &code));
  if (zip) return zip;
  zip_error_t error;
  zip_error_init_with_code(&error, code);
  const std::string reason = zip_error_strerror(&error);
  zip_error_fini(&error);
  refuse(archive, "", "no zip file that can be read: " + reason);
}

// A link or a device, as systems with file modes store them.
bool is_special(zip_t *zip, zip_uint64_t index) {
  zip_uint8_t system = 0;
  zip_uint32_t attributes = 0;
  if (zip_file_get_external_attributes(zip, index, 0, &system, &attributes) != 0) return false;
  const zip_uint32_t kind = attributes >> 16 & S_IFMT;
  return kind != 0 && kind != S_IFREG && kind != S_IFDIR;
}

// All entries, which are fit to be unpacked.
std::vector<Entry> look_through(zip_t *zip, const std::string &archive) {
  std::error_code ignored;
  const std::uint64_t packed = fs::file_size(archive, ignored);
  const std::uint64_t most_total =
      std::min(limits::most_total, limits::total_free + limits::most_ratio * packed);
  const auto count = static_cast<std::uint64_t>(zip_get_num_entries(zip, 0));
  if (count > limits::most_files)
    refuse(archive, "", "more than " + std::to_string(limits::most_files) + " files");
  std::vector<Entry> entries;
  std::set<std::string> names;
  std::uint64_t total = 0;
  for (zip_uint64_t i = 0; i < count; ++i) {
    zip_stat_t stat;
    if (zip_stat_index(zip, i, 0, &stat) != 0 || !(stat.valid & ZIP_STAT_NAME))
      refuse(archive, "entry " + std::to_string(i + 1), zip_strerror(zip));
    Entry entry{i, stat.name, false, stat.valid & ZIP_STAT_SIZE ? stat.size : 0};
    if (const char *problem = name_problem(entry.name)) refuse(archive, entry.name, problem);
    if (is_special(zip, i)) refuse(archive, entry.name, "is a link or a device, not a file");
    if (entry.name.ends_with('/')) {
      entry.name.pop_back();
      entry.folder = true;
    }
    if (!names.insert(entry.name).second) refuse(archive, entry.name, "is there twice");
    if (entry.bytes > limits::most_bytes)
      refuse(archive, entry.name,
             "unpacks to more than " + std::to_string(limits::most_bytes >> 20) + " MB");
    total += entry.bytes;
    if (total > most_total)
      refuse(archive, entry.name,
             "with it, the game unpacks to more than " + std::to_string(most_total >> 20) + " MB");
    entries.push_back(std::move(entry));
  }
  return entries;
}

// An entry's size is a claim; more than that isn't read.
void unpack_file(zip_t *zip, const Entry &entry, const std::string &archive, const fs::path &to) {
  const ZipFile file(zip_fopen_index(zip, entry.index, 0));
  if (!file) refuse(archive, entry.name, zip_strerror(zip));
  std::ofstream out(to, std::ios::binary);
  std::vector<char> part(65536);
  std::uint64_t bytes = 0;
  zip_int64_t count = 0;
  while (out && bytes <= entry.bytes &&
         (count = zip_fread(file.get(), part.data(), part.size())) > 0) {
    bytes += static_cast<std::uint64_t>(count);
    out.write(part.data(), static_cast<std::streamsize>(count));
  }
  if (count < 0) refuse(archive, entry.name, zip_file_strerror(file.get()));
  if (bytes != entry.bytes) refuse(archive, entry.name, "is damaged: its size is another");
  out.close();
  if (!out) refuse(archive, entry.name, std::string("can't be unpacked: ") + std::strerror(errno));
}

} // namespace

bool is_archive(const std::string &path) {
  std::string start(4, '\0');
  std::ifstream(path, std::ios::binary).read(start.data(), 4);
  return start == "PK\3\4" || start == "PK\5\6" ||
         lower(fs::path(path).extension().string()) == ".zip";
}

const char *name_problem(std::string_view name) {
  if (name.starts_with('/')) return "has an absolute name";
  if (name.find('\\') != name.npos) return "has a backslash in its name";
  if (name.find(':') != name.npos) return "has a colon in its name";
  if (std::ranges::any_of(name, is_control)) return "has a control character in its name";
  if (name.ends_with('/')) name.remove_suffix(1); // a folder
  std::uint64_t parts = 0;
  for (bool more = true; more;) {
    const std::size_t end = name.find('/');
    const std::string_view part = name.substr(0, end);
    if (part.empty()) return "has an empty name, or an empty part in it";
    if (part == "." || part == "..") return "has . or .. as a part of its name";
    if (is_device(part)) return "has a device's name";
    if (++parts > limits::most_folders_deep + 1) return "lies too deep in folders";
    more = end != name.npos;
    if (more) name.remove_prefix(end + 1);
  }
  return nullptr;
}

void unpack(const std::string &archive, const std::string &folder) {
  const Zip zip = open(archive);
  for (const Entry &entry : look_through(zip.get(), archive)) {
    const fs::path to = fs::path(folder) / entry.name;
    std::error_code error;
    fs::create_directories(entry.folder ? to : to.parent_path(), error);
    if (error) refuse(archive, entry.name, "can't be unpacked: " + error.message());
    if (!entry.folder) unpack_file(zip.get(), entry, archive, to);
  }
}

} // namespace orbplay
