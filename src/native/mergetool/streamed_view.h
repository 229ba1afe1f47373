#ifndef UTILS_MERGETOOL_STREAMED_VIEW_H
#define UTILS_MERGETOOL_STREAMED_VIEW_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "command/git_call.h"
#include "command/output_pieces.h"
#include "mergetool/record_window.h"

namespace tarnwick {

// Lines of git's output from this length on are trimmed while they are held (see RecordWindow).
constexpr std::size_t kTrimLinesFrom = 64 * 1024;

// A view built from git's output as it arrives: each record is rendered once it is decided and
// its text dropped, so that what is held is the view so far and about one record of output.
// Once the view has more characters than the longest string the host can make, it stops.
class StreamedView : public OutputSink {
 public:
  // Takes the next piece of git's output; returns false once the view is too long.
  bool take(const char* data, std::size_t size) final;

  // Returns the view once git's output has ended, or nothing when it is too long for a string.
  std::optional<std::string> finish();

 protected:
  // `format`: how git's lines are held; `longestView`: the host's longest string, in UTF-16 units.
  StreamedView(std::unique_ptr<RecordFormat> format, std::size_t longestView, std::size_t trimFrom);

  // Renders every record that starts before `limit` in the `size` bytes at `text`, appending to
  // view(), and returns where the search for the next record goes on.
  virtual std::size_t renderRecords(const char* text, std::size_t size, std::size_t limit) = 0;

  std::string& view() { return view_; }

 private:
  void scan(bool atEnd);

  RecordWindow window_;
  const std::size_t longestView_;
  std::size_t measured_ = 0;  // the view's bytes counted so far
  std::size_t units_ = 0;     // the fewest UTF-16 units those bytes decode to
  bool tooLong_ = false;
  std::string view_;
};

// A method call whose command's output builds a view (see GitCall): the output goes to the view
// as it arrives, in the pieces that fgets reads would have kept.
class ViewCall final : public GitCall {
 public:
  ViewCall(std::unique_ptr<StreamedView> view, std::vector<std::string> command, std::string repoPath,
           const std::vector<std::string>& host);

  // Returns the view once the call is decided ("" when its command did not run), or nothing when
  // it is too long for a string.
  std::optional<std::string> finish() { return view_->finish(); }

 private:
  std::vector<std::string> commandWords() const override { return command_; }
  bool takeCommandOutput(const char* data, std::size_t size) override { return pieces_.take(data, size); }

  std::unique_ptr<StreamedView> view_;
  FgetsPieces pieces_;
  std::vector<std::string> command_;
};

}  // namespace tarnwick

#endif
