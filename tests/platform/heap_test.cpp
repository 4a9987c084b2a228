// Private heaps, blocks of the C runtime and of the global heap that change their size, and memory that cannot be read.
#include "qv/win32.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

TEST(PrivateHeap, KnowsItsBlocks) {
  const HANDLE heap = HeapCreate(HEAP_NO_SERIALIZE, 4096, 0);
  ASSERT_NE(heap, nullptr);
  std::vector<BYTE*> blocks;
  for (const SIZE_T size : {0, 1, 10, 4096, 1'000'000}) {
    auto* block = static_cast<BYTE*>(HeapAlloc(heap, HEAP_ZERO_MEMORY, size));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(HeapSize(heap, 0, block), size);
    for (SIZE_T i = 0; i < size; ++i)
      ASSERT_EQ(block[i], 0);
    std::memset(block, 0x5A, size);
    blocks.push_back(block);
  }
  auto* grown = static_cast<BYTE*>(HeapReAlloc(heap, HEAP_ZERO_MEMORY, blocks[2], 100'000));
  ASSERT_NE(grown, nullptr);
  EXPECT_EQ(HeapSize(heap, 0, grown), 100'000u);
  for (int i = 0; i < 100'000; ++i)
    ASSERT_EQ(grown[i], i < 10 ? 0x5A : 0);
  EXPECT_EQ(HeapReAlloc(heap, 0, grown, SIZE_MAX - 8), nullptr);
  EXPECT_EQ(grown[9], 0x5A);
  EXPECT_TRUE(HeapFree(heap, 0, blocks[1]));
  EXPECT_TRUE(HeapFree(heap, 0, nullptr));
  EXPECT_EQ(HeapAlloc(heap, 0, SIZE_MAX - 8), nullptr);
  EXPECT_TRUE(HeapDestroy(heap)); // with the blocks that are left: a leak checker would tell
}

TEST(RuntimeBlocks, HaveAtLeastWhatWasAskedFor) {
  for (const size_t size : {size_t{1}, size_t{24}, size_t{1000}}) {
    void* block = std::malloc(size);
    EXPECT_GE(_msize(block), size);
    std::free(block);
  }
}

TEST(GlobalBlocks, GrowWhereTheyMayMove) {
  for (const SIZE_T bytes : {SIZE_T{100}, SIZE_T{300'000}}) {
    auto* memory = static_cast<BYTE*>(GlobalAlloc(GMEM_FIXED, bytes));
    ASSERT_NE(memory, nullptr);
    std::memset(memory, 0x5A, bytes);
    EXPECT_EQ(GlobalReAlloc(memory, ~SIZE_T{0} - 7, GMEM_MOVEABLE), nullptr);
    ASSERT_EQ(GlobalSize(memory), bytes) << "as it was";
    auto* larger = static_cast<BYTE*>(GlobalReAlloc(memory, 7 * bytes, GMEM_MOVEABLE | GMEM_ZEROINIT));
    ASSERT_NE(larger, nullptr);
    EXPECT_EQ(GlobalSize(larger), 7 * bytes);
    for (SIZE_T i = 0; i < 7 * bytes; ++i)
      ASSERT_EQ(larger[i], i < bytes ? 0x5A : 0) << i;
    EXPECT_EQ(GlobalFree(larger), nullptr);
  }
}

TEST(GlobalBlocks, ShrinkInPlace) {
  constexpr SIZE_T kLarge = 100'000;
  auto* memory = static_cast<BYTE*>(GlobalAlloc(GMEM_FIXED | GMEM_ZEROINIT, kLarge));
  ASSERT_NE(memory, nullptr);
  std::memset(memory, 0x5A, kLarge);
  ASSERT_EQ(GlobalReAlloc(memory, 10'000, GMEM_ZEROINIT), memory);
  EXPECT_EQ(GlobalSize(memory), 10'000u);
  for (int i = 0; i < 10'000; ++i)
    ASSERT_EQ(memory[i], 0x5A);
  EXPECT_EQ(GlobalFree(memory), nullptr);
}

TEST(Reading, IsRefusedWhereItWouldFault) {
  std::vector<BYTE> bytes(3 * 4096);
  EXPECT_FALSE(IsBadReadPtr(bytes.data(), bytes.size()));
  EXPECT_TRUE(IsBadReadPtr(nullptr, 1));
  EXPECT_FALSE(IsBadReadPtr(nullptr, 0));
  EXPECT_TRUE(IsBadReadPtr(bytes.data(), UINTPTR_MAX)) << "past the end of all addresses";
  EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<const void*>(uintptr_t{0x8000000000000000u}), 1));
}

} // namespace
