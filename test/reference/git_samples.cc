#include "git_samples.h"

#include <stdlib.h>

#include <cstdio>

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

std::string pick(std::mt19937& random, Pick items) { return items.begin()[random() % items.size()]; }

std::string hex(std::mt19937& random, std::size_t digits, const std::string& alphabet) {
  std::string out;
  while (out.size() < digits) out += alphabet[random() % alphabet.size()];
  return out;
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
