#include "command/git_invocation.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "command/shell_quote.h"

extern char** environ;

namespace tarnwick {

namespace {

// Settings every run gets: git reads them from its command line over any configuration file.
// Hooks are looked for in a folder that cannot hold any; the lazy fetch of a partial clone is
// stopped through the environment (see gitEnvironment).
const char* const kFixedSettings[] = {"core.fsmonitor=false", "core.hooksPath=/dev/null", "log.showSignature=false"};

// The driver settings that name a program to run on file contents, and what switches each off.
struct DriverSetting {
  const char* name;
  const char* off;
};
const DriverSetting kDriverSettings[] = {
    {"clean", ""}, {"smudge", ""}, {"process", ""},  // an empty filter command is no filter
    {"required", "false"},                            // and a filter switched off must not be required
    {"textconv", "cat"},                              // git has no empty textconv: the identity
};

bool userScope(const std::string& scope) { return scope == "system" || scope == "global"; }

// Returns what switches `key` (section.subsection.name) off, or nullptr for a key not listed.
const char* offValue(const std::string& key) {
  const std::size_t dot = key.rfind('.');
  const std::string name = dot == std::string::npos ? key : key.substr(dot + 1);
  for (const DriverSetting& setting : kDriverSettings) {
    if (name == setting.name) return setting.off;
  }
  return nullptr;
}

bool namedInHost(const std::string& entry, const char* name) {
  const std::size_t length = std::strlen(name);
  return entry.compare(0, length, name) == 0 && entry.size() > length && entry[length] == '=';
}

bool startsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

// Returns whether the host's environment entry must not reach git.
bool redirectsGit(const std::string& entry) {
  static const char* const kDropped[] = {
      // `git rev-parse --local-env-vars`: another repository, index, object store or configuration.
      "GIT_ALTERNATE_OBJECT_DIRECTORIES", "GIT_CONFIG", "GIT_CONFIG_PARAMETERS", "GIT_CONFIG_COUNT",
      "GIT_OBJECT_DIRECTORY", "GIT_DIR", "GIT_WORK_TREE", "GIT_IMPLICIT_WORK_TREE", "GIT_GRAFT_FILE",
      "GIT_INDEX_FILE", "GIT_NO_REPLACE_OBJECTS", "GIT_REPLACE_REF_BASE", "GIT_PREFIX", "GIT_INTERNAL_SUPER_PREFIX",
      "GIT_SHALLOW_FILE", "GIT_COMMON_DIR",
      // Which programs git runs, and what a pathspec matches.
      "GIT_EXEC_PATH", "GIT_EXTERNAL_DIFF", "GIT_LITERAL_PATHSPECS", "GIT_GLOB_PATHSPECS", "GIT_NOGLOB_PATHSPECS",
      "GIT_ICASE_PATHSPECS",
      // Set here.
      "GIT_TERMINAL_PROMPT", "GIT_ALLOW_PROTOCOL", "GIT_NO_LAZY_FETCH"};
  if (entry.find('=') == std::string::npos) return true;
  if (startsWith(entry, "GIT_CONFIG_KEY_") || startsWith(entry, "GIT_CONFIG_VALUE_")) return true;
  return std::any_of(std::begin(kDropped), std::end(kDropped),
                     [&](const char* name) { return namedInHost(entry, name); });
}

// Returns whether the shell reads `word` as itself without quotes.
bool plainWord(const std::string& word) {
  return !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::strchr("-_./=:,+@%", c) != nullptr;
  });
}

}  // namespace

std::vector<std::string> driverSettingsArguments() {
  return {"config", "--show-scope", "-z", "--get-regexp",
          "^(filter|diff)\\..+\\.(clean|smudge|process|required|textconv)$"};
}

std::vector<std::string> guardedGitArguments(const std::string& driverSettings,
                                             const std::vector<std::string>& command) {
  std::vector<std::string> words;
  for (const char* setting : kFixedSettings) {
    words.emplace_back("-c");
    words.emplace_back(setting);
  }
  // Each key in the order first seen: whether the repository sets it, and the user's last value.
  struct Key {
    std::string name;
    bool byRepository = false;
    bool byUser = false;
    std::string userValue;
  };
  std::vector<Key> keys;
  for (std::size_t at = 0; at < driverSettings.size();) {
    const std::size_t scopeEnd = driverSettings.find('\0', at);
    if (scopeEnd == std::string::npos) break;
    const std::size_t recordEnd = std::min(driverSettings.find('\0', scopeEnd + 1), driverSettings.size());
    const std::string scope = driverSettings.substr(at, scopeEnd - at);
    const std::string record = driverSettings.substr(scopeEnd + 1, recordEnd - scopeEnd - 1);
    at = recordEnd + 1;
    const std::size_t feed = record.find('\n');
    const std::string name = record.substr(0, feed);
    if (offValue(name) == nullptr) continue;
    auto key = std::find_if(keys.begin(), keys.end(), [&](const Key& k) { return k.name == name; });
    if (key == keys.end()) {
      key = keys.insert(keys.end(), Key());
      key->name = name;
    }
    if (!userScope(scope)) {
      key->byRepository = true;
    } else {
      key->byUser = true;
      key->userValue = feed == std::string::npos ? "true" : record.substr(feed + 1);
    }
  }
  for (const Key& key : keys) {
    if (!key.byRepository) continue;
    if (key.name.find('=') != std::string::npos) return {};
    words.emplace_back("-c");
    words.push_back(key.name + "=" + (key.byUser ? key.userValue : offValue(key.name)));
  }
  words.insert(words.end(), command.begin(), command.end());
  return words;
}

std::vector<std::string> gitEnvironment(const std::vector<std::string>& host) {
  std::vector<std::string> environment;
  environment.reserve(host.size() + 3);
  for (const std::string& entry : host) {
    if (!redirectsGit(entry)) environment.push_back(entry);
  }
  environment.emplace_back("GIT_TERMINAL_PROMPT=0");
  environment.emplace_back("GIT_ALLOW_PROTOCOL=");
  environment.emplace_back("GIT_NO_LAZY_FETCH=1");
  return environment;
}

std::string gitCommandLine(const std::vector<std::string>& words) {
  std::string line = "git";
  for (const std::string& word : words) line += " " + (plainWord(word) ? word : quoteForShell(word));
  return line;
}

std::vector<std::string> hostEnvironment() {
  std::vector<std::string> host;
  for (char** entry = environ; *entry != nullptr; ++entry) host.emplace_back(*entry);
  return host;
}

CommandResult runGit(const std::string& commandLine, const std::string& folder, ExecOptions options) {
  const std::vector<std::string> environment = gitEnvironment(hostEnvironment());
  options.environment = &environment;
  return exec(commandLine, folder, options);
}

bool listDriverSettings(const std::string& folder, std::string& listing) {
  ExecOptions exact;
  exact.exactOutput = true;
  CommandResult listed = runGit(gitCommandLine(driverSettingsArguments()), folder, exact);
  listing = std::move(listed.output);
  return listed.exitStatus == 0 || listed.exitStatus == 1;  // 1: no such setting anywhere
}

}  // namespace tarnwick
