// Forced in front of every core source by the utils_core_without_linux build: the headers the core
// uses, then the system seen as one without Linux's or glibc's own calls (macOS before 10.15, say),
// so that a Linux-only call outside its guard fails the build here rather than on such a system.
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#undef __linux__
#undef __gnu_linux__
#undef __GLIBC__
#undef MADV_HUGEPAGE
#pragma GCC poison pipe2 dup3 memrchr rawmemchr accept4 posix_spawn_file_actions_addchdir_np memfd_create epoll_create1 prctl syscall
