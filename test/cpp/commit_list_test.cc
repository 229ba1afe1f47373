#include "mergetool/commit_list.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <string>

#include "command/exec.h"
#include "command/shell_quote.h"
#include "commit_log_reference.h"
#include "mergetool/commit_log_parser.h"
#include "mergetool/html_escape.h"
#include "large_stack.h"

namespace {

const std::string kFull = "3f9c2e1d8a4b7c6e5f0a1b2c3d4e5f6a7b8c9d0e";

std::string option(const std::string& path, const std::string& hash, const std::string& label,
                   bool selected = false) {
  return "<option data-dfp='" + path + "' data-dlcid='" + kFull + "' value='" + hash + "' " +
         (selected ? " selected " : "") + ">" + hash + " " + label + "</option>";
}

// Runs in the UTC time zone (set by the test runner).
TEST(RenderCommitOptions, GoldenTable) {
  struct Golden {
    const char* name;
    std::string log;
    std::string selected;
    std::string expected;
  };
  const std::string header = "3f9c2e1 " + kFull + " 1600000000 ";
  const std::string s100(100, 's');
  const std::string euroAt99 = std::string(99, 's') + "\xe2\x82\xac";  // 102 bytes, cut inside the euro sign
  const Golden table[] = {
      {"nothing printed", "", "", ""},
      {"one commit", header + "Update readme\n\nM\tsrc/a.txt\n", "",
       option("src/a.txt", "3f9c2e1", "13 Sep 2020 Update readme")},
      {"selected", header + "Update readme\n\nM\tsrc/a.txt\n", "3f9c2e1",
       option("src/a.txt", "3f9c2e1", "13 Sep 2020 Update readme", true)},
      {"a prefix selects nothing", header + "u\n\nM\tf\n", "3f9c2e", option("f", "3f9c2e1", "13 Sep 2020 u")},
      {"a longer hash selects nothing", header + "u\n\nM\tf\n", kFull, option("f", "3f9c2e1", "13 Sep 2020 u")},
      {"every equal hash is selected", header + "a\n\nM\tf\n" + header + "b\n\nM\tf\n", "3f9c2e1",
       option("f", "3f9c2e1", "13 Sep 2020 a", true) + option("f", "3f9c2e1", "13 Sep 2020 b", true)},
      {"subject of 100 bytes", header + s100 + "\n\nM\tf\n", "", option("f", "3f9c2e1", "13 Sep 2020 " + s100)},
      {"subject of 101 bytes", header + s100 + "t\n\nM\tf\n", "",
       option("f", "3f9c2e1", "13 Sep 2020 " + s100 + "...")},
      {"cut through a character", header + euroAt99 + "\n\nM\tf\n", "",
       option("f", "3f9c2e1", "13 Sep 2020 " + euroAt99.substr(0, 100) + "...")},
      {"rename takes the path as passed", header + "mv\n\nR100\told\tnew\n", "",
       option("the file's <path>", "3f9c2e1", "13 Sep 2020 mv")},
      {"copy keeps the old path", header + "cp\n\nC075\told\tnew\n", "", option("old", "3f9c2e1", "13 Sep 2020 cp")},
      {"path up to its first space", header + "s\n\nM\tmy file.txt\n", "", option("my", "3f9c2e1", "13 Sep 2020 s")},
      {"carriage return line ends", header + "s\r\n\r\nM\tf\r\n", "", option("f", "3f9c2e1", "13 Sep 2020 s\r")},
      {"no final line feed", header + "s\n\nM\tf", "", ""},
      {"merge without a name-status line", "m " + kFull + " 1600000000 Merge x\nh H 1 fix\n\nM\tf\n", "",
       "<option data-dfp='f' data-dlcid='Merge' value='1600000000' >1600000000 01 Jan 1970 h H 1 fix</option>"},
      {"empty subject", "e E 1600000000 \n\nM\tf\nh H 5 next\n\nA\tg\n", "",
       "<option data-dfp='g' data-dlcid='f' value='M' >M 01 Jan 1970 H 5 next</option>"},
      {"hexadecimal and octal times", "a b 0x10 s\n\nM\tf\nc d 010 t\n\nM\tf\n", "",
       "<option data-dfp='f' data-dlcid='b' value='a' >a 01 Jan 1970 s</option>"
       "<option data-dfp='f' data-dlcid='d' value='c' >c 01 Jan 1970 t</option>"},
      {"a time without a calendar date", "a b 0x7fffffffffffffff s\n\nM\tf\n", "",
       "<option data-dfp='f' data-dlcid='b' value='a' >a  s</option>"},
      {"escaped values", "<a> \"b\" 0 it's & <i>\n\nM\t&'.txt\n", "<a>",
       "<option data-dfp='&amp;&#39;.txt' data-dlcid='&quot;b&quot;' value='&lt;a&gt;'  selected >&lt;a&gt; "
       "01 Jan 1970 it&#39;s &amp; &lt;i&gt;</option>"},
      {"escaping after the cut", header + std::string(99, 's') + "&more\n\nM\tf\n", "",
       option("f", "3f9c2e1", "13 Sep 2020 " + std::string(99, 's') + "&amp;...")},
  };
  for (const Golden& row : table) {
    const std::string path = "the file's <path>";
    const std::string escapedPath = "the file&#39;s &lt;path&gt;";
    std::string expected = row.expected;
    for (std::size_t at; (at = expected.find(path)) != std::string::npos;) expected.replace(at, path.size(), escapedPath);
    EXPECT_EQ(tarnwick::renderCommitOptions(row.log, path, row.selected), expected) << row.name;
    EXPECT_EQ(reference::renderCommitOptions(row.log, path, row.selected), expected) << row.name;
  }
}

// Every length around the eight-byte steps, with the special bytes at every place.
TEST(WriteEscapedHtml, MatchesPlainReplacement) {
  std::mt19937 random(11);
  const std::string alphabet = "a&<>'\"\xc3";
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 40, 'a');
    for (char& c : text) c = alphabet[random() % (random() % 2 ? 1 : alphabet.size())];
    std::string expected;
    for (char c : text) {
      expected += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '\'' ? "&#39;"
                : c == '"' ? "&quot;" : std::string(1, c);
    }
    std::string out(6 * text.size(), '\0');
    out.resize(static_cast<std::size_t>(tarnwick::writeEscapedHtml(&out[0], text.data(), text.size()) - out.data()));
    ASSERT_EQ(out, expected) << text;
  }
}

