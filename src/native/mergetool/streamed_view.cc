#include "mergetool/streamed_view.h"

#include <utility>

#include "convert/utf8_codec.h"

namespace tarnwick {

StreamedView::StreamedView(std::unique_ptr<RecordFormat> format, std::size_t longestView, std::size_t trimFrom)
    : window_(std::move(format), trimFrom), longestView_(longestView) {}

bool StreamedView::take(const char* data, std::size_t size) {
  if (tooLong_) return false;
  window_.append(data, size);
  // A line the view would show whole can pass the longest string alone, before its records end.
  if (window_.shownLineUnits() > longestView_) {
    tooLong_ = true;
    std::string().swap(view_);
    return false;
  }
  scan(false);
  return !tooLong_;
}

std::optional<std::string> StreamedView::finish() {
  if (!tooLong_) scan(true);
  if (tooLong_) return std::nullopt;
  return std::move(view_);
}

void StreamedView::scan(bool atEnd) {
  window_.consume(renderRecords(window_.data(), window_.size(), window_.decidedBefore(atEnd)));
  units_ += leastUtf16Units(view_.data() + measured_, view_.size() - measured_);
  measured_ = view_.size();
  if (units_ > longestView_) {
    tooLong_ = true;
    std::string().swap(view_);
  }
}

ViewCall::ViewCall(std::unique_ptr<StreamedView> view, std::vector<std::string> command, std::string repoPath,
                   const std::vector<std::string>& host)
    : GitCall(std::move(repoPath), host), view_(std::move(view)), pieces_(*view_), command_(std::move(command)) {}

}  // namespace tarnwick
