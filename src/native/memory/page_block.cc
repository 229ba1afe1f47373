#include "memory/page_block.h"

#include <sys/mman.h>

#include <cstdint>
#include <mutex>
#include <new>
#include <utility>

namespace tarnwick {

namespace {

constexpr std::size_t kMappedBytes = 256 * 1024;  // blocks from here up are mapped pages
constexpr std::size_t kHugePage = 2 * 1024 * 1024;
constexpr std::size_t kKeptBlocks = 4;
constexpr std::size_t kKeptBytes = 256 * 1024 * 1024;

struct Kept {
  char* data;
  std::size_t capacity;
};

// The released blocks kept for reuse, oldest first. Never destroyed: a script string may release
// its block while the process exits.
struct Pool {
  std::mutex mutex;
  Kept blocks[kKeptBlocks];
  std::size_t count = 0;
  std::size_t bytes = 0;
};

Pool& pool() {
  static Pool* const kept = new Pool();
  return *kept;
}

// Returns `capacity` bytes of fresh page memory aligned to a huge page, or nullptr.
char* mapBlock(std::size_t capacity) {
  const std::size_t span = capacity + kHugePage;
  void* const raw = mmap(nullptr, span, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
  if (raw == MAP_FAILED) return nullptr;
  const std::uintptr_t start = (reinterpret_cast<std::uintptr_t>(raw) + kHugePage - 1) & ~(kHugePage - 1);
  const std::size_t head = start - reinterpret_cast<std::uintptr_t>(raw);
  if (head > 0) munmap(raw, head);
  if (span - head - capacity > 0) munmap(reinterpret_cast<char*>(start) + capacity, span - head - capacity);
  char* const data = reinterpret_cast<char*>(start);
#if defined(MADV_HUGEPAGE)
  madvise(data, capacity, MADV_HUGEPAGE);
#endif
  return data;
}

}  // namespace

PageBlock::PageBlock(PageBlock&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      capacity_(std::exchange(other.capacity_, 0)),
      mapped_(std::exchange(other.mapped_, false)) {}

PageBlock& PageBlock::operator=(PageBlock&& other) noexcept {
  if (this != &other) {
    release();
    data_ = std::exchange(other.data_, nullptr);
    capacity_ = std::exchange(other.capacity_, 0);
    mapped_ = std::exchange(other.mapped_, false);
  }
  return *this;
}

PageBlock::~PageBlock() { release(); }

PageBlock PageBlock::acquire(std::size_t bytes) {
  if (bytes < kMappedBytes) return PageBlock(bytes > 0 ? new char[bytes] : nullptr, bytes, false);
  if (bytes > SIZE_MAX - 2 * kHugePage) throw std::bad_alloc();
  const std::size_t capacity = (bytes + kHugePage - 1) & ~(kHugePage - 1);
  {
    Pool& kept = pool();
    std::lock_guard<std::mutex> lock(kept.mutex);
    std::size_t best = kept.count;
    for (std::size_t i = 0; i < kept.count; ++i) {
      if (kept.blocks[i].capacity >= capacity &&
          (best == kept.count || kept.blocks[i].capacity < kept.blocks[best].capacity)) {
        best = i;
      }
    }
    if (best < kept.count) {
      const Kept found = kept.blocks[best];
      for (std::size_t i = best + 1; i < kept.count; ++i) kept.blocks[i - 1] = kept.blocks[i];
      --kept.count;
      kept.bytes -= found.capacity;
      return PageBlock(found.data, found.capacity, true);
    }
  }
  char* const data = mapBlock(capacity);
  if (data == nullptr) throw std::bad_alloc();
  return PageBlock(data, capacity, true);
}

void PageBlock::release() {
  if (data_ == nullptr) return;
  if (!mapped_) {
    delete[] data_;
  } else {
    // Kept as the newest block; the oldest ones make room for it, since a block just released is
    // the likeliest to fit the next call. One too big to keep at all goes back to the system.
    Kept dropped[kKeptBlocks + 1];
    std::size_t drops = 0;
    {
      Pool& kept = pool();
      std::lock_guard<std::mutex> lock(kept.mutex);
      if (capacity_ > kKeptBytes) {
        dropped[drops++] = Kept{data_, capacity_};
      } else {
        std::size_t oldest = 0;
        while (kept.count - oldest == kKeptBlocks || kept.bytes + capacity_ > kKeptBytes) {
          kept.bytes -= kept.blocks[oldest].capacity;
          dropped[drops++] = kept.blocks[oldest++];
        }
        for (std::size_t i = oldest; i < kept.count; ++i) kept.blocks[i - oldest] = kept.blocks[i];
        kept.count -= oldest;
        kept.blocks[kept.count++] = Kept{data_, capacity_};
        kept.bytes += capacity_;
      }
    }
    for (std::size_t i = 0; i < drops; ++i) munmap(dropped[i].data, dropped[i].capacity);
  }
  data_ = nullptr;
  capacity_ = 0;
  mapped_ = false;
}

}  // namespace tarnwick
