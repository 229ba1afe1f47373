#include "large_stack.h"

#include <pthread.h>

#include <exception>
#include <stdexcept>

namespace reference {

namespace {

struct Job {
  const std::function<void()>* body;
  std::exception_ptr error;
};

void* runJob(void* argument) {
  Job* job = static_cast<Job*>(argument);
  try {
    (*job->body)();
  } catch (...) {
    job->error = std::current_exception();
  }
  return nullptr;
}

}  // namespace

void runOnStackOf(std::size_t stackBytes, const std::function<void()>& body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  if (pthread_attr_setstacksize(&attributes, stackBytes) != 0) {
    pthread_attr_destroy(&attributes);
    throw std::runtime_error("stack size refused");
  }
  Job job{&body, nullptr};
  pthread_t thread;
  const int started = pthread_create(&thread, &attributes, runJob, &job);
  pthread_attr_destroy(&attributes);
  if (started != 0) throw std::runtime_error("cannot start a thread");
  pthread_join(thread, nullptr);
  if (job.error) std::rethrow_exception(job.error);
}

void runOnLargeStack(const std::function<void()>& body, std::size_t stackBytes) {
  runOnStackOf(stackBytes, body);
}

}  // namespace reference