// A repository in a temporary folder, removed at the end of the test.
class Repository {
 public:
  Repository() {
    char folder[] = "/tmp/utils-commit-list-XXXXXX";
    path_ = mkdtemp(folder);
    run("git init -q -b main && git config core.autocrlf false && git config commit.gpgsign false");
  }
  ~Repository() { run("cd / && rm -rf " + tarnwick::quoteForShell(path_)); }

  // Runs `script` in the repository with a fixed identity; returns its standard output.
  std::string run(const std::string& script) const {
    const std::string command = "cd " + tarnwick::quoteForShell(path_) +
                                " && export GIT_AUTHOR_NAME=A GIT_AUTHOR_EMAIL=a@example.com"
                                " GIT_COMMITTER_NAME=C GIT_COMMITTER_EMAIL=c@example.com GIT_CONFIG_NOSYSTEM=1"
                                " GIT_AUTHOR_DATE='1700000000 +0000' GIT_COMMITTER_DATE='1700000000 +0000' && " +
                                script;
    return tarnwick::exec(command, ".").output;
  }

  // Writes `content` to `file` and commits it with `message`, kept verbatim, at `time`.
  void commit(const std::string& file, const std::string& content, const std::string& message, long time) {
    std::ofstream(path_ + "/" + file, std::ios::binary) << content;
    std::ofstream(path_ + "/.message", std::ios::binary) << message;
    const std::string stamp = std::to_string(time) + " +0000";
    run("git add -- " + tarnwick::quoteForShell(file) + " && GIT_AUTHOR_DATE='" + stamp + "' GIT_COMMITTER_DATE='" +
        stamp + "' git commit -q --allow-empty-message --cleanup=verbatim -F .message");
  }

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// Compares the whole method and the oracle on what git prints for `file`, with git's own line
// ends and with every line end turned into a carriage return and a line feed.
void compareWithReference(const Repository& repo, const std::string& file) {
  const std::string log = repo.run("git log --follow --pretty=\"%h %H %at %s\" --name-status " +
                                   tarnwick::quoteForShell(file));
  ASSERT_GT(log.size(), 1000u);
  reference::runOnBigStack([&] {
    EXPECT_TRUE(tarnwick::parseCommitLog(log) == reference::parseCommitLog(log));
    for (const std::string& hash : {std::string(), log.substr(0, log.find(' '))}) {
      EXPECT_EQ(tarnwick::mergeToolGetCommitsListDropdown(file, repo.path(), hash),
                reference::renderCommitOptions(log, file, hash));
    }
  });
  const std::string withCarriageReturns = repo.run("git log --follow --pretty=\"%h %H %at %s\" --name-status " +
                                                   tarnwick::quoteForShell(file) + " | sed 's/$/\\r/'");
  reference::runOnBigStack([&] {
    EXPECT_EQ(tarnwick::renderCommitOptions(withCarriageReturns, file, ""),
              reference::renderCommitOptions(withCarriageReturns, file, ""));
  });
}

// What git prints for each shape a log can take, through the whole method and through the oracle.
TEST(MergeToolGetCommitsListDropdown, MatchesReferenceOnRealRepositories) {
  Repository repo;
  std::mt19937 random(7);
  const std::string subjects[] = {"plain", "", "with 'quotes' & <tags>", std::string(300, 'x'),
                                  "\xc3\xa9t\xc3\xa9 \xe2\x82\xac", "ends in a carriage return\r", " leading",
                                  "tab\tinside", std::string(99, 'y') + "\xe2\x82\xac"};
  long time = 1500000000;
  std::string file = "first name.txt";
  for (int i = 0; i < 40; ++i) {
    repo.commit(file, std::to_string(random()) + "\nshared body line\nanother shared line\n",
                subjects[random() % (sizeof subjects / sizeof *subjects)], time += 86400 + random() % 100000);
    if (i % 9 == 4) {
      const std::string renamed = i % 2 ? "d\xc3\xa9j\xc3\xa0 vu.txt" : "it's \"odd\" <&>.txt";
      repo.run("git mv -- " + tarnwick::quoteForShell(file) + " " + tarnwick::quoteForShell(renamed) +
               " && git commit -q -m 'rename'");
      file = renamed;
    }
    if (i % 13 == 6) {
      // A branch that changes the file too, merged back: its commit joins the list.
      const std::string quoted = tarnwick::quoteForShell(file);
      repo.run("git checkout -q -b side HEAD~1 && echo side > " + quoted + " && git commit -qam side && "
               "git checkout -q main && { git merge -q --no-edit side >/dev/null 2>&1; echo merged > " + quoted +
               " && git add -- " + quoted + " && git commit -q --no-edit && git branch -q -D side; }");
    }
  }
  for (const char* quotePath : {"true", "false"}) {
    repo.run(std::string("git config core.quotePath ") + quotePath);
    compareWithReference(repo, file);
  }
}

}  // namespace
