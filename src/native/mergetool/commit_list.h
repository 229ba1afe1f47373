#ifndef UTILS_MERGETOOL_COMMIT_LIST_H
#define UTILS_MERGETOOL_COMMIT_LIST_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mergetool/author_date.h"
#include "mergetool/streamed_view.h"

namespace tarnwick {

// Builds the commit list from `git log` output as it arrives (see StreamedView): one <option> per
// commit record (see CommitLogScanner), in order: data-dfp holds the record's path, or `filePath`
// for a rename; data-dlcid the full hash; value the abbreviated hash; the label the abbreviated
// hash, the author date ("%d %b %Y" in local time, empty when the time has no calendar date) and
// the subject, cut to 100 bytes plus "..." when longer. An option whose abbreviated hash equals
// `selectedHash` is marked selected. Every value is HTML-escaped, so a browser reads back
// exactly what git printed.
class CommitOptionsRenderer final : public StreamedView {
 public:
  CommitOptionsRenderer(std::string filePath, std::string selectedHash, std::size_t longestView,
                        std::size_t trimFrom = kTrimLinesFrom);

 private:
  std::size_t renderRecords(const char* log, std::size_t size, std::size_t limit) override;

  std::string filePath_;
  std::string selectedHash_;
  AuthorDateFormatter dates_;
};

// Returns the call that lists the commits of `filePath`, followed across renames, in the
// repository at `repoPath`, newest first, and builds their options as git prints them (see
// ViewCall, CommitOptionsRenderer). Any path reaches git unchanged, and as a path; `host`: the
// host's environment.
std::unique_ptr<ViewCall> commitListCall(const std::string& filePath, const std::string& repoPath,
                                         const std::string& selectedHash, std::size_t longestView,
                                         const std::vector<std::string>& host);

// Returns the options of commitListCall, run to its end: the empty string when git lists nothing
// or nothing may run (a folder that cannot be entered, a repository that cannot be guarded); a
// list of more than `longestView` UTF-16 units gives nothing, git stopped.
std::optional<std::string> mergeToolGetCommitsListDropdown(const std::string& filePath, const std::string& repoPath,
                                                           const std::string& selectedHash, std::size_t longestView);

}  // namespace tarnwick

#endif
