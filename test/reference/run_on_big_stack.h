#ifndef UTILS_TEST_REFERENCE_RUN_ON_BIG_STACK_H
#define UTILS_TEST_REFERENCE_RUN_ON_BIG_STACK_H

#include <pthread.h>

#include <cstddef>
#include <exception>
#include <stdexcept>

namespace reference {

// Runs `f` to its end on a new thread with a stack of `stackBytes`, rethrowing what it throws.
template <class F>
void runOnStackOf(std::size_t stackBytes, F f) {
  struct Job {
    F* body;
    std::exception_ptr error;
    static void* run(void* argument) {
      Job* job = static_cast<Job*>(argument);
      try {
        (*job->body)();
      } catch (...) {
        job->error = std::current_exception();
      }
      return nullptr;
    }
  };
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  if (pthread_attr_setstacksize(&attributes, stackBytes) != 0) {
    pthread_attr_destroy(&attributes);
    throw std::runtime_error("stack size refused");
  }
  Job job{&f, nullptr};
  pthread_t thread;
  const int started = pthread_create(&thread, &attributes, &Job::run, &job);
  pthread_attr_destroy(&attributes);
  if (started != 0) throw std::runtime_error("cannot start a thread");
  pthread_join(thread, nullptr);
  if (job.error) std::rethrow_exception(job.error);
}

// Runs `f` on a thread with a 1 GB stack: std::regex recurses once per character a repeated
// class takes, so a long line overflows an ordinary stack.
template <class F>
void runOnBigStack(F f) {
  runOnStackOf(std::size_t(1) << 30, f);
}

}  // namespace reference

#endif
