#include "host/player/archive.h"

#include "host/player/options.h"

#include <sys/stat.h>

#include <zip.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
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

// How many bytes the game in an archive of some size may have.
std::uint64_t most_unpacked(std::uint64_t archive_bytes) {
  return std::min(limits::most_total, limits::total_free + limits::most_ratio * archive_bytes);
}

// Files of an archive, as they are counted against the limits.
class Tally {
public:
  explicit Tally(std::uint64_t most_bytes) : most_bytes_(most_bytes) {}
  [[nodiscard]] std::uint64_t bytes() const { return bytes_; }

  // Counts an entry; a folder's name ends in a slash. Why an archive can't have it, or an empty
  // text.
  std::string add(std::string_view name, std::uint64_t bytes) {
    if (const char *problem = name_problem(name)) return problem;
    if (name.ends_with('/')) name.remove_suffix(1);
    if (!names_.emplace(name).second) return "is there twice";
    if (names_.size() > limits::most_files)
      return "with it, there are more than " + std::to_string(limits::most_files) + " files";
    if (bytes > limits::most_bytes)
      return "unpacks to more than " + std::to_string(limits::most_bytes >> 20) + " MB";
    bytes_ += bytes;
    if (bytes_ > most_bytes_)
      return "with it, the game unpacks to more than " + std::to_string(most_bytes_ >> 20) + " MB";
    return {};
  }

private:
  std::uint64_t most_bytes_, bytes_ = 0;
  std::set<std::string, std::less<>> names_;
};

// `failure` is what a failure begins with.
Zip open(const std::string &archive, int flags, const std::string &failure) {
  int code = 0;
  Zip zip(zip_open(archive.c_str(), flags, &code));
  if (zip) return zip;
  zip_error_t error;
  zip_error_init_with_code(&error, code);
  const std::string reason = zip_error_strerror(&error);
  zip_error_fini(&error);
  refuse(archive, "", failure + reason);
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
  Tally tally(most_unpacked(fs::file_size(archive, ignored)));
  const auto count = static_cast<std::uint64_t>(zip_get_num_entries(zip, 0));
  std::vector<Entry> entries;
  for (zip_uint64_t i = 0; i < count; ++i) {
    zip_stat_t stat;
    if (zip_stat_index(zip, i, 0, &stat) != 0 || !(stat.valid & ZIP_STAT_NAME))
      refuse(archive, "entry " + std::to_string(i + 1), zip_strerror(zip));
    Entry entry{i, stat.name, false, stat.valid & ZIP_STAT_SIZE ? stat.size : 0};
    if (const std::string problem = tally.add(entry.name, entry.bytes); !problem.empty())
      refuse(archive, entry.name, problem);
    if (is_special(zip, i)) refuse(archive, entry.name, "is a link or a device, not a file");
    if (entry.name.ends_with('/')) {
      entry.name.pop_back();
      entry.folder = true;
    }
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

// All files get the first day that the format knows, and the same rights.
void add_file(zip_t *zip, const std::string &archive, const std::string &name,
              const std::string &path, bool deflated) {
  constexpr zip_uint16_t first_day = 1 << 5 | 1;
  zip_source_t *source = zip_source_file(zip, path.c_str(), 0, -1);
  const zip_int64_t added = source ? zip_file_add(zip, name.c_str(), source, ZIP_FL_ENC_UTF_8) : -1;
  if (added < 0) {
    zip_source_free(source);
    refuse(archive, name, "has a name that isn't UTF-8");
  }
  const auto index = static_cast<zip_uint64_t>(added);
  zip_file_set_dostime(zip, index, 0, first_day, 0);
  zip_file_set_external_attributes(zip, index, 0, ZIP_OPSYS_UNIX, (S_IFREG | 0644u) << 16);
  zip_set_file_compression(zip, index, deflated ? ZIP_CM_DEFLATE : ZIP_CM_STORE, 9);
}

void write(const std::map<std::string, std::string> &files, const std::string &archive,
           bool deflated) {
  Zip zip = open(archive, ZIP_CREATE | ZIP_TRUNCATE, "can't be written: ");
  for (const auto &[name, path] : files)
    add_file(zip.get(), archive, name, path, deflated);
  if (zip_close(zip.get()) != 0)
    refuse(archive, "", std::string("can't be written: ") + zip_strerror(zip.get()));
  static_cast<void>(zip.release()); // which closing it frees
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
  const Zip zip = open(archive, ZIP_RDONLY, "no zip file that can be read: ");
  for (const Entry &entry : look_through(zip.get(), archive)) {
    const fs::path to = fs::path(folder) / entry.name;
    std::error_code error;
    fs::create_directories(entry.folder ? to : to.parent_path(), error);
    if (error) refuse(archive, entry.name, "can't be unpacked: " + error.message());
    if (!entry.folder) unpack_file(zip.get(), entry, archive, to);
  }
}

void pack(const std::map<std::string, std::string> &files, const std::string &archive) {
  Tally tally(limits::most_total);
  for (const auto &[name, path] : files)
    if (const std::string problem = tally.add(name, fs::file_size(path)); !problem.empty())
      refuse(archive, name, problem);
  write(files, archive, true);
  // Files that shrink to almost nothing would look as if they were to fill the disk.
  if (tally.bytes() > most_unpacked(fs::file_size(archive))) write(files, archive, false);
}

} // namespace orbplay
