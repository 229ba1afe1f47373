#ifndef UTILS_MERGETOOL_AUTHOR_DATE_H
#define UTILS_MERGETOOL_AUTHOR_DATE_H

#include <cstddef>
#include <string>

namespace tarnwick {

// Formats author times as the commit list shows them. Keeps the last calendar day it formatted,
// since a log holds many commits of one day in a row.
class AuthorDateFormatter {
 public:
  // Reads the process's time zone once, as localtime would on every call.
  AuthorDateFormatter();

  // Returns the date of the `length` bytes at `seconds` (followed by whitespace or the end of the
  // text): read as strtoul reads them with base 0, taken as seconds since the epoch, turned into
  // local time as localtime does and formatted by strftime as "%d %b %Y" into 20 bytes. Returns
  // the empty text when localtime gives no date or the date does not fit. The text stays valid
  // until the next call.
  const std::string& format(const char* seconds, std::size_t length);

 private:
  int year_ = 0, month_ = 0, day_ = -1;  // the day of `text_`; day -1 when there is none
  std::string text_;
};

}  // namespace tarnwick

#endif
