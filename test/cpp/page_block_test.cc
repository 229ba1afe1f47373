// The page blocks kept between calls: reused when they fit, bounded, and failing loudly.
#include "memory/page_block.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdint>
#include <new>
#include <vector>

namespace {

constexpr std::size_t kMB = 1024 * 1024;

// Returns whether the page at `address` is mapped in this process.
bool mapped(char* address) {
  unsigned char resident;
  return mincore(address, 1, &resident) == 0 || errno != ENOMEM;
}

TEST(PageBlock, AReleasedBlockServesTheNextThatFits) {
  char* small;
  char* large;
  {
    tarnwick::PageBlock a = tarnwick::PageBlock::acquire(3 * kMB), b = tarnwick::PageBlock::acquire(7 * kMB);
    EXPECT_EQ(a.capacity(), 4 * kMB);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(a.data()) % (2 * kMB), 0u);
    small = a.data();
    large = b.data();
  }
  // The smallest kept block that fits, whatever the order of release.
  EXPECT_EQ(tarnwick::PageBlock::acquire(2 * kMB + 1).data(), small);
  EXPECT_EQ(tarnwick::PageBlock::acquire(5 * kMB).data(), large);
}

// At most four blocks are kept: a fifth release hands the oldest back to the system, as it does
// a block bigger than the whole bound.
TEST(PageBlock, KeepsAtMostFourBlocks) {
  std::vector<char*> released;
  {
    std::vector<tarnwick::PageBlock> blocks;
    for (int i = 0; i < 5; ++i) blocks.push_back(tarnwick::PageBlock::acquire(10 * kMB));
    for (tarnwick::PageBlock& block : blocks) {
      released.push_back(block.data());
      block = tarnwick::PageBlock();
    }
  }
  EXPECT_FALSE(mapped(released[0]));
  char* huge = tarnwick::PageBlock::acquire(300 * kMB).data();
  EXPECT_FALSE(mapped(huge));
  std::vector<tarnwick::PageBlock> again;
  for (int i = 1; i < 5; ++i) {
    again.push_back(tarnwick::PageBlock::acquire(10 * kMB));
    EXPECT_EQ(again.back().data(), released[i]);
  }
}

TEST(PageBlock, ThrowsWhenTheSystemHasNoMemoryForIt) {
  EXPECT_THROW(tarnwick::PageBlock::acquire(std::size_t(1) << 50), std::bad_alloc);
  EXPECT_THROW(tarnwick::PageBlock::acquire(SIZE_MAX - kMB), std::bad_alloc);
}

}  // namespace
