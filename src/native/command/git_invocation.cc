#include "command/git_invocation.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "command/shell_quote.h"

extern char** environ;

namespace tarnwick {

namespace {

bool startsWith(const std::string& text, const char* prefix) {
  return text.compare(0, std::strlen(prefix), prefix) == 0;
}

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
                     [&](const char* name) { return setsVariable(entry, name); });
}

// Returns whether the shell reads `word` as itself without quotes.
bool plainWord(const std::string& word) {
  return !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::strchr("-_./=:,+@%", c) != nullptr;
  });
}

}  // namespace

std::vector<std::string> gitEnvironment(const std::vector<std::string>& host) {
  std::vector<std::string> environment;
  environment.reserve(host.size() + 4);
  for (const std::string& entry : host) {
    if (!redirectsGit(entry)) environment.push_back(entry);
  }
  environment.emplace_back("GIT_TERMINAL_PROMPT=0");
  environment.emplace_back("GIT_ALLOW_PROTOCOL=");
  environment.emplace_back("GIT_NO_LAZY_FETCH=1");
  environment.emplace_back("GIT_LITERAL_PATHSPECS=1");
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

bool setsVariable(const std::string& entry, std::string_view name) {
  return entry.size() > name.size() && entry.compare(0, name.size(), name) == 0 && entry[name.size()] == '=';
}

}  // namespace tarnwick
