#include "git_samples.h"

#include <stdlib.h>

#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <random>

namespace reference {

std::string runShell(const std::string& command, const std::string& folder) {
  std::string out;
  if (FILE* pipe = popen((folder.empty() ? command : "cd " + shellQuoted(folder) + " && " + command).c_str(), "r")) {
    char buffer[65536];
    for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, got);
    pclose(pipe);
  }
  return out;
}

std::string shellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string makeTempFolder() {
  char name[] = "/tmp/utils-sample-XXXXXX";
  return mkdtemp(name) != nullptr ? name : "";
}

void removeFolder(const std::string& folder) {
  if (folder.rfind("/tmp/utils-sample-", 0) == 0) runShell("rm -rf " + shellQuoted(folder));
}

std::string importPath(const std::string& path) {
  std::string quoted = "\"";
  for (char c : path) quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
  return quoted + "\"";
}

std::string writeFile(const std::string& path, const std::string& content) {
  return "M 100644 inline " + importPath(path) + "\ndata " + std::to_string(content.size()) + "\n" + content + "\n";
}

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

namespace {

using Pick = std::initializer_list<const char*>;

std::string pick(std::mt19937& random, Pick items) { return items.begin()[random() % items.size()]; }

std::string hex(std::mt19937& random, std::size_t digits, const std::string& alphabet = "0123456789abcdef") {
  std::string out;
  while (out.size() < digits) out += alphabet[random() % alphabet.size()];
  return out;
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

std::string makeAdversarialBlame(std::uint32_t seed) {
  std::mt19937 random(seed);
  const Pick blanks = {" ", " ", " ", " ", "\t", "\n", "\r", "", "  ", "\v", "\f", "\x0e"};
  const Pick numbers = {"1", "12", "0", "012", "08", "99999999999999999999999", "", "7a", "3", "9:", "4/"};
  const Pick foreign = {"", "boundary", "boundary x", "previous", "previous abc f", "\tcontent", "author x",
                        "author-mail y", "filename f", "summary s", "abc 1 2", "abc 1 2 3", "zz", "author-time 1",
                        "author-tz 1"};
  const Pick values = {"x", "<jane@example.com>", "1600000000", "", "author-mail x", "a author-mail\tm", "author-mail ",
                       "author-tz +1", "x author-tz", "author-time 5\rauthor-tz 6", "\r", " ", "abc 1 2", "committer z",
                       "a\rb", "\xc3\xa9", "author-mail", "author-tz"};
  // Now and then a long value of those pieces and hexadecimal runs, for the trimming of long lines.
  const auto value = [&] {
    if (random() % 7 == 0) {
      std::string longValue;
      for (int k = 2 + random() % 8; k > 0; --k) longValue += pick(random, values) + pick(random, blanks) + hex(random, random() % 12);
      return longValue;
    }
    return random() % 3 ? pick(random, {"v", "Some Value"}) : pick(random, values);
  };
  std::vector<std::string> lines;
  for (int r = 1 + random() % 5; r > 0; --r) {
    const unsigned shape = random() % 6;
    const std::string id = shape == 0   ? hex(random, 1 + random() % 8)
                           : shape == 1 ? hex(random, 3) + pick(random, {"G", "g", ":", "/", "`"}) + hex(random, 3)
                           : shape == 2 ? "ABCDEF" + hex(random, 4)
                                        : hex(random, 40);
    std::string header = id + pick(random, blanks) + pick(random, numbers) + pick(random, blanks);
    header += pick(random, numbers) + (random() % 2 ? pick(random, blanks) + pick(random, numbers) : "");
    lines.push_back(header);
    for (const char* key : {"author", "author-mail", "author-time", "author-tz", "committer", "committer-mail",
                            "committer-time", "committer-tz", "summary"}) {
      lines.push_back((random() % 25 ? std::string(key) : pick(random, foreign)) + pick(random, blanks) + value());
    }
    if (random() % 3 == 0) lines.push_back("boundary");
    if (random() % 2 == 0) lines.push_back("previous" + pick(random, blanks) + hex(random, 40) + " f");
    lines.push_back("filename" + pick(random, blanks) + (random() % 2 ? "src/a b.txt" : value()));
    lines.push_back(random() % 4 ? "\tline " + std::to_string(r) : value());
  }
  for (int m = random() % 4; m > 0 && !lines.empty(); --m) {  // drop, repeat or insert a foreign line
    const auto at = lines.begin() + random() % lines.size();
    const unsigned how = random() % 3;
    if (how == 0) lines.erase(at);
    else lines.insert(at, how == 1 ? std::string(*at) : pick(random, foreign));
  }
  std::string text;
  for (const std::string& line : lines) {
    text += line + (random() % 3 ? "\n" : pick(random, {"\n", "\r\n", "", "\r", "\n\n"}));
  }
  return text;
}

}  // namespace reference
