#ifndef UTILS_TEST_REFERENCE_RUN_ON_BIG_STACK_H
#define UTILS_TEST_REFERENCE_RUN_ON_BIG_STACK_H

#include <pthread.h>

#include <exception>
#include <stdexcept>

namespace reference {

// Runs `f` to its end on a new thread with a 512 MB stack and rethrows what it throws: std::regex
// recurses once or more per byte of a match, so a long line overflows an ordinary stack.
template <class F>
void runOnBigStack(F f) {
  struct Call {
    F* f;
    std::exception_ptr error;
    static void* run(void* argument) {
      Call* call = static_cast<Call*>(argument);
      try {
        (*call->f)();
      } catch (...) {
        call->error = std::current_exception();
      }
      return nullptr;
    }
  };
  Call call{&f, nullptr};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, std::size_t{512} << 20);
  pthread_t thread;
  const int failed = pthread_create(&thread, &attributes, &Call::run, &call);
  pthread_attr_destroy(&attributes);
  if (failed != 0) throw std::runtime_error("cannot start a thread with a big stack");
  pthread_join(thread, nullptr);
  if (call.error) std::rethrow_exception(call.error);
}

}  // namespace reference

#endif
