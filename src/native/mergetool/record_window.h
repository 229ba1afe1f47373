#ifndef UTILS_MERGETOOL_RECORD_WINDOW_H
#define UTILS_MERGETOOL_RECORD_WINDOW_H

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "convert/text_range.h"

namespace tarnwick {

// What a git format (blame_format.h, log_format.h) tells the window about its lines.
class RecordFormat {
 public:
  virtual ~RecordFormat() = default;
  // Returns the most counted lines a record attempt reads from the line it starts in.
  virtual std::size_t linesPerAttempt() const = 0;
  // Returns whether `line` (without its line feed) is counted.
  virtual bool counts(std::string_view line) const = 0;
  // Returns the ranges of `line` (or what has arrived of it, trimmed alike) that a record may
  // still read, in any order: a gap between them can be replaced by standIn() and every record
  // found, and every value the view takes from it, stays the same.
  virtual std::vector<TextRange> keptRanges(std::string_view line) const = 0;
  virtual std::string_view standIn() const = 0;
  // Takes note of `line`, which has ended; returns whether the line after it may be one that the
  // view shows whole, and so must not be trimmed.
  virtual bool ended(std::string_view line) = 0;
};

// Git's output as a record parser reads it while it arrives: held from the first byte that a
// record attempt may still read to the last byte received, so that what is held is bounded by a
// record, not by the output. A line that grows past `trimFrom` bytes has its middle replaced as
// the format's kept ranges allow. A record attempt never reads more than the format's counted
// lines from its start, so one that starts before decidedBefore() is decided by the text held.
class RecordWindow {
 public:
  RecordWindow(std::unique_ptr<RecordFormat> format, std::size_t trimFrom);

  // Appends output as it arrives.
  void append(const char* data, std::size_t size);

  const char* data() const { return text_.data() + start_; }
  std::size_t size() const { return text_.size() - start_; }

  // Returns the position before which every record attempt is decided by the text held: all of
  // it once the output has ended (`atEnd`).
  std::size_t decidedBefore(bool atEnd) const;

  // Drops the text before `position`, which no attempt will read again.
  void consume(std::size_t position);

  // Returns the fewest UTF-16 units that the line being received decodes to, when it is a line
  // that the view may show whole, else 0.
  std::size_t shownLineUnits() const { return shownLineUnits_; }

 private:
  // Counts the line whose feed is at `feed` once it is trimmed, and returns where the next begins.
  std::size_t endLine(std::size_t feed);
  // Trims the line being received, which ends at `end`; returns where it now ends.
  std::size_t trimCurrentLine(std::size_t end);

  const std::unique_ptr<RecordFormat> format_;
  const std::size_t trimFrom_;
  std::string text_;
  std::size_t start_ = 0;             // the first byte held
  std::size_t lineStart_ = 0;         // where the line being received starts in text_
  std::size_t trimmedLength_ = 0;     // its length after it was last trimmed
  std::size_t shownLineUnits_ = 0;    // see shownLineUnits()
  bool shownWhole_ = false;           // the line being received may be shown whole
  std::deque<std::size_t> lineEnds_;  // in text_: after the line feed of each counted line
};

// Returns `ranges` sorted by their start, overlapping and touching ones joined, empty ones left out.
std::vector<TextRange> joinedRanges(std::vector<TextRange> ranges);

}  // namespace tarnwick

#endif
