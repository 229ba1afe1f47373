#ifndef UTILS_COMMAND_EXEC_H
#define UTILS_COMMAND_EXEC_H

#include <string>

namespace tarnwick {

// Returns everything `command` writes to its standard output when the system shell runs it.
// Blocks until the output ends and the command has exited. Standard error is not captured, the
// exit status is not looked at, and a shell that cannot be started gives the empty string. The
// output is read in pieces of at most 127 bytes, each cut at its first zero byte.
std::string exec(const char* command);

}  // namespace tarnwick

#endif
