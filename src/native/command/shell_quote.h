#ifndef UTILS_COMMAND_SHELL_QUOTE_H
#define UTILS_COMMAND_SHELL_QUOTE_H

#include <string>

namespace tarnwick {

// Returns `text` between double quotes for the system shell, with a backslash put before each
// '"', '$', '`' and '\', the only characters the shell still reads inside double quotes: the
// command receives `text` unchanged whatever it holds, and a text without them is quoted as is.
std::string quoteForShell(const std::string& text);

}  // namespace tarnwick

#endif
