#ifndef UTILS_STAY_LOADED_H
#define UTILS_STAY_LOADED_H

// Keeps an add-on's file loaded for the life of the process. A host unloads an add-on once the
// last context that loaded it ends (a worker thread's exit), but it may still hold, past that
// moment, strings and finalizers whose release code lives in the file; unloaded, that code is
// gone and the release crashes the process.
#include <dlfcn.h>

namespace tarnwick {

// Takes one more reference to the file that holds `address` (any function of the add-on), which
// is marked never to be unloaded, and keeps it; does so once per process.
inline void stayLoaded(const void* address) {
  static void* const held = [address]() -> void* {
    Dl_info info;
    if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) return nullptr;
    return dlopen(info.dli_fname, RTLD_NOW | RTLD_NODELETE | RTLD_NOLOAD);
  }();
  (void)held;
}

}  // namespace tarnwick

#endif
