#include "mergetool/commit_list.h"

#include <vector>

#include "command/exec.h"
#include "command/shell_quote.h"
#include "command/working_folder.h"
#include "mergetool/author_date.h"
#include "mergetool/commit_log_parser.h"
#include "mergetool/html_escape.h"

namespace tarnwick {

namespace {

constexpr std::size_t kSubjectLimit = 100;

void appendEscaped(std::string& out, const std::string& log, TextRange range) {
  appendEscapedHtml(out, log.data() + range.begin, range.end - range.begin);
}

bool equals(const std::string& log, TextRange range, const std::string& text) {
  return range.end - range.begin == text.size() && log.compare(range.begin, text.size(), text) == 0;
}

}  // namespace

std::string renderCommitOptions(const std::string& log, const std::string& filePath,
                                const std::string& selectedHash) {
  const std::vector<CommitRecord> records = parseCommitLog(log);
  AuthorDateFormatter date;
  std::string out;
  out.reserve(records.size() * 256);  // an option of ordinary hashes, date and subject fits
  for (const CommitRecord& record : records) {
    out += "<option data-dfp='";
    if (log[record.status.begin] == 'R') {
      appendEscapedHtml(out, filePath.data(), filePath.size());
    } else {
      appendEscaped(out, log, record.path);
    }
    out += "' data-dlcid='";
    appendEscaped(out, log, record.fullHash);
    out += "' value='";
    appendEscaped(out, log, record.abbreviatedHash);
    out += "' ";
    if (equals(log, record.abbreviatedHash, selectedHash)) out += " selected ";
    out += '>';
    appendEscaped(out, log, record.abbreviatedHash);
    out += ' ';
    date.append(out, log.data() + record.authorTime.begin, record.authorTime.end - record.authorTime.begin);
    out += ' ';
    TextRange subject = record.subject;
    const bool cut = subject.end - subject.begin > kSubjectLimit;
    if (cut) subject.end = subject.begin + kSubjectLimit;
    appendEscaped(out, log, subject);
    if (cut) out += "...";
    out += "</option>";
  }
  return out;
}

std::string mergeToolGetCommitsListDropdown(const std::string& filePath, const std::string& repoPath,
                                            const std::string& selectedHash) {
  WorkingFolderSwitch folder(repoPath);
  const std::string command =
      "git log --follow --pretty=\"%h %H %at %s\" --name-status " + quoteForShell(filePath);
  const std::string log = exec(command.c_str());
  folder.restore();
  return renderCommitOptions(log, filePath, selectedHash);
}

}  // namespace tarnwick
