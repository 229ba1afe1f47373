#include "commit_log_reference.h"

#include <cstdlib>
#include <ctime>
#include <regex>

namespace reference {

namespace {

// The pattern text holds real line feeds and carriage returns; \s is the engine's own escape.
const char kPattern[] =
    "([^\\s]+)\\s([^\\s]+)\\s([^\\s]+)\\s([^\n]+)\r?\n\r?\n([^\\s]+)\\s+([^\\s]+)([^\n]+)?\n";
static_assert(sizeof kPattern - 1 == 71, "the log pattern is 71 characters long");

tarnwick::TextRange range(const std::string& log, const std::ssub_match& group) {
  return {static_cast<std::size_t>(group.first - log.begin()),
          static_cast<std::size_t>(group.second - log.begin())};
}

std::string escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '&') out += "&amp;";
    else if (c == '<') out += "&lt;";
    else if (c == '>') out += "&gt;";
    else if (c == '\'') out += "&#39;";
    else if (c == '"') out += "&quot;";
    else out += c;
  }
  return out;
}

}  // namespace

std::vector<tarnwick::CommitRecord> parseCommitLog(const std::string& log) {
  static const std::regex pattern(kPattern, std::regex::ECMAScript);
  std::vector<tarnwick::CommitRecord> records;
  for (std::sregex_iterator it(log.begin(), log.end(), pattern), end; it != end; ++it) {
    const std::smatch& match = *it;
    tarnwick::CommitRecord record;
    record.record = range(log, match[0]);
    record.abbreviatedHash = range(log, match[1]);
    record.fullHash = range(log, match[2]);
    record.authorTime = range(log, match[3]);
    record.subject = range(log, match[4]);
    record.status = range(log, match[5]);
    record.path = range(log, match[6]);
    records.push_back(record);
  }
  return records;
}

std::string renderCommitOptions(const std::string& log, const std::string& filePath,
                                const std::string& selectedHash) {
  std::string result;
  for (const tarnwick::CommitRecord& record : parseCommitLog(log)) {
    auto group = [&](tarnwick::TextRange r) { return log.substr(r.begin, r.end - r.begin); };
    const std::string hash = group(record.abbreviatedHash);
    const std::string time = group(record.authorTime);
    const std::time_t seconds = std::strtoul(time.c_str(), nullptr, 0);
    char buffer[20];
    std::string date;
    if (const std::tm* local = std::localtime(&seconds)) {
      const std::size_t length = std::strftime(buffer, sizeof buffer, "%d %b %Y", local);
      if (length != 0) date = buffer;
    }
    std::string subject = group(record.subject);
    if (subject.size() >= 101) subject = escape(subject.substr(0, 100)) + "...";
    else subject = escape(subject);
    const std::string status = group(record.status);
    const std::string path = status[0] == 'R' ? filePath : group(record.path);
    result += "<option data-dfp='" + escape(path) + "' data-dlcid='" + escape(group(record.fullHash)) +
              "' value='" + escape(hash) + "' " + (hash == selectedHash ? " selected " : "") + ">" +
              escape(hash) + " " + escape(date) + " " + subject + "</option>";
  }
  return result;
}

}  // namespace reference
