#include "commit_log_reference.h"

#include <cstdlib>
#include <ctime>
#include <regex>
#include <vector>

#include "mergetool/log_format.h"

namespace reference {

std::string escapeHtml(const std::string& text) {
  std::string out;
  for (char c : text) {
    out += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '\'' ? "&#39;"
           : c == '"' ? "&quot;" : std::string(1, c);
  }
  return out;
}

namespace {

std::vector<tarnwick::CommitRecord> parseCommitLog(const std::string& log) {
  // The pattern text holds real line feeds and carriage returns; \s is the engine's own escape.
  static const char kPattern[] =
      "([^\\s]+)\\s([^\\s]+)\\s([^\\s]+)\\s([^\n]+)\r?\n\r?\n([^\\s]+)\\s+([^\\s]+)([^\n]+)?\n";
  static_assert(sizeof kPattern - 1 == 71, "the log pattern is 71 characters long");
  static const std::regex pattern(kPattern, std::regex::ECMAScript);
  std::vector<tarnwick::CommitRecord> records;
  for (std::sregex_iterator it(log.begin(), log.end(), pattern), end; it != end; ++it) {
    const auto range = [&](int group) {
      return tarnwick::TextRange{static_cast<std::size_t>((*it)[group].first - log.begin()),
                                 static_cast<std::size_t>((*it)[group].second - log.begin())};
    };
    tarnwick::CommitRecord record;
    record.record = range(0);
    record.abbreviatedHash = range(1);
    record.fullHash = range(2);
    record.authorTime = range(3);
    record.subject = range(4);
    record.status = range(5);
    record.path = range(6);
    records.push_back(record);
  }
  return records;
}

}  // namespace

std::string renderCommitOptions(const std::string& log, const std::string& filePath, const std::string& selectedHash) {
  std::string result;
  for (const tarnwick::CommitRecord& record : parseCommitLog(log)) {
    const auto group = [&](tarnwick::TextRange r) { return log.substr(r.begin, r.end - r.begin); };
    const std::string hash = group(record.abbreviatedHash), subject = group(record.subject);
    const std::time_t seconds = std::strtoul(group(record.authorTime).c_str(), nullptr, 0);
    char buffer[20];
    std::string date;
    const std::tm* local = std::localtime(&seconds);
    if (local != nullptr) date.assign(buffer, std::strftime(buffer, sizeof buffer, "%d %b %Y", local));
    const std::string path = group(record.status)[0] == 'R' ? filePath : group(record.path);
    result += "<option data-dfp='" + escapeHtml(path) + "' data-dlcid='" + escapeHtml(group(record.fullHash)) +
              "' value='" + escapeHtml(hash) + "' " + (hash == selectedHash ? " selected " : "") + ">" +
              escapeHtml(hash) + " " + date + " " +
              (subject.size() >= 101 ? escapeHtml(subject.substr(0, 100)) + "..." : escapeHtml(subject)) + "</option>";
  }
  return result;
}

}  // namespace reference
