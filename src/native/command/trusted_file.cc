#include "command/trusted_file.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace tarnwick {

namespace {

long long nanoseconds(const struct timespec& time) { return time.tv_sec * 1000000000LL + time.tv_nsec; }

FileSignature signature(const struct stat& status) {
  FileSignature out;
  out.exists = true;
  out.folder = S_ISDIR(status.st_mode);
  out.device = static_cast<unsigned long long>(status.st_dev);
  out.inode = static_cast<unsigned long long>(status.st_ino);
  out.size = static_cast<long long>(status.st_size);
#if defined(__APPLE__)
  out.modified = nanoseconds(status.st_mtimespec);
  out.changed = nanoseconds(status.st_ctimespec);
#else
  out.modified = nanoseconds(status.st_mtim);
  out.changed = nanoseconds(status.st_ctim);
#endif
  return out;
}

bool trustedOwner(uid_t owner) { return owner == 0 || owner == geteuid(); }

// Returns whether group `group` holds nobody but this user: the user's own primary group, named
// after the user, with no other member (the private group that a umask of 002 assumes).
bool privateGroup(gid_t group) {
  if (group != getegid()) return false;
  static std::mutex mutex;
  static std::unordered_map<gid_t, bool> known;
  const std::lock_guard<std::mutex> lock(mutex);
  const auto found = known.find(group);
  if (found != known.end()) return found->second;
  std::vector<char> buffer(16384);
  struct passwd user;
  struct passwd* userFound = nullptr;
  struct group entry;
  struct group* entryFound = nullptr;
  bool alone = getpwuid_r(geteuid(), &user, buffer.data(), buffer.size() / 2, &userFound) == 0 && userFound &&
               getgrgid_r(group, &entry, buffer.data() + buffer.size() / 2, buffer.size() / 2, &entryFound) == 0 &&
               entryFound && std::strcmp(entry.gr_name, user.pw_name) == 0;
  for (char** member = alone ? entry.gr_mem : nullptr; member != nullptr && *member != nullptr; ++member) {
    if (std::strcmp(*member, user.pw_name) != 0) alone = false;
  }
  known.emplace(group, alone);
  return alone;
}

bool writableByOthers(const struct stat& status) {
  return (status.st_mode & S_IWOTH) != 0 || ((status.st_mode & S_IWGRP) != 0 && !privateGroup(status.st_gid));
}

// A folder on the way: writable by nobody else, or shared but sticky (its entries can then be
// replaced only by their owners).
enum class Folder { kTrusted, kSticky, kUntrusted };

Folder folderKind(const struct stat& status) {
  if (!S_ISDIR(status.st_mode) || !trustedOwner(status.st_uid)) return Folder::kUntrusted;
  if (!writableByOthers(status)) return Folder::kTrusted;
  return (status.st_mode & S_ISVTX) != 0 ? Folder::kSticky : Folder::kUntrusted;
}

// Splits `path` into its names, after those already in `names` (which are taken last first).
void pushNames(const std::string& path, std::vector<std::string>& names) {
  std::vector<std::string> found;
  for (std::size_t at = 0; at < path.size();) {
    const std::size_t slash = path.find('/', at);
    const std::size_t end = slash == std::string::npos ? path.size() : slash;
    if (end > at) found.push_back(path.substr(at, end - at));
    at = end + 1;
  }
  names.insert(names.end(), found.rbegin(), found.rend());
}

}  // namespace

bool FileSignature::operator==(const FileSignature& other) const {
  return exists == other.exists && folder == other.folder && device == other.device && inode == other.inode && size == other.size &&
         modified == other.modified && changed == other.changed;
}

FileSignature signatureOf(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 ? signature(status) : FileSignature();
}

bool trustedFile(const std::string& path, FileSignature* out) {
  *out = FileSignature();
  if (path.empty() || path[0] != '/') return false;
  std::vector<std::string> names;  // still to walk, the next one last
  pushNames(path, names);
  std::string folder = "/";
  struct stat status;
  if (lstat("/", &status) != 0) return false;
  Folder kind = folderKind(status);
  int links = 0;
  while (!names.empty()) {
    const std::string name = names.back();
    names.pop_back();
    if (name == ".") continue;
    if (name == "..") {
      folder = folder.substr(0, folder.rfind('/'));
      if (folder.empty()) folder = "/";
      if (lstat(folder.c_str(), &status) != 0) return false;
      kind = folderKind(status);
      continue;
    }
    // Someone else could put anything under this name.
    if (kind == Folder::kUntrusted) return false;
    const std::string next = folder == "/" ? "/" + name : folder + "/" + name;
    if (lstat(next.c_str(), &status) != 0) {
      // Nothing there yet: only someone who may write the folder can make it, which a shared one
      // lets anyone do.
      return errno == ENOENT && kind == Folder::kTrusted;
    }
    if (kind == Folder::kSticky && !trustedOwner(status.st_uid)) return false;
    if (S_ISLNK(status.st_mode)) {
      if (++links > 40) return false;
      std::vector<char> target(PATH_MAX + 1);
      const ssize_t length = readlink(next.c_str(), target.data(), PATH_MAX);
      if (length <= 0) return false;
      const std::string to(target.data(), static_cast<std::size_t>(length));
      pushNames(to, names);
      if (to[0] == '/') {
        folder = "/";
        if (lstat("/", &status) != 0) return false;
        kind = folderKind(status);
      }
      continue;
    }
    if (names.empty()) {
      if (!S_ISREG(status.st_mode) || !trustedOwner(status.st_uid) || writableByOthers(status)) return false;
      *out = signature(status);
      return true;
    }
    folder = next;
    kind = folderKind(status);
  }
  return false;
}

}  // namespace tarnwick
