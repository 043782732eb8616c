// A check for every function that saves a file: the file is saved whole, at the place its name
// resolves to, or nothing changes.
#pragma once

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

namespace safe_saves {

namespace fs = std::filesystem;

/// A directory entry: its kind, rights and owner, and its bytes or link target.
using description = std::pair<std::string, std::string>;

inline std::string bytes_of(const fs::path &file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}
/// The contents of a folder and its subfolders, by name.
inline std::map<std::string, description> tree_of(const fs::path &folder) {
  std::map<std::string, description> tree;
  for (const auto &entry : fs::recursive_directory_iterator(folder)) {
    struct stat status {};
    lstat(entry.path().c_str(), &status);
    char kind[64];
    snprintf(kind, sizeof kind, "%o of %u:%u", status.st_mode, status.st_uid, status.st_gid);
    auto &[is, holds] = tree[entry.path().lexically_relative(folder)];
    is = kind;
    if (S_ISREG(status.st_mode)) holds = bytes_of(entry);
    if (S_ISLNK(status.st_mode)) holds = fs::read_symlink(entry);
  }
  return tree;
}

/// `save(name)` saves the same bytes, more than 100, under any name, and returns whether it
/// succeeded. Names are relative to the current directory, which is `folder` during the check; the
/// check creates it.
inline void expect_safe_saves(const fs::path &folder,
                              const std::function<bool(const std::string &name)> &save) {
  using namespace std::string_literals;
  fs::create_directories(folder / "in");
  const fs::path former = fs::current_path();
  fs::current_path(folder);
  const mode_t mask = umask(027);

  EXPECT_TRUE(save("new"));
  const std::string bytes = bytes_of("new"), longest(255, 'n');
  EXPECT_GT(bytes.size(), 100u);
  EXPECT_EQ(fs::status("new").permissions(), fs::perms(0640));
  for (const char *name : {"old", "in/old"}) {
    std::ofstream(name) << std::string(2 * bytes.size(), 'o');
    if (geteuid() == 0) EXPECT_EQ(chown(name, 1234, 5678), 0);
    chmod(name, 0606);
  }
  fs::create_symlink("in/old", "link");
  fs::create_symlink("in/made", "dangling");
  fs::create_symlink("../dangling", "in/chain");
  const std::pair<std::string, std::string> places[] = {
      {"new", "new"},          {"old", "old"},     {"link", "in/old"},
      {"in/chain", "in/made"}, {longest, longest}, {folder / "all", "all"}};
  for (const auto &[name, place] : places) {
    auto expected = tree_of(folder);
    if (!expected.contains(place)) expected[place] = expected["new"];
    expected[place].second = bytes;
    EXPECT_TRUE(save(name)) << name;
    EXPECT_TRUE(tree_of(folder) == expected) << name;
  }

  // Another program saves the same file at the same time.
  const pid_t other = fork();
  bool all_saved = true;
  for (int i = 0; i < 20; i++) {
    all_saved &= save("old");
    if (other != 0) EXPECT_TRUE(bytes_of("old") == bytes);
  }
  if (other == 0) _exit(all_saved ? 0 : 1);
  int status = -1;
  waitpid(other, &status, 0);
  EXPECT_TRUE(all_saved && status == 0);

  mkfifo("pipe", 0600);
  const int pipe = open("pipe", O_RDWR | O_NONBLOCK);
  fcntl(pipe, F_SETPIPE_SZ, 1 << 20); // so that a writer does not block
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{AF_UNIX, "socket"};
  bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address);
  const int gone = open("gone", O_RDWR | O_CREAT, 0600);
  unlink("gone");
  fs::create_symlink("pipe", "to_pipe");
  fs::create_symlink("absent/file", "to_absent");
  fs::create_symlink("loop", "loop");
  // Devices are left out: a fault would destroy them.
  const auto tree = tree_of(folder);
  for (const std::string &name :
       {"pipe"s, "to_pipe"s, "socket"s, "in"s, "in/."s, "new/"s, "absent/"s, "absent/file"s,
        "new/file"s, "to_absent"s, "loop"s, longest + "n", ""s,
        // A file that can be written but not replaced, and a file without a name.
        "/proc/self/comm"s, "/proc/self/fd/" + std::to_string(gone)}) {
    EXPECT_FALSE(save(name)) << name;
    EXPECT_TRUE(tree_of(folder) == tree) << name;
  }
  char byte;
  EXPECT_EQ(read(pipe, &byte, 1), -1);
  for (const int descriptor : {pipe, listener, gone})
    close(descriptor);

  // A disk that is full after some bytes; the loss of the last one shows only on close.
  const auto former_action = signal(SIGXFSZ, SIG_IGN);
  rlimit former_limit{};
  getrlimit(RLIMIT_FSIZE, &former_limit);
  for (const size_t limit : {size_t(0), size_t(100), bytes.size() - 1})
    for (const char *name : {"old", "link", "none"}) {
      const rlimit small = {limit, former_limit.rlim_max};
      setrlimit(RLIMIT_FSIZE, &small);
      const bool saved = save(name);
      setrlimit(RLIMIT_FSIZE, &former_limit);
      EXPECT_FALSE(saved) << name << " after " << limit;
      EXPECT_TRUE(tree_of(folder) == tree) << name << " after " << limit;
    }
  signal(SIGXFSZ, former_action);
  umask(mask);
  fs::current_path(former);
  fs::remove_all(folder);
}

} // namespace safe_saves
