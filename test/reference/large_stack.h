#ifndef UTILS_TEST_REFERENCE_LARGE_STACK_H
#define UTILS_TEST_REFERENCE_LARGE_STACK_H

#include <cstddef>
#include <functional>

namespace reference {

// Runs `body` to its end on a new thread whose stack holds `stackBytes` (512 MB by default), for
// the std::regex formulations whose recursion grows with the length of a line. Exceptions thrown
// by `body` are rethrown here.
void runOnLargeStack(const std::function<void()>& body, std::size_t stackBytes = std::size_t(512) << 20);

// Runs `body` on a new thread with exactly `stackBytes` of stack (for proving that production
// code stays within a small one).
void runOnStackOf(std::size_t stackBytes, const std::function<void()>& body);

// Runs `body` on a thread with a 1 GB stack (8 GB under AddressSanitizer, whose frames are
// larger), for the longest lines the references are given. Untouched stack costs no memory.
inline void runOnBigStack(const std::function<void()>& body) {
#if defined(__SANITIZE_ADDRESS__)
  runOnLargeStack(body, std::size_t(8) << 30);
#else
  runOnLargeStack(body, std::size_t(1) << 30);
#endif
}

}  // namespace reference

#endif
