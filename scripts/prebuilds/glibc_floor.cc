// Linked into the prebuilt binaries only (scripts/prebuilds.js). They are built on Debian 12
// (glibc 2.36) but must load on glibc 2.28, the oldest that official Node.js 18 and later run on.
// libstdc++ is linked in statically; what is left are the calls that the newer headers, or that
// static libstdc++, bind to a symbol version newer than 2.28. The linker's --wrap sends each of
// them here, where it is bound to the version 2.28 has (or, where 2.28 has none, done without it).
// scripts/check-prebuilds.js reads every binary's symbol versions to hold this.
#include <dlfcn.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

extern "C" {

// The versions that glibc's first release for the architecture gave these calls.
#if defined(__x86_64__)
__asm__(".symver glibc_pthread_sigmask, pthread_sigmask@GLIBC_2.2.5");
__asm__(".symver glibc_xstat64, __xstat64@GLIBC_2.2.5");
__asm__(".symver glibc_dlsym, dlsym@GLIBC_2.2.5");
__asm__(".symver glibc_dladdr, dladdr@GLIBC_2.2.5");
__asm__(".symver glibc_dlopen, dlopen@GLIBC_2.2.5");
__asm__(".symver glibc_lxstat64, __lxstat64@GLIBC_2.2.5");
// The struct stat layout __xstat64 is asked for (_STAT_VER_LINUX).
constexpr int kStatVersion = 1;
#elif defined(__aarch64__)
__asm__(".symver glibc_pthread_sigmask, pthread_sigmask@GLIBC_2.17");
__asm__(".symver glibc_xstat64, __xstat64@GLIBC_2.17");
__asm__(".symver glibc_dlsym, dlsym@GLIBC_2.17");
__asm__(".symver glibc_dladdr, dladdr@GLIBC_2.17");
__asm__(".symver glibc_dlopen, dlopen@GLIBC_2.17");
__asm__(".symver glibc_lxstat64, __lxstat64@GLIBC_2.17");
constexpr int kStatVersion = 0;
#else
#error "prebuilt binaries are made for x86-64 and arm64 only"
#endif

int glibc_pthread_sigmask(int how, const sigset_t* set, sigset_t* old);
int glibc_xstat64(int version, const char* path, struct stat64* status);
void* glibc_dlsym(void* handle, const char* name);
int glibc_dladdr(const void* address, Dl_info* info);
void* glibc_dlopen(const char* file, int mode);
int glibc_lxstat64(int version, const char* path, struct stat64* status);

// pthread_sigmask moved from libpthread into libc in 2.32, under a new version; the old one stays.
int __wrap_pthread_sigmask(int how, const sigset_t* set, sigset_t* old) {
  return glibc_pthread_sigmask(how, set, old);
}

// stat became a symbol of its own in 2.33; before, the header called __xstat64.
int __wrap_stat64(const char* path, struct stat64* status) {
  return glibc_xstat64(kStatVersion, path, status);
}

// lstat as stat.
int __wrap_lstat64(const char* path, struct stat64* status) { return glibc_lxstat64(kStatVersion, path, status); }

// dlsym, dladdr and dlopen moved from libdl into libc in 2.34; the running process has libdl
// loaded where it is separate.
void* __wrap_dlsym(void* handle, const char* name) { return glibc_dlsym(handle, name); }
int __wrap_dladdr(const void* address, Dl_info* info) { return glibc_dladdr(address, info); }
void* __wrap_dlopen(const char* file, int mode) { return glibc_dlopen(file, mode); }

// arc4random (2.36) serves libstdc++'s std::random_device("arc4random"), which nothing here asks
// for; the same from getentropy (2.25) in case anything does.
std::uint32_t __wrap_arc4random() {
  std::uint32_t value;
  if (getentropy(&value, sizeof value) != 0) std::abort();
  return value;
}

// Static libstdc++ reads this glibc 2.32 flag to skip atomic reference counts in a process of one
// thread. Defined here, hidden, as "not single-threaded": the counts are always atomic.
__attribute__((visibility("hidden"))) char __libc_single_threaded = 0;

}  // extern "C"
