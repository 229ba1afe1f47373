#include "sample_repository.h"

#include <fstream>
#include <random>

#include "../test/reference/git_samples.h"

namespace bench {

using reference::hex;
using reference::makeTempFolder;
using reference::pick;
using reference::removeFolder;
using reference::runShell;

namespace {

// One commit of a sample history: author ("Name <mail>"), time in seconds (UTC), message, and the
// fast-import file changes.
struct Commit {
  std::string author;
  long long time;
  std::string message, changes;
};

// Returns `path` as a fast-import path operand, and the change writing `content` to it.
std::string importPath(const std::string& path) {
  std::string quoted = "\"";
  for (char c : path) quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
  return quoted + "\"";
}

std::string writeFile(const std::string& path, const std::string& content) {
  return "M 100644 inline " + importPath(path) + "\ndata " + std::to_string(content.size()) + "\n" + content + "\n";
}

// Makes `folder` a repository whose branch main holds `commits`, in order, and checks it out.
void importHistory(const std::string& folder, const std::vector<Commit>& commits) {
  std::string stream;
  for (const Commit& c : commits) {
    const std::string who = c.author + " " + std::to_string(c.time) + " +0000\n";
    stream += "commit refs/heads/main\nauthor " + who + "committer " + who + "data " +
              std::to_string(c.message.size()) + "\n" + c.message + "\n" + c.changes;
  }
  std::ofstream(folder + "/.stream", std::ios::binary) << stream;
  runShell("git init -q -b main && git fast-import --quiet < .stream && rm .stream && git reset -q --hard", folder);
}

std::string makeLine(std::mt19937& random, bool styleSheet) {
  const std::string word = pick(random, {"value", "<tag>", "a & b", "na\xc3\xafve", "\xe4\xbb\xb6\xe6\x95\xb0",
                                         "\xe2\x82\xacuro", "author x", "abc 1 2", "summary"});
  const std::string n = std::to_string(random() % 256);
  const std::string after = random() % 3 ? "" : pick(random, {":", "g", "G", "/", "@", "`"});
  const std::string colour = "#" + hex(random, 3 + random() % 7, "0123456789abcdefABCDEF") + after;
  switch (random() % (styleSheet ? 4 : 5) + (styleSheet ? 0 : 4)) {
    case 0: return "." + word + "-" + n + " {";
    case 1: return "  color: " + colour + ";";
    case 2: return "  background: rgba(" + n + ", " + n + "," + n + after + ", 0." + n + ");";
    case 3: return "}";
    case 4: return "  const " + word + n + " = " + word + "(a, b); // -- see +" + word + " @@x " + n + ":" + n;
    case 5: return "";
    case 6: return "  s = \"" + colour + "\"; t = \"rgb(" + n + "," + n + ",3)\";";
    default: return "    " + word + "." + word + "(" + n + ");";
  }
}

}  // namespace

std::vector<std::string> makeSampleRepository(const std::string& folder, unsigned seed, int commits, int files,
                                              int lines) {
  std::mt19937 random(seed);
  std::vector<std::string> paths;
  for (int f = 0; f < files; ++f) {
    paths.push_back((f % 4 == 2 ? "dir with space/n\xc3\xa4me \xe4\xbb\xb6" : "src/file") + std::to_string(f) +
                    (f % 3 == 1 ? ".css" : ".cc"));
  }
  std::vector<std::vector<std::string>> contents(files);
  std::vector<Commit> history;
  for (int c = 0; c < commits; ++c) {
    std::string changes;
    for (int f = 0; f < files; ++f) {
      std::vector<std::string> next;
      for (const std::string& line : contents[f]) {
        const unsigned roll = random() % 16;
        if (roll == 1) next.push_back(makeLine(random, f % 3 == 1));
        if (roll != 0) next.push_back(roll == 2 ? makeLine(random, f % 3 == 1) : line);
      }
      while (c == 0 && next.size() < static_cast<std::size_t>(lines)) next.push_back(makeLine(random, f % 3 == 1));
      std::string content;
      for (std::size_t i = 0; i < next.size(); ++i) {
        content += next[i] + (i + 1 == next.size() && f % 7 == 3 && c == commits - 1 ? "" : f % 5 == 2 ? "\r\n" : "\n");
      }
      changes += writeFile(paths[f], content);
      contents[f] = next;
    }
    const std::string author = pick(random, {"Ann <ann@example.com>", "B\xc3\xb6rk <bo@example.com>", "Dee <d@e.f>"});
    history.push_back({author, 1600000000 + c * 3600, c == 0 ? "first" : "Change " + std::to_string(c), changes});
  }
  importHistory(folder, history);
  return paths;
}

std::string makeGitDiff(unsigned seed, int files, int lines) {
  const std::string folder = makeTempFolder();
  makeSampleRepository(folder, seed, 2, files, lines);
  const std::string diff = runShell("git diff --no-color HEAD~1 HEAD", folder);
  removeFolder(folder);
  return diff;
}

}  // namespace bench
