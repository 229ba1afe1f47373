#include "changed_words_reference.h"

#include <algorithm>
#include <cctype>

namespace reference {

using tarnwick::LineRange;

namespace {

int classOf(unsigned char c) { return std::isalnum(c) || c == '_' || c >= 0x80 ? 1 : c == ' ' || c == '\t' ? 2 : 0; }

}  // namespace

std::vector<LineRange> tokensOf(const std::string& line, const std::vector<LineRange>& wholes) {
  std::vector<LineRange> tokens;
  auto whole = wholes.begin();
  for (std::size_t at = 0, size = line.size() - (!line.empty() && line.back() == '\r'); at < size;) {
    const std::size_t limit = whole != wholes.end() ? whole->begin : size;
    std::size_t end = at + 1, semi = line[at] == '&' ? line.find(';', at) : limit;
    const auto name = [](char c) { return c == '#' || (classOf(c) == 1 && c > 0 && c != '_'); };
    if (at == limit) end = whole++->end;
    else if (classOf(line[at]) != 0) while (end < limit && classOf(line[end]) == classOf(line[at])) ++end;
    else if (semi < limit && semi - at >= 2 && semi - at <= 33 && std::all_of(&line[at + 1], &line[semi], name)) end = semi + 1;
    tokens.push_back({at, end});
    at = end;
  }
  return tokens;
}

namespace {

std::size_t longestCommon(const std::vector<std::string>& a, const std::vector<std::string>& b) {
  std::vector<std::size_t> last(b.size() + 1), row(b.size() + 1);
  for (const std::string& token : a) {
    for (std::size_t j = 0; j < b.size(); ++j) row[j + 1] = token == b[j] ? last[j] + 1 : std::max(last[j + 1], row[j]);
    std::swap(last, row);
  }
  return last.back();
}

// Checks one block: its lines without their signs, `removed` of them removed.
std::string checkBlock(tarnwick::ChangedWords& words, const std::vector<std::string>& lines, std::size_t removed) {
  std::vector<std::vector<LineRange>> wholes;
  words.clear();
  for (const std::string& line : lines) wholes.push_back(colourCodes(line));
  for (std::size_t l = 0; l < lines.size(); ++l) words.addLine(l >= removed, lines[l].data(), lines[l].size(), wholes[l].data(), wholes[l].size());
  const bool marked = words.match();
  std::vector<std::string> tokens[2], unmarked[2];
  std::size_t marks = 0;
  for (std::size_t l = 0; l < lines.size(); ++l) {
    std::vector<char> inMark(lines[l].size() + 1);
    for (const LineRange& mark : words.marks(l)) {
      if (mark.end > lines[l].size()) return "a mark past its line";
      std::fill(&inMark[mark.begin], &inMark[mark.end], 1);
    }
    std::vector<LineRange> runs;
    for (const LineRange& token : tokensOf(lines[l], wholes[l])) {
      const std::string text = lines[l].substr(token.begin, token.end - token.begin);
      if (std::count(&inMark[token.begin], &inMark[token.end], 1) % text.size()) return "a mark splits " + text;
      tokens[l >= removed].push_back(text);
      if (!inMark[token.begin]) unmarked[l >= removed].push_back(text);
      else if (!runs.empty() && runs.back().end == token.begin) runs.back().end = token.end;
      else runs.push_back(token);
    }
    const auto made = words.marks(l);
    if (!std::equal(runs.begin(), runs.end(), made.begin(), made.end(), [](LineRange a, LineRange b) {
          return a.begin == b.begin && a.end == b.end;
        })) {
      return "marks that are not one range a run of marked tokens";
    }
    marks += runs.size();
  }
  const std::size_t units = lines.size() + tokens[0].size() + tokens[1].size();
  const std::size_t common = longestCommon(tokens[0], tokens[1]);
  const bool expected = units <= tarnwick::kChangedWordsBound && removed > 0 && removed < lines.size() &&
                        2 * common >= std::max(tokens[0].size(), tokens[1].size());
  if (!expected) return marks == 0 && !marked ? "" : "marks in a block that gets none";
  if (marked != (marks > 0)) return "match() says otherwise";
  if (unmarked[0] != unmarked[1]) return "the unmarked tokens differ";
  return unmarked[0].size() == common ? "" : "unmarked tokens fewer than the longest: " + std::to_string(common);
}

}  // namespace

std::vector<LineRange> colourCodes(const std::string& line) {
  std::vector<LineRange> codes;
  for (std::size_t at = line.find('#'); at != std::string::npos; at = line.find('#', at + 1)) {
    std::size_t end = at + 1;
    while (end < line.size() && end - at <= 8 && std::isxdigit(static_cast<unsigned char>(line[end]))) ++end;
    if (end - at < 7) continue;
    codes.push_back({at, end});
    at = end - 1;
  }
  return codes;
}

std::string checkChangedWords(tarnwick::ChangedWords& words, const std::string& diff) {
  std::vector<std::string> lines;
  for (std::size_t at = 0, end; at <= diff.size(); at = end + 1) {
    end = std::min(diff.find('\n', at), diff.size());
    lines.push_back(diff.substr(at, end - at));
  }
  for (std::size_t l = 0; l < lines.size();) {
    std::vector<std::string> block;
    std::size_t removed = 0;
    for (const char sign : {'-', '+'}) {
      for (; l < lines.size() && !lines[l].empty() && lines[l][0] == sign; ++l) block.push_back(lines[l].substr(1));
      if (sign == '-') removed = block.size();
    }
    if (block.empty()) ++l;
    const std::string wrong = block.empty() ? "" : checkBlock(words, block, removed);
    if (!wrong.empty()) return wrong + " in the block ending at line " + std::to_string(l);
  }
  return "";
}

}  // namespace reference
