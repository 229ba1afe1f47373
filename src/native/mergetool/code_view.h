#ifndef UTILS_MERGETOOL_CODE_VIEW_H
#define UTILS_MERGETOOL_CODE_VIEW_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mergetool/color_delta.h"
#include "mergetool/streamed_view.h"

namespace tarnwick {

// Builds the code view of `git blame --line-porcelain` output as it arrives (see StreamedView):
// one element per blame record, in order, carrying the line number, the commit id and a colour
// made from the id's first six characters (blue set to ff when that colour is too close to
// `baseColor`). A line shows, when `contentText` is not empty, line N of `contentText` (nothing
// past its last line) as the caller's own markup, else its text from git with & < > escaped (a
// repository's file is no markup); an empty text shows as a line feed.
class CodeViewRenderer final : public StreamedView {
 public:
  CodeViewRenderer(std::string baseColor, std::string contentText, std::size_t longestView,
                   std::size_t trimFrom = kTrimLinesFrom);

 private:
  std::size_t renderRecords(const char* blame, std::size_t size, std::size_t limit) override;

  std::string contentText_;
  std::vector<std::string_view> lines_;
  HexColor base_;
  std::string width_;
};

// Returns the call that blames `filePath` as recorded in HEAD of the repository at `repoPath` and
// builds its code view as git prints it (see ViewCall, CodeViewRenderer); `host`: the host's
// environment.
std::unique_ptr<ViewCall> codeViewCall(const std::string& filePath, const std::string& repoPath,
                                       const std::string& baseColor, const std::string& contentText,
                                       std::size_t longestView, const std::vector<std::string>& host);

// Returns the code view of `filePath` as recorded in HEAD of the repository at `repoPath`, built
// while git prints it; the empty string when git prints nothing (not a repository, a file not in
// HEAD) or when nothing may run (a folder that cannot be entered, a repository that cannot be
// guarded); nothing, with git stopped, once it has more than `longestView` UTF-16 units.
std::optional<std::string> mergeToolGetCodeHTML(const std::string& filePath, const std::string& repoPath,
                                                const std::string& baseColor, const std::string& contentText,
                                                std::size_t longestView);

}  // namespace tarnwick

#endif
