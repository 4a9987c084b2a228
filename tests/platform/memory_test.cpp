// Global memory, private heaps, blocks of the C runtime, and memory that cannot be read.
#include "qv/list.h"
#include "qv/win32.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>
#ifndef _WIN32
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace {

/// Expects `kept` bytes of 0x5A and zeros behind them.
void expect_bytes(const BYTE* memory, SIZE_T kept, SIZE_T bytes) {
  ASSERT_NE(memory, nullptr);
  for (SIZE_T i = 0; i < bytes; ++i)
    ASSERT_EQ(memory[i], i < kept ? 0x5A : 0) << i;
}

TEST(GlobalMemory, SizesAreExact) {
  for (const SIZE_T bytes : {1, 7, 40, 100001}) {
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    EXPECT_EQ(GlobalSize(block), bytes);
    expect_bytes(static_cast<const BYTE*>(GlobalLock(block)), 0, bytes);
    GlobalUnlock(block);
    EXPECT_EQ(GlobalFree(block), nullptr);
  }
  EXPECT_EQ(GlobalAlloc(GHND, ~SIZE_T{0} - 4), nullptr);
}

TEST(GlobalMemory, LocksAreCountedAndThePointerLeadsBackToTheHandle) {
  const HGLOBAL block = GlobalAlloc(GHND, 24);
  void* const memory = GlobalLock(block);
  EXPECT_NE(block, memory) << "a moveable block's handle is not its memory";
  EXPECT_EQ(GlobalLock(block), memory);
  EXPECT_EQ(GlobalFlags(block) & GMEM_LOCKCOUNT, 2u);
  std::memset(memory, 0xFF, 24);
  EXPECT_EQ(GlobalHandle(memory), block);
  EXPECT_TRUE(GlobalUnlock(block));
  EXPECT_FALSE(GlobalUnlock(block));
  EXPECT_EQ(GlobalFlags(block) & GMEM_LOCKCOUNT, 0u);
  EXPECT_FALSE(GlobalUnlock(block)) << "once too often does no harm";
  EXPECT_EQ(GlobalFree(GlobalHandle(memory)), nullptr);
  const HGLOBAL fixed = GlobalAlloc(GPTR, 8);
  EXPECT_EQ(GlobalLock(fixed), fixed);
  EXPECT_EQ(GlobalHandle(fixed), fixed);
  EXPECT_EQ(GlobalFree(fixed), nullptr);
}

TEST(GlobalMemory, GrowsWhereItMayMoveAndShrinksInPlace) {
  for (const SIZE_T bytes : {100, 300'000}) {
    auto* memory = static_cast<BYTE*>(GlobalAlloc(GMEM_FIXED, bytes));
    std::memset(memory, 0x5A, bytes);
    EXPECT_EQ(GlobalReAlloc(memory, ~SIZE_T{0} - 7, GMEM_MOVEABLE), nullptr);
    ASSERT_EQ(GlobalSize(memory), bytes) << "as it was";
    auto* larger = static_cast<BYTE*>(GlobalReAlloc(memory, 7 * bytes, GMEM_MOVEABLE | GMEM_ZEROINIT));
    EXPECT_EQ(GlobalSize(larger), 7 * bytes);
    expect_bytes(larger, bytes, 7 * bytes);
    EXPECT_EQ(GlobalFree(larger), nullptr);
  }
  auto* large = static_cast<BYTE*>(GlobalAlloc(GMEM_FIXED, 100'000));
  std::memset(large, 0x5A, 100'000);
  ASSERT_EQ(GlobalReAlloc(large, 10'000, GMEM_ZEROINIT), large);
  EXPECT_EQ(GlobalSize(large), 10'000u);
  expect_bytes(large, 10'000, 10'000);
  EXPECT_EQ(GlobalFree(large), nullptr);
}

TEST(PrivateHeap, KnowsItsBlocks) {
  const HANDLE heap = HeapCreate(HEAP_NO_SERIALIZE, 4096, 0);
  ASSERT_NE(heap, nullptr);
  std::vector<BYTE*> blocks;
  for (const SIZE_T size : {0, 1, 10, 4096, 1'000'000}) {
    blocks.push_back(static_cast<BYTE*>(HeapAlloc(heap, HEAP_ZERO_MEMORY, size)));
    EXPECT_EQ(HeapSize(heap, 0, blocks.back()), size);
    expect_bytes(blocks.back(), 0, size);
    std::memset(blocks.back(), 0x5A, size);
  }
  auto* grown = static_cast<BYTE*>(HeapReAlloc(heap, HEAP_ZERO_MEMORY, blocks[2], 100'000));
  EXPECT_EQ(HeapSize(heap, 0, grown), 100'000u);
  expect_bytes(grown, 10, 100'000);
  EXPECT_EQ(HeapReAlloc(heap, 0, grown, SIZE_MAX - 8), nullptr);
  EXPECT_EQ(grown[9], 0x5A);
  EXPECT_TRUE(HeapFree(heap, 0, blocks[1]));
  EXPECT_TRUE(HeapFree(heap, 0, nullptr));
  EXPECT_EQ(HeapAlloc(heap, 0, SIZE_MAX - 8), nullptr);
  EXPECT_TRUE(HeapDestroy(heap)); // with the blocks that are left: a leak checker would tell
}

TEST(RuntimeBlocks, HaveAtLeastWhatWasAskedFor) {
  for (const size_t size : {1, 24, 1000}) {
    void* block = std::malloc(size);
    EXPECT_GE(_msize(block), size);
    std::free(block);
  }
}

TEST(Reading, IsRefusedWhereItWouldFault) {
  std::vector<BYTE> bytes(3 * 4096);
  EXPECT_FALSE(IsBadReadPtr(bytes.data(), bytes.size()));
  EXPECT_TRUE(IsBadReadPtr(nullptr, 1));
  EXPECT_FALSE(IsBadReadPtr(nullptr, 0));
  EXPECT_TRUE(IsBadReadPtr(bytes.data(), UINTPTR_MAX)) << "past the end of all addresses";
  EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<const void*>(uintptr_t{0x8000000000000000u}), 1));
}

#ifndef _WIN32
TEST(Reading, StopsAtAPageThatCannotBeRead) {
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  auto* pages = static_cast<BYTE*>(mmap(nullptr, 3 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_EQ(mprotect(pages + page, page, PROT_NONE), 0);
  EXPECT_FALSE(IsBadReadPtr(pages, page));
  EXPECT_TRUE(IsBadReadPtr(pages, page + 1));
  EXPECT_TRUE(IsBadReadPtr(pages + page - 1, 2));
  EXPECT_TRUE(IsBadReadPtr(pages, 3 * page));
  EXPECT_TRUE(IsBadReadPtr(pages + page, 1));
  EXPECT_FALSE(IsBadReadPtr(pages + 2 * page, page));
  EXPECT_EQ(QvList_IsList(pages + page - 8, sizeof(tQVLIST)), 0);
  munmap(pages, 3 * page);
}
#endif

} // namespace
