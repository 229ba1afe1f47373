#ifndef UTILS_MERGETOOL_RECORD_WINDOW_H
#define UTILS_MERGETOOL_RECORD_WINDOW_H

#include <cstddef>
#include <deque>
#include <string>

#include "mergetool/line_trim.h"

namespace tarnwick {

// Git's output as a record parser reads it while it arrives: held from the first byte that a
// record attempt may still read to the last byte received, so that what is held is bounded by a
// record, not by the output. A line that grows past `trimFrom` bytes has its middle replaced as
// keptRanges allows. A record attempt never reads more than a fixed number of lines from its
// start (blame), or of lines holding more than whitespace (the log, whose name-status gap may
// span blank lines), so one that starts before decidedBefore() is decided by the text held.
class RecordWindow {
 public:
  // `keepContentLines`: blame lines that may be a record's content line are never trimmed (the
  // view shows them).
  RecordWindow(LineFormat format, bool keepContentLines, std::size_t trimFrom);

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
  // that the view may show whole (a blame content line kept untrimmed), else 0.
  std::size_t shownLineUnits() const { return shownLineUnits_; }

 private:
  // Counts the line whose feed is at `feed` once it is trimmed, and returns where the next begins.
  std::size_t endLine(std::size_t feed);
  // Returns whether the line being received may be a content line that the view shows whole.
  bool keptWhole() const;
  // Trims the line being received, which ends at `end`; returns where it now ends.
  std::size_t trimCurrentLine(std::size_t end);

  const LineFormat format_;
  const bool keepContentLines_;
  const std::size_t trimFrom_;
  std::string text_;
  std::size_t start_ = 0;                // the first byte held
  std::size_t lineStart_ = 0;            // where the line being received starts in text_
  std::size_t trimmedLength_ = 0;        // its length after it was last trimmed
  std::size_t shownLineUnits_ = 0;       // see shownLineUnits()
  std::deque<std::size_t> lineEnds_;     // in text_: after the line feed of each counted line
  bool previousIsFilename_ = false;      // the last line was "filename" alone
  bool followsFilename_ = false;         // the last line began with "filename" and a blank
  bool twoAfterFilename_ = false;        // the line before the last was "filename" alone
};

}  // namespace tarnwick

#endif
