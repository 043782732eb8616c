// Files are saved whole, at the place that their name leads to, or nothing changes: by every
// function that saves one.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <map>

#include <gtest/gtest.h>

#include "support/world.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

/// What is in a folder and its subfolders: kind, rights and owner, and bytes or link target.
std::map<std::string, std::string> tree_of(const fs::path &folder) {
  std::map<std::string, std::string> tree;
  for (const auto &entry : fs::recursive_directory_iterator(folder)) {
    struct stat status {};
    lstat(entry.path().c_str(), &status);
    std::string &text = tree[entry.path().lexically_relative(folder)];
    text = std::to_string(status.st_mode) + " " + std::to_string(status.st_uid) + " " +
           std::to_string(status.st_gid) + " ";
    if (S_ISLNK(status.st_mode)) text += fs::read_symlink(entry);
    if (!S_ISREG(status.st_mode)) continue;
    const file_bytes bytes = read_file(entry);
    text.append(bytes.begin(), bytes.end());
  }
  return tree;
}

/// A function that saves, and the arguments before and behind the name.
struct saver {
  const char *function;
  std::vector<orbhost::Argument> before, behind;
};
const saver savers[] = {
    {"image_save", {0, 1000}, {2, 0}}, {"image_save", {0, 1000}, {3, 1}},
    {"image_save", {0, 1000}, {4, 0}}, {"image_save", {0, 1000}, {5, 1}},
    {"image_save", {0, 1000}, {6, 1}}, {"map_save", {0, 1000}, {1, "key"}},
    {"fpg_save", {1}, {0, ""}},        {"palette_save", {}, {}},
};

struct FailingSaves : testing::TestWithParam<int> {
  const saver &saves = savers[GetParam()];
  world w;
  const fs::path folder = w.folder.path, former = fs::current_path();
  const mode_t mask = umask(027);

  FailingSaves() {
    w.set_mode(8);
    w.host.call("map_new", {300, 250, 5}); // plain files exceed the buffer
    w.host.call("fpg_new");
    w.host.call("fpg_new");
    w.host.call("fpg_new_map", {1, 7, 300, 250, 0});
    fs::create_directories(folder / "in");
    fs::current_path(folder);
  }
  ~FailingSaves() override {
    umask(mask);
    fs::current_path(former);
  }
  /// Saves under a name; every failure is reported once, as 123.
  bool save(const std::string &name) {
    std::vector<orbhost::Argument> arguments = saves.before;
    arguments.emplace_back(name);
    arguments.insert(arguments.end(), saves.behind.begin(), saves.behind.end());
    const bool saved = w.host.call(saves.function, arguments) == 1;
    const std::string report = w.reports();
    EXPECT_EQ(report.empty(), saved) << report;
    if (!saved) EXPECT_EQ(report.substr(0, 4), "123 ");
    return saved;
  }
};

TEST_P(FailingSaves, WholeFilesAtThePlaceOfTheName) {
  EXPECT_TRUE(save("new"));
  const file_bytes saved = read_file("new");
  EXPECT_EQ(fs::status("new").permissions(), fs::perms(0640));
  for (const char *name : {"old", "in/old"}) {
    write_file(name, file_bytes(2 * saved.size(), 'o'));
    if (geteuid() == 0) EXPECT_EQ(chown(name, 1234, 5678), 0);
    chmod(name, 0606);
  }
  fs::create_symlink("in/old", "link");
  fs::create_symlink("in/made", "dangling");
  fs::create_symlink("../dangling", "in/chain");
  const std::string longest(255, 'n');
  const std::pair<std::string, std::string> places[] = {{"old", "old"},
                                                        {"link", "in/old"},
                                                        {"in/chain", "in/made"},
                                                        {longest, longest},
                                                        {folder / "all", "all"}};
  for (const auto &[name, place] : places) {
    auto expected = tree_of(folder);
    std::string &text = expected[place];
    if (text.empty()) text = expected["new"];
    text.resize(text.find(' ', text.find(' ', text.find(' ') + 1) + 1) + 1);
    text.append(saved.begin(), saved.end());
    EXPECT_TRUE(save(name)) << name;
    EXPECT_TRUE(tree_of(folder) == expected) << name;
  }

  // Another program saves the same file at the same time.
  const pid_t other = fork();
  bool all_saved = true;
  for (int i = 0; i < 10; i++) {
    all_saved &= save("old");
    if (other != 0) EXPECT_TRUE(read_file("old") == saved);
  }
  if (other == 0) _exit(all_saved ? 0 : 1);
  int status = -1;
  waitpid(other, &status, 0);
  EXPECT_TRUE(all_saved && status == 0);
}

TEST_P(FailingSaves, NothingChangesWhereAFileCannotBeWritten) {
  EXPECT_TRUE(save("old"));
  const size_t size = fs::file_size("old");
  write_file("old", {'o', 'l', 'd'});
  fs::create_symlink("old", "link");
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
  const auto tree = tree_of(folder);
  for (const std::string &name :
       {"pipe"s, "to_pipe"s, "socket"s, "in"s, "in/."s, "old/"s, "absent/"s, "absent/file"s,
        "old/file"s, "to_absent"s, "loop"s, std::string(256, 'n'), ""s,
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
  rlimit unlimited{};
  getrlimit(RLIMIT_FSIZE, &unlimited);
  for (const size_t limit : {size_t(0), size_t(100), size - 1})
    for (const char *name : {"old", "link", "none"}) {
      const rlimit small = {limit, unlimited.rlim_max};
      setrlimit(RLIMIT_FSIZE, &small);
      const bool saved = save(name);
      setrlimit(RLIMIT_FSIZE, &unlimited);
      EXPECT_FALSE(saved) << name << " after " << limit;
      EXPECT_TRUE(tree_of(folder) == tree) << name << " after " << limit;
    }
  signal(SIGXFSZ, former_action);
}

INSTANTIATE_TEST_SUITE_P(Functions, FailingSaves, testing::Range(0, int(std::size(savers))));

} // namespace
