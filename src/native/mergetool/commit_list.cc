#include "mergetool/commit_list.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "command/git_invocation.h"
#include "command/path_operand.h"
#include "mergetool/author_date.h"
#include "mergetool/commit_log_parser.h"
#include "mergetool/html_escape.h"

namespace tarnwick {

namespace {

constexpr std::size_t kSubjectLimit = 100;

std::size_t length(TextRange range) { return range.end - range.begin; }

// Writes the result straight into the bytes of a string that grows ahead of it: an option's
// size is known to within the six bytes an escaped byte can take.
class OptionWriter {
 public:
  explicit OptionWriter(const std::string& log) : log_(log) {}

  // Makes room for `bytes` more bytes.
  void reserve(std::size_t bytes) {
    if (out_.size() - used_ < bytes) out_.resize(std::max(out_.size() * 2, used_ + bytes));
  }

  template <std::size_t N>
  void literal(const char (&text)[N]) {
    std::memcpy(&out_[used_], text, N - 1);
    used_ += N - 1;
  }

  void escaped(const char* text, std::size_t size) {
    used_ = static_cast<std::size_t>(writeEscapedHtml(&out_[used_], text, size) - out_.data());
  }

  void escaped(TextRange range) { escaped(log_.data() + range.begin, length(range)); }

  std::string finish() {
    out_.resize(used_);
    return std::move(out_);
  }

 private:
  const std::string& log_;
  std::string out_;
  std::size_t used_ = 0;
};

bool equals(const std::string& log, TextRange range, const std::string& text) {
  return length(range) == text.size() && log.compare(range.begin, text.size(), text) == 0;
}

}  // namespace

std::string renderCommitOptions(const std::string& log, const std::string& filePath,
                                const std::string& selectedHash) {
  AuthorDateFormatter dates;
  OptionWriter out(log);
  for (const CommitRecord& record : parseCommitLog(log)) {
    const bool renamed = log[record.status.begin] == 'R';
    const bool cut = length(record.subject) > kSubjectLimit;
    const TextRange subject = {record.subject.begin, cut ? record.subject.begin + kSubjectLimit : record.subject.end};
    const std::string& date = dates.format(log.data() + record.authorTime.begin, length(record.authorTime));
    const std::size_t values = (renamed ? filePath.size() : length(record.path)) + length(record.fullHash) +
                               2 * length(record.abbreviatedHash) + length(subject);
    out.reserve(128 + date.size() + 6 * values);
    out.literal("<option data-dfp='");
    if (renamed) {
      out.escaped(filePath.data(), filePath.size());
    } else {
      out.escaped(record.path);
    }
    out.literal("' data-dlcid='");
    out.escaped(record.fullHash);
    out.literal("' value='");
    out.escaped(record.abbreviatedHash);
    out.literal("' ");
    if (equals(log, record.abbreviatedHash, selectedHash)) out.literal(" selected ");
    out.literal(">");
    out.escaped(record.abbreviatedHash);
    out.literal(" ");
    out.escaped(date.data(), date.size());
    out.literal(" ");
    out.escaped(subject);
    if (cut) out.literal("...");
    out.literal("</option>");
  }
  return out.finish();
}

std::vector<std::string> commitLogArguments(const std::string& filePath) {
  std::vector<std::string> words = {"log", "--no-ext-diff", "--no-color", "--follow", "--pretty=%h %H %at %s",
                                    "--name-status"};
  appendPathOperand(words, filePath);
  return guardedGitArguments("", words);
}

std::string mergeToolGetCommitsListDropdown(const std::string& filePath, const std::string& repoPath,
                                            const std::string& selectedHash) {
  const std::string log = runGit(gitCommandLine(commitLogArguments(filePath)), repoPath, ExecOptions()).output;
  return renderCommitOptions(log, filePath, selectedHash);
}

}  // namespace tarnwick
