#include "mergetool/commit_list.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "command/git_invocation.h"
#include "mergetool/log_format.h"
#include "mergetool/html_escape.h"

namespace tarnwick {

namespace {

std::size_t length(TextRange range) { return range.end - range.begin; }

// Writes options straight into the bytes of `out`, which grows ahead of them (an option's size is
// known to within the six bytes an escaped byte can take), and is cut to what was written when
// the writer goes.
class OptionWriter {
 public:
  OptionWriter(std::string_view log, std::string& out) : log_(log), out_(out), used_(out.size()) {}
  ~OptionWriter() { out_.resize(used_); }
  OptionWriter(const OptionWriter&) = delete;
  OptionWriter& operator=(const OptionWriter&) = delete;

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

 private:
  const std::string_view log_;
  std::string& out_;
  std::size_t used_;
};

bool equals(std::string_view log, TextRange range, const std::string& text) {
  return length(range) == text.size() && log.compare(range.begin, text.size(), text) == 0;
}

}  // namespace

CommitOptionsRenderer::CommitOptionsRenderer(std::string filePath, std::string selectedHash, std::size_t longestView,
                                             std::size_t trimFrom)
    : StreamedView(std::make_unique<LogLines>(), longestView, trimFrom),
      filePath_(std::move(filePath)),
      selectedHash_(std::move(selectedHash)) {}

std::size_t CommitOptionsRenderer::renderRecords(const char* text, std::size_t size, std::size_t limit) {
  const std::string_view log(text, size);
  OptionWriter out(log, view());
  CommitLogScanner scanner(text, size, limit);
  CommitRecord record;
  while (scanner.next(record)) {
    const bool renamed = log[record.status.begin] == 'R';
    const bool cut = length(record.subject) > kSubjectShown;
    const TextRange subject = {record.subject.begin, cut ? record.subject.begin + kSubjectShown : record.subject.end};
    const std::string& date = dates_.format(log.data() + record.authorTime.begin, length(record.authorTime));
    const std::size_t values = (renamed ? filePath_.size() : length(record.path)) + length(record.fullHash) +
                               2 * length(record.abbreviatedHash) + length(subject);
    out.reserve(128 + date.size() + 6 * values);
    out.literal("<option data-dfp='");
    if (renamed) {
      out.escaped(filePath_.data(), filePath_.size());
    } else {
      out.escaped(record.path);
    }
    out.literal("' data-dlcid='");
    out.escaped(record.fullHash);
    out.literal("' value='");
    out.escaped(record.abbreviatedHash);
    out.literal("' ");
    if (equals(log, record.abbreviatedHash, selectedHash_)) out.literal(" selected ");
    out.literal(">");
    out.escaped(record.abbreviatedHash);
    out.literal(" ");
    out.escaped(date.data(), date.size());
    out.literal(" ");
    out.escaped(subject);
    if (cut) out.literal("...");
    out.literal("</option>");
  }
  return scanner.resumeAt();
}

std::unique_ptr<ViewCall> commitListCall(const std::string& filePath, const std::string& repoPath,
                                         const std::string& selectedHash, std::size_t longestView,
                                         const std::vector<std::string>& host) {
  // The path after "--" whatever it is (a file deleted from the work tree, or named like a tag or
  // an option), and the names git prints unquoted, whatever the user's core.quotePath.
  return std::make_unique<ViewCall>(
      std::make_unique<CommitOptionsRenderer>(filePath, selectedHash, longestView),
      std::vector<std::string>{"-c", "core.quotePath=false", "log", "--no-ext-diff", "--no-color", "--follow",
                               "--pretty=%h %H %at %s", "--name-status", "--", filePath},
      repoPath, host);
}

std::optional<std::string> mergeToolGetCommitsListDropdown(const std::string& filePath, const std::string& repoPath,
                                                           const std::string& selectedHash, std::size_t longestView) {
  const std::unique_ptr<ViewCall> call = commitListCall(filePath, repoPath, selectedHash, longestView, hostEnvironment());
  runGitCall(*call, repoPath);
  return call->finish();
}

}  // namespace tarnwick
