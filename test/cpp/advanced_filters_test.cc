#include "filters/advanced_filters.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::size_t countOf(const std::string& text, const std::string& needle) {
  std::size_t count = 0;
  for (auto at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) ++count;
  return count;
}

TEST(AdvancedFilters, FixedMarkup) {
  const std::string& html = tarnwick::getAdvancedFiltersHTML();
  EXPECT_EQ(html.size(), 2469u);
  EXPECT_EQ(html.rfind("<form>", 0), 0u);
  EXPECT_EQ(html.substr(html.size() - 16), "</button></form>");
  EXPECT_EQ(countOf(html, "<br /><br />"), 4u);
  EXPECT_EQ(countOf(html, "<input "), 8u);
  EXPECT_EQ(html.find_first_of("\n\t\""), std::string::npos);
  for (const char* cls : {"cb-no-merge-commits", "cb-only-merge-commits", "txt-date-after", "txt-date-before",
                          "filter-author", "filter-committer", "filter-filename", "filter-string",
                          "btn-add-author button fa fa-plus", "btn-add-committer button fa fa-plus",
                          "btn-add-filename button fa fa-plus", "btn-apply-filters", "btn-reset-filters"}) {
    EXPECT_EQ(countOf(html, std::string("class='") + cls + "'"), 1u) << cls;
  }
  EXPECT_NE(html.find("placeholder='ex. '1 week ago''"), std::string::npos);
  EXPECT_NE(html.find("placeholder='ex. 'yesterday''"), std::string::npos);
}

}  // namespace
