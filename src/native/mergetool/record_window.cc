#include "mergetool/record_window.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "convert/utf8_codec.h"

namespace tarnwick {

RecordWindow::RecordWindow(std::unique_ptr<RecordFormat> format, std::size_t trimFrom)
    : format_(std::move(format)), trimFrom_(trimFrom) {}

void RecordWindow::append(const char* data, std::size_t size) {
  std::size_t at = text_.size();
  text_.append(data, size);
  for (;;) {
    const void* feed = std::memchr(text_.data() + at, '\n', text_.size() - at);
    if (feed == nullptr) break;
    at = endLine(static_cast<std::size_t>(static_cast<const char*>(feed) - text_.data()));
  }
  if (shownWhole_) shownLineUnits_ += leastUtf16Units(text_.data() + at, text_.size() - at);
  // Each trim reads the line once; trimming again only once it has doubled keeps that linear.
  if (text_.size() - lineStart_ >= std::max(trimFrom_, 2 * trimmedLength_)) trimCurrentLine(text_.size());
}

std::size_t RecordWindow::trimCurrentLine(std::size_t end) {
  const std::size_t begin = std::max(lineStart_, start_);
  trimmedLength_ = end - begin;
  if (shownWhole_) return end;
  const std::string_view line(text_.data() + begin, end - begin);
  const std::string_view standIn = format_->standIn();
  std::string trimmed;
  std::size_t at = 0;
  // The last range kept always reaches the line's end.
  for (const TextRange& range : joinedRanges(format_->keptRanges(line))) {
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
  const std::string_view line(text_.data() + lineStart_, feed - lineStart_);
  if (format_->counts(line)) lineEnds_.push_back(feed + 1);
  shownWhole_ = format_->ended(line);
  lineStart_ = feed + 1;
  trimmedLength_ = 0;
  shownLineUnits_ = 0;
  return lineStart_;
}

std::size_t RecordWindow::decidedBefore(bool atEnd) const {
  if (atEnd) return size();
  const std::size_t needed = format_->linesPerAttempt();
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

std::vector<TextRange> joinedRanges(std::vector<TextRange> ranges) {
  std::sort(ranges.begin(), ranges.end(), [](const TextRange& a, const TextRange& b) { return a.begin < b.begin; });
  std::vector<TextRange> joined;
  for (const TextRange& range : ranges) {
    if (range.begin >= range.end) continue;
    if (!joined.empty() && range.begin <= joined.back().end) {
      joined.back().end = std::max(joined.back().end, range.end);
    } else {
      joined.push_back(range);
    }
  }
  return joined;
}

}  // namespace tarnwick
