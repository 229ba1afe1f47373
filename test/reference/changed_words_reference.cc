#include "changed_words_reference.h"

#include <algorithm>
#include <cctype>

namespace reference {

using tarnwick::TextRange;

namespace {

int classOf(unsigned char c) {
  return std::isalnum(c) || c == '_' || c >= 0x80 ? 1 : c == ' ' || c == '\t' ? 2 : 0;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines(1);
  for (char c : text) c == '\n' ? static_cast<void>(lines.emplace_back()) : lines.back().push_back(c);
  return lines;
}

// Matches a block's lines (signs included) with `words`, each line's colour codes kept whole after
// a range past the line, which is ignored. Returns match()'s answer.
bool run(tarnwick::ChangedWords& words, const std::vector<std::string>& lines) {
  words.clear();
  for (const std::string& line : lines) {
    std::vector<TextRange> wholes = colourCodes(line.substr(1));
    wholes.insert(wholes.begin(), {0, line.size()});
    words.addLine(line[0] == '+', &line[1], line.size() - 1, wholes.data(), wholes.size());
  }
  return words.match();
}

std::string checkBlock(tarnwick::ChangedWords& words, const std::vector<std::string>& lines) {
  const bool marked = run(words, lines);
  std::vector<std::string> tokens[2], unmarked[2];
  std::size_t marks = 0;
  for (std::size_t l = 0; l < lines.size(); ++l) {
    const std::string line = lines[l].substr(1);
    const bool added = lines[l][0] == '+';
    const tarnwick::ChangedWords::Marks made = words.marks(l);
    std::vector<TextRange> runs;  // production's marks, if one range a run of tokens it left out
    for (const TextRange& token : tokensOf(line, colourCodes(line))) {
      tokens[added].push_back(line.substr(token.begin, token.end - token.begin));
      const auto covers = [&](TextRange mark) { return mark.begin <= token.begin && token.begin < mark.end; };
      if (std::none_of(made.begin(), made.end(), covers)) unmarked[added].push_back(tokens[added].back());
      else if (!runs.empty() && runs.back().end == token.begin) runs.back().end = token.end;
      else runs.push_back(token);
    }
    const auto same = [](TextRange a, TextRange b) { return a.begin == b.begin && a.end == b.end; };
    if (!std::equal(runs.begin(), runs.end(), made.begin(), made.end(), same)) return "marks apart from tokens";
    marks += runs.size();
  }
  std::vector<std::size_t> last(tokens[1].size() + 1), row(last);  // the quadratic table, a row at a time
  for (const std::string& token : tokens[0]) {
    for (std::size_t j = 0; j < tokens[1].size(); ++j) {
      row[j + 1] = token == tokens[1][j] ? last[j] + 1 : std::max(last[j + 1], row[j]);
    }
    std::swap(last, row);
  }
  const bool expected = lines.size() + tokens[0].size() + tokens[1].size() <= tarnwick::kChangedWordsBound &&
                        lines.front()[0] == '-' && lines.back()[0] == '+' &&
                        2 * last.back() >= std::max(tokens[0].size(), tokens[1].size());
  if (!expected) return marks > 0 || marked ? "marks where none belong" : "";
  if (marked != (marks > 0) || unmarked[0] != unmarked[1]) return "the unmarked tokens differ";
  return unmarked[0].size() == last.back() ? "" : "fewer unmarked tokens than the longest subsequence";
}

}  // namespace

std::vector<TextRange> colourCodes(const std::string& line) {
  std::vector<TextRange> codes;
  for (std::size_t at = line.find('#'); at != std::string::npos; at = line.find('#', at + 1)) {
    std::size_t end = at + 1;
    while (end < line.size() && end - at <= 8 && std::isxdigit(static_cast<unsigned char>(line[end]))) ++end;
    if (end - at >= 7) codes.push_back({at, end}), at = end - 1;
  }
  return codes;
}

std::vector<TextRange> tokensOf(const std::string& line, const std::vector<TextRange>& wholes) {
  std::vector<TextRange> tokens;
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

std::string bracketed(tarnwick::ChangedWords& words, const std::string& block) {
  std::vector<std::string> lines = linesOf(block);
  run(words, lines);
  std::string out;
  for (std::size_t l = 0; l < lines.size(); ++l) {
    for (auto mark = words.marks(l).end(); mark != words.marks(l).begin(); --mark) {
      lines[l].insert(mark[-1].end + 1, "]").insert(mark[-1].begin + 1, "[");
    }
    out += (l > 0 ? "\n" : "") + lines[l];
  }
  return out;
}

std::string checkChangedWords(tarnwick::ChangedWords& words, const std::string& diff) {
  std::vector<std::string> block;
  for (const std::string& line : linesOf(diff + "\n")) {  // the empty line at the end closes the last block
    const char sign = line.empty() ? ' ' : line[0];
    if (!block.empty() && ((sign != '-' && sign != '+') || (sign == '-' && block.back()[0] == '+'))) {
      const std::string wrong = checkBlock(words, block);
      if (!wrong.empty()) return wrong + " in the block starting " + block.front();
      block.clear();
    }
    if (sign == '-' || sign == '+') block.push_back(line);
  }
  return "";
}

}  // namespace reference
