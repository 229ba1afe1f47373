#ifndef UTILS_COMMAND_TEMPORARY_FILE_H
#define UTILS_COMMAND_TEMPORARY_FILE_H

#include <string>

namespace tarnwick {

// A file that belongs to one call: created exclusively (never through an existing name or link),
// readable and writable by the owner only, under a unique name in the system's temporary folder
// ($TMPDIR when it is an absolute path, else /tmp), and removed when the object goes.
class TemporaryFile {
 public:
  // Creates the file and writes every byte of `content` to it; path() is empty when either failed
  // (nothing is left behind then).
  explicit TemporaryFile(const std::string& content);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Returns the file's absolute path, or the empty string when it could not be made.
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace tarnwick

#endif
