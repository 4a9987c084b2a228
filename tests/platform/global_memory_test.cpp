#include "qv/win32.h"

#include <cstring>
#include <gtest/gtest.h>

TEST(GlobalMemory, SizesAreExact) {
  for (const SIZE_T bytes : {SIZE_T{1}, SIZE_T{7}, SIZE_T{40}, SIZE_T{100001}}) {
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(GlobalSize(block), bytes);
    const auto* memory = static_cast<const uint8_t*>(GlobalLock(block));
    for (SIZE_T i = 0; i < bytes; ++i)
      ASSERT_EQ(memory[i], 0);
    GlobalUnlock(block);
    EXPECT_EQ(GlobalFree(block), nullptr);
  }
}

TEST(GlobalMemory, LocksAreCounted) {
  const HGLOBAL block = GlobalAlloc(GHND, 10);
  void* const memory = GlobalLock(block);
  EXPECT_EQ(GlobalLock(block), memory);
  EXPECT_EQ(GlobalFlags(block) & GMEM_LOCKCOUNT, 2u);
  EXPECT_TRUE(GlobalUnlock(block));
  EXPECT_FALSE(GlobalUnlock(block));
  EXPECT_EQ(GlobalFlags(block) & GMEM_LOCKCOUNT, 0u);
  EXPECT_FALSE(GlobalUnlock(block)) << "once too often does no harm";
  EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalMemory, ThePointerLeadsBackToTheHandle) {
  const HGLOBAL block = GlobalAlloc(GHND, 24);
  void* const memory = GlobalLock(block);
  std::memset(memory, 0xFF, 24);
  EXPECT_EQ(GlobalHandle(memory), block);
  EXPECT_NE(block, memory) << "a moveable block's handle is not its memory";
  GlobalUnlock(GlobalHandle(memory));
  EXPECT_EQ(GlobalFree(GlobalHandle(memory)), nullptr);
  const HGLOBAL fixed = GlobalAlloc(GPTR, 8);
  EXPECT_EQ(GlobalLock(fixed), fixed);
  EXPECT_EQ(GlobalHandle(fixed), fixed);
  EXPECT_EQ(GlobalFree(fixed), nullptr);
}

TEST(GlobalMemory, AbsurdSizesFail) { EXPECT_EQ(GlobalAlloc(GHND, ~SIZE_T{0} - 4), nullptr); }
