#ifndef UTILS_TEST_REFERENCE_GIT_SAMPLES_H
#define UTILS_TEST_REFERENCE_GIT_SAMPLES_H

#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>

namespace reference {

// Returns the standard output of `command` run by the shell, in `folder` when one is given ("" when
// it cannot run).
std::string runShell(const std::string& command, const std::string& folder = "");

// Returns `text` in single quotes for the shell.
std::string shellQuoted(const std::string& text);

// Returns a new empty folder under /tmp; removeFolder removes it with everything in it.
std::string makeTempFolder();
void removeFolder(const std::string& folder);

// Returns one of `items`, and `digits` characters of `alphabet`, picked at random.
using Pick = std::initializer_list<const char*>;
std::string pick(std::mt19937& random, Pick items);
std::string hex(std::mt19937& random, std::size_t digits, const std::string& alphabet = "0123456789abcdef");

// Returns blame record lines and their near misses, seeded: dropped, repeated and foreign lines,
// CR LF and missing line feeds, empty values and values holding the next keyword, ids and
// numbers next to the bytes just outside their classes.
std::string makeAdversarialBlame(std::uint32_t seed);

}  // namespace reference

#endif
