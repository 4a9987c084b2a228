// Summary lists with their n-th allocation failing, for each n. Only the POSIX layer can be made to fail. That what
// fails leaks nothing is seen under AddressSanitizer.
#include "platform/posix/seams.h"
#include "tests/riff/summary/summary_text.h"

#include "qv/memory_stream.h"

#include <gtest/gtest.h>
#include <malloc.h>

using namespace riff_test;
using qv::platform::fail_allocation;

namespace {

/// Does `run` with the first, second, ... allocation failing until none is left to fail; returns how many did.
template <class Run>
int each_allocation(Run run) {
  for (int nth = 1; nth < 100; ++nth) {
    SCOPED_TRACE(nth);
    if (run([nth] { fail_allocation(nth); }) == S_OK) return nth - 1;
  }
  return -1;
}

TEST(SummaryFailure, ListsAreAsPromisedAfterAFailedAllocation) {
  static const DWORD id = summary_id("INAM");
  using Lists = _summarylisttag;
  const struct {
    const char* name;
    const char* dst;
    const char* src;
    HRESULT (*run)(Lists* dst, Lists* src);
    int blocks;
    const char* dst_after_failure = nullptr; ///< null: with the first items
    bool src_emptied = false;
  } cases[] = {
      {"replacing a text", "INAM=a", "", [](Lists* dst, Lists*) { return QvSummary_SetItem(dst, id, u"b"); }, 1,
       "INAM=a"},
      {"adding a text", "IART=a", "", [](Lists* dst, Lists*) { return QvSummary_SetItem(dst, id, u"b"); }, 2, "IART=a"},
      {"adding none", "IART=a", "", [](Lists* dst, Lists*) { return QvSummary_SetItem(dst, id, nullptr); }, 1,
       "IART=a"},
      {"copying", "IOLD=a", "INAM=x;IART;ICMT=", [](Lists* dst, Lists* src) { return QvSummary_Copy(dst, src); }, 3,
       ""},
      {"moving", "INAM=a", "INAM=x;IART=y", [](Lists* dst, Lists* src) { return QvSummary_Merge(dst, src, 0, 1); }, 1,
       "INAM=a", true},
      {"merging copies", "INAM=a", "INAM=x;IART=y",
       [](Lists* dst, Lists* src) { return QvSummary_Merge(dst, src, 1, 0); }, 3},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const int failed = each_allocation([&](auto arm) {
      SummaryList dst(row.dst), src(row.src);
      arm();
      const HRESULT result = row.run(&dst, &src);
      fail_allocation(0);
      if (result == S_OK) return result;
      EXPECT_EQ(result, E_OUTOFMEMORY);
      if (row.dst_after_failure) EXPECT_EQ(describe(dst), row.dst_after_failure);
      EXPECT_EQ(describe(src), row.src_emptied ? "" : row.src);
      return result;
    });
    EXPECT_EQ(failed, row.blocks);
  }
}

TEST(SummaryFailure, AStreamIsReadAllOrNotAtAll) {
  IStream* stream = nullptr;
  ASSERT_EQ(QvCreateMemoryStream(nullptr, 0, &stream), S_OK);
  const SummaryList list("INAM=title;ICMT=;IART=Jo");
  ASSERT_EQ(list.Persist(stream), S_OK);
  const int failed = each_allocation([&](auto arm) {
    SummaryList copy("IOLD=replaced");
    stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
    arm();
    const HRESULT result = copy.Create(stream);
    fail_allocation(0);
    EXPECT_TRUE(result == S_OK || result == E_OUTOFMEMORY);
    EXPECT_EQ(describe(copy), result == S_OK ? describe(list) : "");
    return result;
  });
  EXPECT_EQ(failed, 1 + 3);
  stream->Release();
}

TEST(SummaryBlocks, AreAllGivenBack) {
  const auto use = [] {
    SummaryList list("INAM=a;IART=b;ICMT=c"), other("IART=x;IGNR=y"), copy;
    QvSummary_SetItem(&list, summary_id("INAM"), nullptr); // a text goes
    QvSummary_SetItem(&list, summary_id("IART"), u"longer");
    QvSummary_SetItem(&list, summary_id("ICOP"), u"d"); // an array goes
    QvSummary_Copy(&copy, &list);
    QvSummary_Copy(&copy, &other);
    QvSummary_Merge(&list, &copy, TRUE, FALSE);
    QvSummary_Merge(&list, &copy, FALSE, TRUE); // texts that were not moved
    QvSummary_Merge(&list, &other, TRUE, TRUE); // texts that were replaced
  };
  for (int warm_up = 0; warm_up < 20; ++warm_up)
    use();
  const size_t before = mallinfo2().uordblks;
  for (int round = 0; round < 100; ++round)
    use();
  EXPECT_LT(mallinfo2().uordblks, before + 100 * 16) << "less than a block each time";
}

} // namespace
