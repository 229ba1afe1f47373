#include "merge_conflicts_reference.h"

#include <regex>

namespace reference {

std::string styleMergeConflicts(const std::string& text) {
  const auto flags = std::regex::ECMAScript | std::regex::optimize;
  static const std::regex amp("&", flags);
  static const std::regex lt("<", flags);
  static const std::regex gt(">", flags);
  static const std::regex escapedOpen("&lt;&lt;&lt;&lt;&lt;&lt;&lt;", flags);
  static const std::regex escapedClose("&gt;&gt;&gt;&gt;&gt;&gt;&gt;", flags);
  // Seven raw "<" whose last one would open a tag with the character after it.
  static const std::regex openingTag("<<<<<<<(?=[A-Za-z/!?])", flags);
  std::string out = std::regex_replace(text, amp, "&amp;");
  out = std::regex_replace(out, lt, "&lt;");
  out = std::regex_replace(out, gt, "&gt;");
  out = std::regex_replace(out, escapedOpen, "<<<<<<<");
  out = std::regex_replace(out, openingTag, "&lt;&lt;&lt;&lt;&lt;&lt;&lt;");
  return std::regex_replace(out, escapedClose, ">>>>>>>");
}

}  // namespace reference
