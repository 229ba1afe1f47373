#ifndef UTILS_FILTERS_ADVANCED_FILTERS_H
#define UTILS_FILTERS_ADVANCED_FILTERS_H

#include <string>

namespace tarnwick {

// Returns the fixed markup of the history view's advanced filter form (2,469 bytes of ASCII).
// The client's scripts find its controls by their class names.
const std::string& getAdvancedFiltersHTML();

}  // namespace tarnwick

#endif
