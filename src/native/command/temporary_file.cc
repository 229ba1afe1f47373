#include "command/temporary_file.h"

#include <errno.h>
#include <stdlib.h>
#include <unistd.h>

#include <vector>

namespace tarnwick {

namespace {

std::string temporaryFolder() {
  const char* folder = getenv("TMPDIR");
  return folder != nullptr && folder[0] == '/' ? folder : "/tmp";
}

// Writes all of `content` to `fd`; returns false on any failure.
bool writeAll(int fd, const std::string& content) {
  const char* p = content.data();
  std::size_t left = content.size();
  while (left > 0) {
    const ssize_t written = write(fd, p, left);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    p += written;
    left -= static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace

TemporaryFile::TemporaryFile(const std::string& content) {
  const std::string pattern = temporaryFolder() + "/tarnwick-hunk-XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  // mkstemp opens with O_CREAT | O_EXCL and mode 0600.
  const int fd = mkstemp(name.data());
  if (fd < 0) return;
  const bool written = writeAll(fd, content);
  const bool closed = close(fd) == 0;
  if (written && closed) {
    path_ = name.data();
  } else {
    unlink(name.data());
  }
}

TemporaryFile::~TemporaryFile() {
  if (!path_.empty()) unlink(path_.c_str());
}

}  // namespace tarnwick
