#ifndef UTILS_COMMAND_TRUSTED_FILE_H
#define UTILS_COMMAND_TRUSTED_FILE_H

// Whether a file that git reads twice in one call (the configuration the guard is decided from,
// then read again by the command) can change in between: only when someone other than the user
// can write it, or it is not a plain file (a FIFO can answer each read differently).

#include <string>

namespace tarnwick {

// What a file was when it was checked: equal signatures mean an unchanged file, or an absence.
struct FileSignature {
  bool exists = false;
  bool folder = false;
  unsigned long long device = 0;
  unsigned long long inode = 0;
  long long size = 0;
  long long modified = 0;  // nanoseconds
  long long changed = 0;   // nanoseconds
  bool operator==(const FileSignature& other) const;
  bool operator!=(const FileSignature& other) const { return !(*this == other); }
};

// Returns whether the absolute `path` names a regular file, or nothing, that nobody but this
// user and root can create, replace or change: the file and every folder on the way to it
// (links followed) belong to this user or to root and are writable by no one else, except that
// a folder may be shared (sticky, as /tmp) when what it holds on the way belongs to this user or
// root, and a group may write that holds nobody but this user (a private group). `signature`
// receives what the file is now.
bool trustedFile(const std::string& path, FileSignature* signature);

// Returns what `path` is now (following links), or an absence when it cannot be read.
FileSignature signatureOf(const std::string& path);

}  // namespace tarnwick

#endif
