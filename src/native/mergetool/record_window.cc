#include "mergetool/record_window.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "convert/utf8_codec.h"

namespace tarnwick {

namespace {

// The most lines a blame record attempt reads from the line it starts in: a header whose blanks
// are all line feeds takes four, and each of the twelve fields two (a keyword whose blank is a
// line feed has its value on the next line), and the boundary and content lines one each.
constexpr std::size_t kBlameLines = 32;
// The most lines holding more than whitespace that a log record attempt reads: three words, the
// subject, the status and the path each on a line of their own, with margin.
constexpr std::size_t kLogLines = 8;

bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace

RecordWindow::RecordWindow(LineFormat format, bool keepContentLines, std::size_t trimFrom)
    : format_(format), keepContentLines_(keepContentLines), trimFrom_(trimFrom) {}

void RecordWindow::append(const char* data, std::size_t size) {
  std::size_t at = text_.size();
  text_.append(data, size);
  for (;;) {
    const void* feed = std::memchr(text_.data() + at, '\n', text_.size() - at);
    if (feed == nullptr) break;
    at = endLine(static_cast<std::size_t>(static_cast<const char*>(feed) - text_.data()));
  }
  if (keptWhole()) shownLineUnits_ += leastUtf16Units(text_.data() + at, text_.size() - at);
  // Each trim reads the line once; trimming again only once it has doubled keeps that linear.
  if (text_.size() - lineStart_ >= std::max(trimFrom_, 2 * trimmedLength_)) trimCurrentLine(text_.size());
}

std::size_t RecordWindow::trimCurrentLine(std::size_t end) {
  const std::size_t begin = std::max(lineStart_, start_);
  trimmedLength_ = end - begin;
  if (keptWhole()) return end;
  const std::string_view line(text_.data() + begin, end - begin);
  const std::string_view standIn = trimStandIn(format_);
  std::string trimmed;
  std::size_t at = 0;
  // The last range kept always reaches the line's end.
  for (const KeptRange& range : keptRanges(format_, line)) {
    if (range.begin > at) trimmed.append(range.begin - at > standIn.size() ? standIn : line.substr(at, range.begin - at));
    trimmed.append(line.substr(range.begin, range.end - range.begin));
    at = range.end;
  }
  text_.replace(begin, end - begin, trimmed);
  trimmedLength_ = trimmed.size();
  return begin + trimmed.size();
}

std::size_t RecordWindow::endLine(std::size_t feed) {
  if (feed - std::max(lineStart_, start_) >= trimFrom_) feed = trimCurrentLine(feed);
  const char* const line = text_.data() + lineStart_;
  const std::size_t length = feed - lineStart_;
  if (format_ == LineFormat::kBlame || !std::all_of(line, line + length, isSpace)) lineEnds_.push_back(feed + 1);
  const bool filename = length >= 8 && std::memcmp(line, "filename", 8) == 0;
  twoAfterFilename_ = previousIsFilename_;
  previousIsFilename_ = filename && length == 8;
  followsFilename_ = filename && length > 8 && isSpace(line[8]);
  lineStart_ = feed + 1;
  trimmedLength_ = 0;
  shownLineUnits_ = 0;
  return lineStart_;
}

bool RecordWindow::keptWhole() const {
  return format_ == LineFormat::kBlame && keepContentLines_ && (followsFilename_ || twoAfterFilename_);
}

std::size_t RecordWindow::decidedBefore(bool atEnd) const {
  if (atEnd) return size();
  const std::size_t needed = format_ == LineFormat::kBlame ? kBlameLines : kLogLines;
  if (lineEnds_.size() < needed) return 0;
  return lineEnds_[lineEnds_.size() - needed] - start_;
}

void RecordWindow::consume(std::size_t position) {
  start_ += position;
  while (!lineEnds_.empty() && lineEnds_.front() <= start_) lineEnds_.pop_front();
  // The bytes before are dropped once they are most of what is held, so that each is moved at most
  // about once.
  if (start_ < 64 * 1024 || start_ < text_.size() / 2) return;
  text_.erase(0, start_);
  // A record of megabytes leaves no room of its size behind for the rest of the output.
  if (text_.capacity() > 4 * text_.size() + 4 * 1024 * 1024) text_.shrink_to_fit();
  for (std::size_t& end : lineEnds_) end -= start_;
  lineStart_ = lineStart_ > start_ ? lineStart_ - start_ : 0;
  start_ = 0;
}

}  // namespace tarnwick
