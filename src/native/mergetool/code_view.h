#ifndef UTILS_MERGETOOL_CODE_VIEW_H
#define UTILS_MERGETOOL_CODE_VIEW_H

#include <cstddef>
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
// `baseColor`). A line shows its text from git, or, when `contentText` is not empty, line N of
// `contentText` (nothing past its last line); an empty text shows as a line feed. Nothing is
// escaped.
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

// Returns the code view of a whole blame output.
std::string renderCodeView(const std::string& blame, const std::string& baseColor, const std::string& contentText);

// Returns the words after "git" of the command that blames `filePath` as recorded in HEAD, in the
// form renderCodeView reads, guarded by `driverSettings` (see guardedGitArguments: blame reads
// the file through textconv and filter drivers); empty when it cannot be guarded.
std::vector<std::string> blameArguments(const std::string& filePath, const std::string& driverSettings);

// Returns the code view of `filePath` as recorded in HEAD of the repository at `repoPath`, built
// while git prints it; the empty string when git prints nothing (not a repository, a file not in
// HEAD) or when the folder cannot be entered or the run cannot be guarded (nothing runs then);
// nothing, with git stopped, once it has more than `longestView` UTF-16 units.
std::optional<std::string> mergeToolGetCodeHTML(const std::string& filePath, const std::string& repoPath,
                                                const std::string& baseColor, const std::string& contentText,
                                                std::size_t longestView);

}  // namespace tarnwick

#endif
