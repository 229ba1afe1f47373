#include "command/git_guard.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace tarnwick {

namespace {

// A Git LFS address that can never be reached and starts no transfer: the file protocol, which
// Git LFS serves itself, at a path below a device, which no folder can be.
constexpr char kNoTransfer[] = "file:///dev/null/no-transfers";

// Settings every run gets: git reads them from its command line over any configuration file.
// Hooks are looked for in a folder that cannot hold any; the lazy fetch of a partial clone is
// stopped through the environment (see gitEnvironment), and Git LFS's by the address.
const std::string kFixedSettings[] = {"core.fsmonitor=false", "core.hooksPath=/dev/null", "log.showSignature=false",
                                      std::string("lfs.url=") + kNoTransfer};

// The settings a repository must not choose, and what switches each off.
struct Rule {
  const char* section;
  // nullptr: a key without subsection; "": any subsection; else its beginning, in any case
  // (Git LFS reads its keys in any case).
  const char* subsection;
  const char* name;
  const char* off;
  // Blame's list of ignore files, which only its own option --no-ignore-revs-file empties (git
  // reads every file of the list, however it ends): the user's files are then named again.
  bool blameList;
};

const Rule kRules[] = {
    // Programs run on file contents: an empty filter command is no filter, and a filter switched
    // off must not be required; git has no empty textconv, so the identity.
    {"filter", "", "clean", "", false},
    {"filter", "", "smudge", "", false},
    {"filter", "", "process", "", false},
    {"filter", "", "required", "false", false},
    {"diff", "", "textconv", "cat", false},
    // What the user's Git LFS filter would run or reach: transfer agents, extensions (run on every
    // clean and smudge), the storage folder, addresses and the ssh command.
    {"lfs", nullptr, "standalonetransferagent", "", false},
    {"lfs", "customtransfer.", "path", "", false},
    {"lfs", "customtransfer.", "args", "", false},
    {"lfs", "extension.", "clean", "", false},
    {"lfs", "extension.", "smudge", "", false},
    {"lfs", "extension.", "priority", "", false},
    {"lfs", nullptr, "storage", "", false},
    {"lfs", nullptr, "pushurl", kNoTransfer, false},
    {"remote", "", "lfsurl", kNoTransfer, false},
    {"remote", "", "lfspushurl", kNoTransfer, false},
    {"core", nullptr, "sshcommand", "ssh", false},
    // Files the commands read: a device or a FIFO there would hold git forever.
    {"core", nullptr, "attributesfile", "", false},
    {"mailmap", nullptr, "file", "", false},
    {"diff", nullptr, "orderfile", "/dev/null", false},
    {"blame", nullptr, "ignorerevsfile", "", true},
};

struct Entry {
  std::string scope;
  std::string file;  // empty when the entry comes from no file
  std::string key;
  std::string value;
  bool hasValue = false;
};

std::vector<Entry> readListing(const std::string& listing) {
  std::vector<Entry> entries;
  for (std::size_t at = 0; at < listing.size();) {
    const std::size_t scopeEnd = listing.find('\0', at);
    if (scopeEnd == std::string::npos) break;
    const std::size_t originEnd = listing.find('\0', scopeEnd + 1);
    if (originEnd == std::string::npos) break;
    const std::size_t recordEnd = std::min(listing.find('\0', originEnd + 1), listing.size());
    Entry entry;
    entry.scope = listing.substr(at, scopeEnd - at);
    const std::string origin = listing.substr(scopeEnd + 1, originEnd - scopeEnd - 1);
    if (origin.compare(0, 5, "file:") == 0) entry.file = origin.substr(5);
    const std::string record = listing.substr(originEnd + 1, recordEnd - originEnd - 1);
    const std::size_t feed = record.find('\n');
    entry.key = record.substr(0, feed);
    entry.hasValue = feed != std::string::npos;
    if (entry.hasValue) entry.value = record.substr(feed + 1);
    entries.push_back(std::move(entry));
    at = recordEnd + 1;
  }
  return entries;
}

bool userScope(const std::string& scope) { return scope == "system" || scope == "global"; }
bool repositoryScope(const std::string& scope) { return scope == "local" || scope == "worktree"; }

bool startsWithAnyCase(const std::string& text, const char* prefix) {
  const std::size_t length = std::strlen(prefix);
  if (text.size() < length) return false;
  for (std::size_t i = 0; i < length; ++i) {
    if (std::tolower(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
  }
  return true;
}

// Returns the rule that covers `key` (section[.subsection].name, git's section and name in lower
// case), or nullptr.
const Rule* ruleOf(const std::string& key) {
  const std::size_t first = key.find('.');
  const std::size_t last = key.rfind('.');
  if (first == std::string::npos) return nullptr;
  const std::string section = key.substr(0, first);
  const std::string name = key.substr(last + 1);
  const bool hasSubsection = last != first;
  const std::string subsection = hasSubsection ? key.substr(first + 1, last - first - 1) : std::string();
  for (const Rule& rule : kRules) {
    if (section != rule.section || name != rule.name) continue;
    if (rule.subsection == nullptr ? !hasSubsection : hasSubsection && startsWithAnyCase(subsection, rule.subsection)) {
      return &rule;
    }
  }
  return nullptr;
}

bool isInclude(const std::string& key) {
  return key == "include.path" ||
         (key.size() > 15 && key.compare(0, 10, "includeif.") == 0 &&
          std::string_view(key).substr(key.size() - 5) == ".path");
}

std::string folderOf(const std::string& file) {
  const std::size_t slash = file.rfind('/');
  return slash == std::string::npos ? std::string(".") : file.substr(0, slash);
}

bool isTrue(const Entry& entry) {
  if (!entry.hasValue) return true;
  std::string value = entry.value;
  std::transform(value.begin(), value.end(), value.begin(), [](unsigned char c) { return std::tolower(c); });
  return value == "true" || value == "yes" || value == "on" || value == "1";
}

}  // namespace

std::vector<std::string> Guard::command(std::vector<std::string> words) const {
  if (!words.empty() && words[0] == "blame") words.insert(words.begin() + 1, blameOptions.begin(), blameOptions.end());
  words.insert(words.begin(), settings.begin(), settings.end());
  return words;
}

std::vector<std::string> configListingArguments() {
  return {"config", "--show-origin", "--show-scope", "-z", "--list"};
}

Guard decideGuard(const std::string& listing, const std::string& gitDir, const std::string& commonDir,
                  const std::string& home) {
  Guard guard;
  for (const std::string& setting : kFixedSettings) {
    guard.settings.emplace_back("-c");
    guard.settings.emplace_back(setting);
  }
  const std::vector<Entry> entries = readListing(listing);
  // Each covered key in the order first seen: whether the repository sets it, and the user's values.
  struct Key {
    std::string name;
    const Rule* rule = nullptr;
    bool byRepository = false;
    std::vector<std::string> userValues;
  };
  std::vector<Key> keys;
  std::string lfsStorage;
  bool worktreeConfig = false;
  guard.repositoryFiles.push_back(commonDir + "/config");
  const auto addFile = [](std::vector<std::string>& files, const std::string& file) {
    if (!file.empty() && std::find(files.begin(), files.end(), file) == files.end()) files.push_back(file);
  };
  for (const Entry& entry : entries) {
    const bool byRepository = repositoryScope(entry.scope);
    addFile(byRepository ? guard.repositoryFiles : guard.userFiles, entry.file);
    if (byRepository && isInclude(entry.key) && !entry.value.empty()) {
      const std::string& path = entry.value;
      if (path[0] == '/') {
        addFile(guard.repositoryFiles, path);
      } else if (path.compare(0, 2, "~/") == 0 && !home.empty()) {
        addFile(guard.repositoryFiles, home + path.substr(1));
      } else if (path[0] != '~' && path.compare(0, 2, "%(") != 0 && !entry.file.empty()) {
        addFile(guard.repositoryFiles, folderOf(entry.file) + "/" + path);
      } else {
        guard.safe = false;  // another user's home, or git's own installation folder
      }
    }
    if (byRepository && entry.key == "extensions.worktreeconfig") worktreeConfig = isTrue(entry);
    if (userScope(entry.scope) && entry.key == "lfs.storage") lfsStorage = entry.value;
    const Rule* rule = ruleOf(entry.key);
    if (rule == nullptr) continue;
    auto key = std::find_if(keys.begin(), keys.end(), [&](const Key& k) { return k.name == entry.key; });
    if (key == keys.end()) {
      key = keys.insert(keys.end(), Key());
      key->name = entry.key;
      key->rule = rule;
    }
    if (byRepository) {
      key->byRepository = true;
    } else if (userScope(entry.scope)) {
      key->userValues.push_back(entry.hasValue ? entry.value : "true");
    }
  }
  if (worktreeConfig) addFile(guard.repositoryFiles, gitDir + "/config.worktree");
  for (const Key& key : keys) {
    if (!key.byRepository) continue;
    if (key.name.find('=') != std::string::npos) guard.safe = false;
    const auto set = [&](const std::string& value) {
      guard.settings.emplace_back("-c");
      guard.settings.push_back(key.name + "=" + value);
    };
    if (key.rule->blameList) {
      guard.blameOptions = {"--no-ignore-revs-file"};
      for (const std::string& value : key.userValues) {
        guard.blameOptions.push_back("--ignore-revs-file=" +
                                     (value.compare(0, 2, "~/") == 0 ? home + value.substr(1) : value));
      }
    } else {
      set(key.userValues.empty() ? std::string(key.rule->off) : key.userValues.back());
    }
  }
  guard.lfsObjects = (lfsStorage.empty() ? commonDir + "/lfs"
                      : lfsStorage[0] == '/' ? lfsStorage
                                             : commonDir + "/" + lfsStorage) +
                     "/objects";
  return guard;
}

}  // namespace tarnwick
