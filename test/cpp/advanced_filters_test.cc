#include "filters/advanced_filters.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The class names are the contract with the client's scripts: each control once.
TEST(AdvancedFilters, EachClassNameOnce) {
  const std::string& html = tarnwick::getAdvancedFiltersHTML();
  for (const char* cls : {"cb-no-merge-commits", "cb-only-merge-commits", "txt-date-after", "txt-date-before",
                          "filter-author", "filter-committer", "filter-filename", "filter-string",
                          "btn-add-author button fa fa-plus", "btn-add-committer button fa fa-plus",
                          "btn-add-filename button fa fa-plus", "btn-apply-filters", "btn-reset-filters"}) {
    const std::string attribute = std::string("class='") + cls + "'";
    const std::size_t at = html.find(attribute);
    EXPECT_TRUE(at != std::string::npos && html.find(attribute, at + 1) == std::string::npos) << cls;
  }
}

}  // namespace
