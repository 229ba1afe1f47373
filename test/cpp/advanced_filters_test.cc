#include "filters/advanced_filters.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(AdvancedFilters, FixedMarkup) {
  const std::string& html = tarnwick::getAdvancedFiltersHTML();
  const auto count = [&](const std::string& needle) {
    std::size_t found = 0;
    for (auto at = html.find(needle); at != std::string::npos; at = html.find(needle, at + 1)) ++found;
    return found;
  };
  EXPECT_EQ(html.size(), 2469u);
  EXPECT_EQ(html.substr(0, 6) + html.substr(html.size() - 16), "<form></button></form>");
  EXPECT_EQ((std::vector<std::size_t>{count("<br /><br />"), count("<input "), count("placeholder='ex. '1 week ago''"),
                                      count("placeholder='ex. 'yesterday''")}),
            (std::vector<std::size_t>{4, 8, 1, 1}));
  EXPECT_EQ(html.find_first_of("\n\t\""), std::string::npos);
  for (const char* cls : {"cb-no-merge-commits", "cb-only-merge-commits", "txt-date-after", "txt-date-before",
                          "filter-author", "filter-committer", "filter-filename", "filter-string",
                          "btn-add-author button fa fa-plus", "btn-add-committer button fa fa-plus",
                          "btn-add-filename button fa fa-plus", "btn-apply-filters", "btn-reset-filters"}) {
    EXPECT_EQ(count(std::string("class='") + cls + "'"), 1u) << cls;
  }
}

}  // namespace
