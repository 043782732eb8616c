// Zip files of games, made by anyone.
//
// What is unpacked lies in one folder and nowhere else, and doesn't fill the disk: an archive is
// looked through before the first file is written, and refused whole.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace orbplay {

// What a game in an archive may take. Unpacked, it may have `total_free` bytes whatever the size of
// the archive, and beyond that `most_ratio` times its size.
namespace archive_limits {
inline constexpr std::uint64_t most_files = 10'000, most_folders_deep = 16;
inline constexpr std::uint64_t most_bytes = 256u << 20; // of one file
inline constexpr std::uint64_t most_total = 1u << 30;
inline constexpr std::uint64_t most_ratio = 100, total_free = 64u << 20;
} // namespace archive_limits

// Whether a file is meant to be an archive: by its first bytes, or by the name that ends in .zip.
bool is_archive(const std::string &path);

// Why no file of a game's archive can have this name, in which slashes part folders: it leads out
// of the game's folder, or some system can't store it. Null if it can.
const char *name_problem(std::string_view name);

// Unpacks all files into a folder, which is there and empty. Throws PlayError, which names the
// archive and the entry at fault; files may have been unpacked by then if reading or writing
// failed.
void unpack(const std::string &archive, const std::string &folder);

// Writes an archive of files, whose paths stand by their names in it. The same files give the same
// bytes. Throws PlayError, also where unpack() would.
void pack(const std::map<std::string, std::string> &files, const std::string &archive);

} // namespace orbplay
