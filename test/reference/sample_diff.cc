#include "sample_diff.h"

#include <stdio.h>
#include <stdlib.h>

#include <fstream>
#include <random>
#include <vector>

namespace reference {

std::string runCommand(const std::string& command) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return out;
  char buffer[65536];
  std::size_t got;
  while ((got = fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, got);
  pclose(pipe);
  return out;
}

namespace {

const char* const kWords[] = {"value", "count", "render", "diff", "hunk", "colour", "naïve", "größe", "件数",
                              "index", "buffer", "line", "stage", "commit", "€uro", "branch"};

std::string word(std::mt19937& random) { return kWords[random() % (sizeof kWords / sizeof *kWords)]; }

std::string hex(std::mt19937& random, int digits) {
  std::string out;
  for (int i = 0; i < digits; ++i) out += "0123456789abcdefABCDEF"[random() % 22];
  return out;
}

// Returns one generated line of the given kind of file.
std::string makeLine(std::mt19937& random, bool styleSheet) {
  if (styleSheet) {
    switch (random() % 5) {
      case 0: return "." + word(random) + "-" + std::to_string(random() % 100) + " {";
      case 1: return "  color: #" + hex(random, random() % 2 ? 6 : 3) + ";";
      case 2:
        return "  background: rgba(" + std::to_string(random() % 256) + ", " + std::to_string(random() % 256) +
               ", " + std::to_string(random() % 256) + ", 0." + std::to_string(random() % 10) + ");";
      case 3: return "  border: 1px solid rgb(" + std::to_string(random() % 256) + "," + std::to_string(random() % 256) +
                     "," + std::to_string(random() % 256) + ");";
      default: return "}";
    }
  }
  switch (random() % 6) {
    case 0: return "  const " + word(random) + std::to_string(random() % 1000) + " = " + word(random) + "(a, b);";
    case 1: return "  // " + word(random) + " " + word(random) + " " + word(random) + " -- see +" + word(random);
    case 2: return "  if (" + word(random) + " > " + std::to_string(random() % 50) + ") return @@x;";
    case 3: return "";
    case 4: return "  std::string " + word(random) + " = \"#" + hex(random, 6 + random() % 3) + "\";";
    default: return "  " + word(random) + "." + word(random) + "(" + std::to_string(random() % 9) + ");";
  }
}

void writeFile(const std::string& path, const std::vector<std::string>& lines, const char* ending, bool lastFeed) {
  std::ofstream out(path, std::ios::binary);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    out << lines[i];
    if (i + 1 < lines.size() || lastFeed) out << ending;
  }
}

}  // namespace

std::string makeGitDiff(unsigned seed, int files, int linesPerFile) {
  char pattern[] = "/tmp/utils-sample-diff-XXXXXX";
  if (mkdtemp(pattern) == nullptr) return std::string();
  const std::string dir = pattern;
  const std::string git = "git -C '" + dir + "' -c user.name=T -c user.email=t@example.com -c commit.gpgsign=false ";
  runCommand(git + "init -q 2>/dev/null && " + git + "config core.autocrlf false");
  std::mt19937 random(seed);
  std::vector<std::vector<std::string>> contents(files);
  for (int round = 0; round < 2; ++round) {
    for (int f = 0; f < files; ++f) {
      const bool styleSheet = f % 3 == 1;
      std::vector<std::string>& lines = contents[f];
      if (round == 0) {
        for (int i = 0; i < linesPerFile; ++i) lines.push_back(makeLine(random, styleSheet));
      } else {
        std::vector<std::string> changed;
        for (const std::string& line : lines) {
          const unsigned roll = random() % 10;
          if (roll == 0) continue;                              // removed
          if (roll == 1) changed.push_back(makeLine(random, styleSheet));  // inserted
          changed.push_back(roll == 2 ? makeLine(random, styleSheet) : line);  // replaced or kept
        }
        lines.swap(changed);
      }
      const std::string name = dir + "/file" + std::to_string(f) + (styleSheet ? ".css" : ".cc");
      writeFile(name, lines, f % 5 == 2 ? "\r\n" : "\n", !(f % 7 == 3 && round == 1));
    }
    runCommand(git + "add -A && " + git + "commit -q -m 'round " + std::to_string(round) + "'");
  }
  std::string diff = runCommand(git + "diff --no-color HEAD~1 HEAD");
  runCommand("rm -rf '" + dir + "'");
  return diff;
}

}  // namespace reference
