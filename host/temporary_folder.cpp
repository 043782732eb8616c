#include "host/temporary_folder.h"

#include "host/host.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace orbhost {
namespace {

namespace fs = std::filesystem;

// In a new process: waits for a byte, which says that nothing is left to do, or for the end of the
// program. Keeps clear of its terminal and of those who read its output.
[[noreturn]] void remove_afterwards(int alive, const char *path) {
  ::setsid();
  for (int stream = 0; stream <= 2; ++stream)
    ::close(stream);
  char byte;
  ssize_t count;
  do
    count = ::read(alive, &byte, 1);
  while (count < 0 && errno == EINTR);
  if (count == 0) ::execlp("rm", "rm", "-rf", "--", path, static_cast<char *>(nullptr));
  ::_exit(0);
}

} // namespace

TemporaryFolder::TemporaryFolder() {
  std::error_code no_place;
  const fs::path place = fs::temp_directory_path(no_place); // $TMPDIR, or /tmp
  path_ = fs::absolute((no_place ? fs::path("/tmp") : place) / "orb-XXXXXX").string();
  if (!::mkdtemp(path_.data())) {
    throw HostError(path_ + ": no temporary folder can be made: " + std::strerror(errno) +
                    "; TMPDIR names another place");
  }
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return; // then only the destructor removes it
  remover_ = ::fork();
  if (remover_ == 0) {
    ::close(ends[1]);
    remove_afterwards(ends[0], path_.c_str());
  }
  ::close(ends[0]);
  alive_ = ends[1];
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
  if (alive_ < 0) return;
  if (remover_ > 0 && ::write(alive_, "", 1) == 1) ::waitpid(remover_, nullptr, 0);
  ::close(alive_);
}

} // namespace orbhost
