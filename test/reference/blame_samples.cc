#include "blame_samples.h"

#include <stdlib.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <vector>

namespace reference {

namespace {

template <std::size_t N>
const char* pick(std::mt19937& random, const char* const (&items)[N]) {
  return items[random() % N];
}

std::string hexId(std::mt19937& random, std::size_t length) {
  static const char digits[] = "0123456789abcdef";
  std::string id;
  for (std::size_t i = 0; i < length; ++i) id += digits[random() % 16];
  return id;
}

std::string shellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace

std::string makeAdversarialBlame(std::uint32_t seed) {
  std::mt19937 random(seed);
  const char* const blanks[] = {" ", " ", " ", " ", "\t", "\n", "\r", "", "  ", "\v"};
  const char* const values[] = {"x", "Jane Doe", "<jane@example.com>", "1600000000", "+0000", "",
                                "author-mail x", "a author-mail\tm", "author-mail ", "author-tz +1",
                                "x author-tz", "author-time 5\rauthor-tz 6", "\r", " ", "abc 1 2",
                                "committer z", "a\rb", "\xc3\xa9", "author-mail", "author-tz"};
  const char* const numbers[] = {"1", "12", "0", "012", "08", "99999999999999999999999", "", "7a", "3"};
  const char* const breaks[] = {"\n", "\n", "\n", "\n", "\n", "\r\n", "\r\n", "", "\r", "\n\n"};
  const char* const foreign[] = {"", "boundary", "boundary x", "previous", "previous abc f", "\tcontent",
                                 "author x", "author-mail y", "filename f", "summary s", "abc 1 2",
                                 "abc 1 2 3", "zz", "author-time 1", "author-tz 1"};
  std::vector<std::string> lines;
  const int records = 1 + static_cast<int>(random() % 5);
  for (int r = 0; r < records; ++r) {
    std::string id;
    switch (random() % 6) {
      case 0: id = hexId(random, 1 + random() % 8); break;
      case 1: id = hexId(random, 3) + "G" + hexId(random, 3); break;
      case 2: id = "ABCDEF" + hexId(random, 4); break;
      default: id = hexId(random, 40); break;
    }
    std::string header = id + pick(random, blanks) + pick(random, numbers) + pick(random, blanks) + pick(random, numbers);
    if (random() % 2) header += std::string(pick(random, blanks)) + pick(random, numbers);
    lines.push_back(header);
    const char* const keys[] = {"author", "author-mail", "author-time", "author-tz", "committer",
                                "committer-mail", "committer-time", "committer-tz", "summary"};
    for (const char* key : keys) {
      std::string line = random() % 25 == 0 ? std::string(pick(random, foreign)) : std::string(key);
      line += pick(random, blanks);
      line += random() % 3 == 0 ? pick(random, values) : (random() % 2 ? "v" : "Some Value");
      lines.push_back(line);
    }
    if (random() % 3 == 0) lines.push_back("boundary");
    if (random() % 2 == 0) lines.push_back(std::string("previous") + pick(random, blanks) + hexId(random, 40) + " f");
    lines.push_back(std::string("filename") + pick(random, blanks) + (random() % 2 ? "src/a b.txt" : pick(random, values)));
    lines.push_back(random() % 4 == 0 ? std::string(pick(random, values)) : "\tline " + std::to_string(r));
  }
  // Mutations: drop, repeat, insert a foreign line.
  const int mutations = static_cast<int>(random() % 4);
  for (int m = 0; m < mutations && !lines.empty(); ++m) {
    const std::size_t at = random() % lines.size();
    switch (random() % 3) {
      case 0: lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(at)); break;
      case 1: lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), lines[at]); break;
      default: lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), pick(random, foreign)); break;
    }
  }
  std::string text;
  for (const std::string& line : lines) {
    text += line;
    text += random() % 3 == 0 ? pick(random, breaks) : "\n";
  }
  return text;
}

std::string runShell(const std::string& command) {
  std::string out;
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  if (!pipe) return out;
  char buffer[65536];
  std::size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0) out.append(buffer, got);
  return out;
}

std::string makeTempFolder() {
  char name[] = "/tmp/utils-blame-XXXXXX";
  const char* made = mkdtemp(name);
  return made != nullptr ? std::string(made) : std::string();
}

void removeFolder(const std::string& folder) {
  if (folder.rfind("/tmp/utils-blame-", 0) == 0) runShell("rm -rf " + shellQuote(folder));
}

std::string makeHistoryBlame(const std::string& folder, const std::string& path, int lines, int commits,
                             bool crlf, std::uint32_t seed) {
  std::mt19937 random(seed);
  const char* const authors[] = {"Ann Author <ann@example.com>", "Bo B\xc3\xb6rk <bo@example.com>",
                                 "Chen Wei <chen@example.com>", "Dee <dee@example.com>"};
  const char* const words[] = {"value", "<tag>", "a & b", "render", "\xe4\xbb\xb6\xe6\x95\xb0", "", "    indent",
                               "author x", "abc 1 2", "summary"};
  std::vector<std::string> file;
  for (int i = 0; i < lines; ++i) file.push_back(std::string(words[random() % 10]) + " " + std::to_string(i));
  std::string stream;
  for (int c = 0; c < commits; ++c) {
    if (c > 0) {
      for (int k = 0; k < 1 + lines / 20; ++k) {
        file[random() % file.size()] = std::string(words[random() % 10]) + " c" + std::to_string(c);
      }
    }
    std::string content;
    for (const std::string& line : file) content += line + (crlf ? "\r\n" : "\n");
    const std::string who = authors[random() % 4];
    const std::string when = std::to_string(1600000000 + c * 3600) + " +0000";
    const std::string message = c == 0 ? "first" : "Change " + std::to_string(c) + ": rewrite a few lines";
    stream += "commit refs/heads/main\nmark :" + std::to_string(c + 1) + "\nauthor " + who + " " + when +
              "\ncommitter " + who + " " + when + "\ndata " + std::to_string(message.size()) + "\n" + message + "\n";
    if (c > 0) stream += "from :" + std::to_string(c) + "\n";
    stream += "M 100644 inline " + path + "\ndata " + std::to_string(content.size()) + "\n" + content + "\n";
  }
  std::ofstream(folder + "/stream", std::ios::binary) << stream;
  const std::string git = "git -C " + shellQuote(folder) + " ";
  runShell(git + "init -q -b main . && " + git + "fast-import --quiet < " + shellQuote(folder + "/stream"));
  return runShell(git + "blame --line-porcelain HEAD -- " + shellQuote(path));
}

}  // namespace reference
