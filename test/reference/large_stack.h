#ifndef UTILS_TEST_REFERENCE_LARGE_STACK_H
#define UTILS_TEST_REFERENCE_LARGE_STACK_H

#include <pthread.h>

#include <cstdlib>
#include <functional>

namespace reference {

// Room for the std::regex formulations, whose recursion grows with the length of a line: 1 GB, or
// 8 GB under AddressSanitizer, whose frames are larger. Untouched stack costs no memory.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t kBigStack = std::size_t(8) << 30;
#else
constexpr std::size_t kBigStack = std::size_t(1) << 30;
#endif

// Runs `body` to its end on a new thread with `stackBytes` of stack: kBigStack for a reference,
// 64 KB to show that production code needs no more.
inline void runOnStack(const std::function<void()>& body, std::size_t stackBytes = kBigStack) {
  pthread_attr_t attributes;
  pthread_t thread;
  const auto start = [](void* job) -> void* { return (*static_cast<const std::function<void()>*>(job))(), nullptr; };
  if (pthread_attr_init(&attributes) != 0 || pthread_attr_setstacksize(&attributes, stackBytes) != 0 ||
      pthread_create(&thread, &attributes, start, const_cast<std::function<void()>*>(&body)) != 0) {
    std::abort();
  }
  pthread_attr_destroy(&attributes);
  pthread_join(thread, nullptr);
}

}  // namespace reference

#endif
