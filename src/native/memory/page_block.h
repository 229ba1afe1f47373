#ifndef UTILS_MEMORY_PAGE_BLOCK_H
#define UTILS_MEMORY_PAGE_BLOCK_H

#include <cstddef>

namespace tarnwick {

// Writable memory for one big text, owned by one object at a time and released by it.
//
// Blocks of 256 KB and more are page memory of their own, in whole multiples of 2 MB aligned to
// 2 MB, which the system is asked to back with huge pages where it can (Linux), so that writing a
// fresh block costs a fault per 2 MB rather than per 4 KB. A released one of these is kept for
// the next block that fits it, instead of being handed back to the system whose fresh pages would
// have to be faulted in and cleared again. Kept between calls, and so bounded: at most four
// released blocks of at most 256 MB of address space together, the oldest unmapped to make room
// for the one just released (one bigger than the whole bound is unmapped at once); of that, only
// the pages a text was written to are in memory. They
// stay as they are: pages marked free for the system to take back (MADV_FREE) were taken back
// within a second on a machine that reclaims idle memory, and came back as fresh pages. Smaller
// blocks come from the ordinary heap.
class PageBlock {
 public:
  PageBlock() = default;
  PageBlock(PageBlock&& other) noexcept;
  PageBlock& operator=(PageBlock&& other) noexcept;
  PageBlock(const PageBlock&) = delete;
  PageBlock& operator=(const PageBlock&) = delete;
  ~PageBlock();

  // Returns a block of at least `bytes` bytes, whose content is unspecified; throws
  // std::bad_alloc when there is no memory for it.
  static PageBlock acquire(std::size_t bytes);

  char* data() const { return data_; }
  std::size_t capacity() const { return capacity_; }

 private:
  PageBlock(char* data, std::size_t capacity, bool mapped) : data_(data), capacity_(capacity), mapped_(mapped) {}
  void release();

  char* data_ = nullptr;
  std::size_t capacity_ = 0;
  bool mapped_ = false;
};

}  // namespace tarnwick

#endif
