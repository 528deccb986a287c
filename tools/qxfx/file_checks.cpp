// qxfx's checks on the paths it is given: bounded reads of small files, and outputs that are
// devices or pipes written through rather than replaced.
#include "tools/qxfx/file_checks.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {
std::string KindName(mode_t mode) {
  if (S_ISDIR(mode)) return "a directory";
  if (S_ISCHR(mode)) return "a character device";
  if (S_ISBLK(mode)) return "a block device";
  if (S_ISFIFO(mode)) return "a pipe";
  if (S_ISSOCK(mode)) return "a socket";
  return "something other than a file";
}
}  // namespace

bool QxfxReadBoundedFile(const std::string& path, size_t cap, const std::string& what, std::vector<char>* bytes,
                         std::string* error) {
  // O_NONBLOCK so that opening a pipe with no writer does not hang before the check below.
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    *error = "cannot read " + what + " " + path + ": " + std::strerror(errno);
    return false;
  }
  struct stat st;
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    *error = what + " " + path + " is " + KindName(st.st_mode) + ", not a regular file";
    close(fd);
    return false;
  }
  const std::string tooBig = what + " " + path + " is more than the " + std::to_string(cap) + " bytes it may have";
  if (static_cast<unsigned long long>(st.st_size) > cap) {
    *error = tooBig;
    close(fd);
    return false;
  }
  // Read to the end, not to the size seen: the file may change meanwhile, but never past the cap.
  bytes->clear();
  bool ok = true;
  char chunk[65536];
  for (;;) {
    const ssize_t n = read(fd, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      *error = "cannot read " + what + " " + path + ": " + std::strerror(errno);
      ok = false;
      break;
    }
    if (n == 0) break;
    bytes->insert(bytes->end(), chunk, chunk + n);
    if (bytes->size() > cap) {
      *error = tooBig;
      ok = false;
      break;
    }
  }
  close(fd);
  return ok;
}

QxfxOutputKind QxfxOutputKindOf(const std::string& path, const std::string& what, std::string* error) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0 || S_ISREG(st.st_mode)) return QxfxOutputKind::Replace;
  if (S_ISCHR(st.st_mode) || S_ISFIFO(st.st_mode)) return QxfxOutputKind::Stream;
  *error = what + " " + path + " is " + KindName(st.st_mode) + "; give a file name";
  return QxfxOutputKind::Refuse;
}

int QxfxOpenStream(const std::string& path, std::string* error) {
  const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (fd < 0) *error = "cannot write to " + path + ": " + std::strerror(errno);
  return fd;
}
