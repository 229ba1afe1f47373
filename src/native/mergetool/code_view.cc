#include "mergetool/code_view.h"

#include <charconv>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "command/git_invocation.h"
#include "command/split.h"
#include "mergetool/html_escape.h"
#include "mergetool/blame_format.h"

namespace tarnwick {

namespace {

// Returns what strtoul with base 0 makes of a run of decimal digits: octal after a leading zero
// (stopping at an 8 or 9), ULONG_MAX when the value does not fit.
unsigned long readLineNumber(std::string_view digits) {
  const unsigned long base = !digits.empty() && digits[0] == '0' ? 8 : 10;
  unsigned long value = 0;
  for (char c : digits) {
    const unsigned long digit = static_cast<unsigned long>(c - '0');
    if (digit >= base) break;
    if (value > (ULONG_MAX - digit) / base) return ULONG_MAX;
    value = value * base + digit;
  }
  return value;
}

// Returns the pixel width of the number column: 10 per digit of the piece count plus 5, in
// 8-bit arithmetic, and at least 35.
unsigned numberColumnWidth(std::size_t pieces) {
  std::uint8_t digits = 0;
  do {
    ++digits;
    pieces /= 10;
  } while (pieces != 0);
  const std::uint8_t width = static_cast<std::uint8_t>(10 * digits + 5);
  return width > 35 ? width : 35;
}

}  // namespace

CodeViewRenderer::CodeViewRenderer(std::string baseColor, std::string contentText, std::size_t longestView,
                                   std::size_t trimFrom)
    : StreamedView(std::make_unique<BlameLines>(contentText.empty()), longestView, trimFrom),
      contentText_(std::move(contentText)),
      base_(readHexColor(baseColor)) {
  unsigned width = 35;
  if (!contentText_.empty()) {
    lines_ = split(contentText_, '\n');
    width = numberColumnWidth(lines_.size());
  }
  char widthText[8];
  width_.assign(widthText, static_cast<std::size_t>(std::to_chars(widthText, widthText + sizeof widthText, width).ptr -
                                                    widthText));
}

std::size_t CodeViewRenderer::renderRecords(const char* blame, std::size_t size, std::size_t limit) {
  std::string& out = view();
  BlameScanner scanner(blame, size, limit);
  BlameRecord record;
  while (scanner.next(record)) {
    const std::string_view id(blame + record.commitId.begin, record.commitId.end - record.commitId.begin);
    const unsigned long lineNumber = readLineNumber(
        std::string_view(blame + record.finalLine.begin, record.finalLine.end - record.finalLine.begin));
    char numberText[24];
    const std::string_view number(
        numberText,
        static_cast<std::size_t>(std::to_chars(numberText, numberText + sizeof numberText, lineNumber).ptr - numberText));

    char colorText[6];
    std::size_t colorLength = id.size() < 6 ? id.size() : 6;
    std::memcpy(colorText, id.data(), colorLength);
    if (static_cast<double>(hexColorDelta(readHexColor(std::string_view(colorText, colorLength)), base_)) > 0.65) {
      colorLength = colorLength < 4 ? colorLength : 4;
      colorText[colorLength++] = 'f';
      colorText[colorLength++] = 'f';
    }
    const std::string_view color(colorText, colorLength);

    std::string_view content;
    const bool fromGit = contentText_.empty();
    if (!fromGit) {
      if (lineNumber >= 1 && lineNumber <= lines_.size()) content = lines_[lineNumber - 1];
    } else {
      content = std::string_view(blame + record.line.begin, record.line.end - record.line.begin);
    }
    if (content.empty()) content = "\n";

    out += "<div class='line' data-color='";
    out += color;
    out += "' data-dlinenumber='";
    out += number;
    out += "' data-commitid='";
    out += id;
    out += "'><span class='line-number nohighlight' style='border-right: 1px solid #";
    out += color;
    out += "; background-color: #";
    out += color;
    out += "33; width: ";
    out += width_;
    out += "px;'>";
    out += number;
    out += "</span><span class='line-contents'>";
    if (fromGit) {
      appendEscapedText(out, content);
    } else {
      out += content;
    }
    out += "</span></div>";
  }
  return scanner.resumeAt();
}

std::unique_ptr<ViewCall> codeViewCall(const std::string& filePath, const std::string& repoPath,
                                       const std::string& baseColor, const std::string& contentText,
                                       std::size_t longestView, const std::vector<std::string>& host) {
  return std::make_unique<ViewCall>(std::make_unique<CodeViewRenderer>(baseColor, contentText, longestView),
                                    std::vector<std::string>{"blame", "--line-porcelain", "HEAD", "--", filePath},
                                    repoPath, host);
}

std::optional<std::string> mergeToolGetCodeHTML(const std::string& filePath, const std::string& repoPath,
                                                const std::string& baseColor, const std::string& contentText,
                                                std::size_t longestView) {
  const std::unique_ptr<ViewCall> call =
      codeViewCall(filePath, repoPath, baseColor, contentText, longestView, hostEnvironment());
  runGitCall(*call, repoPath);
  return call->finish();
}

}  // namespace tarnwick
