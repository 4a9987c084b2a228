// A page that is mapped and cannot be read, between two that can.
#include "qv/list.h"
#include "qv/win32.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

TEST(Reading, StopsAtAPageThatCannotBeRead) {
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  auto* pages = static_cast<BYTE*>(mmap(nullptr, 3 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(static_cast<void*>(pages), MAP_FAILED);
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

} // namespace
