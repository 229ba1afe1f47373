#include "mergetool/author_date.h"

#include <cstdlib>
#include <ctime>

namespace tarnwick {

namespace {

// Returns `seconds` read as strtoul reads it with base 0. Git's own times, up to 19 decimal
// digits without a leading zero, are read here; anything else goes to strtoul itself.
unsigned long readSeconds(const char* seconds, std::size_t length) {
  if (length == 0 || length > 19 || seconds[0] < '1' || seconds[0] > '9') return std::strtoul(seconds, nullptr, 0);
  unsigned long value = 0;
  for (std::size_t i = 0; i < length; ++i) {
    const unsigned digit = static_cast<unsigned char>(seconds[i]) - '0';
    if (digit > 9) return std::strtoul(seconds, nullptr, 0);
    value = value * 10 + digit;
  }
  return value;
}

}  // namespace

// glibc's localtime looks at the time zone file again on every call, which costs more than all
// the rest of a commit's option; localtime_r after one tzset gives the same local time.
AuthorDateFormatter::AuthorDateFormatter() { tzset(); }

const std::string& AuthorDateFormatter::format(const char* seconds, std::size_t length) {
  const std::time_t time = static_cast<std::time_t>(readSeconds(seconds, length));
  std::tm storage;
  const std::tm* local = localtime_r(&time, &storage);
  if (local == nullptr) {
    day_ = -1;
    text_.clear();
    return text_;
  }
  if (local->tm_mday != day_ || local->tm_mon != month_ || local->tm_year != year_) {
    char buffer[20];
    text_.assign(buffer, std::strftime(buffer, sizeof buffer, "%d %b %Y", local));
    year_ = local->tm_year;
    month_ = local->tm_mon;
    day_ = local->tm_mday;
  }
  return text_;
}

}  // namespace tarnwick
