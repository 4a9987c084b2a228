// Summary lists with their n-th allocation failing, for each n. Only the POSIX layer can be made to fail. That nothing
// is leaked is seen under AddressSanitizer.
#include "platform/posix/seams.h"
#include "tests/riff/scratch_file.h"
#include "tests/riff/summary/summary_text.h"

#include "qv/memory_stream.h"

#include <functional>

using namespace riff_test;
using qv::platform::fail_allocation;

namespace {

/// Runs with the first, second, ... allocation failing until none is left to fail; answers how many did.
int each_allocation(const std::function<void()>& prepare, const std::function<HRESULT()>& run) {
  for (int nth = 1;; ++nth) {
    SCOPED_TRACE(nth);
    prepare();
    fail_allocation(nth);
    const HRESULT result = run();
    fail_allocation(0);
    if (result == S_OK) return nth - 1;
    EXPECT_EQ(result, E_OUTOFMEMORY);
    if (nth > 100) return -1;
  }
}

TEST(SummaryFailure, ListsAreAsPromisedAfterAFailedAllocation) {
  SummaryList list;
  SummaryList other;
  const auto refill = [&](const char* dst, const char* src) {
    return [&list, &other, dst, src] {
      // What the last, failed run must have left is checked in `run`; here both start anew.
      QvSummary_Free(&list);
      QvSummary_Free(&other);
      SummaryList fresh(dst);
      SummaryList fresh_other(src);
      std::swap(static_cast<_summarylisttag&>(list), static_cast<_summarylisttag&>(fresh));
      std::swap(static_cast<_summarylisttag&>(other), static_cast<_summarylisttag&>(fresh_other));
    };
  };
  const DWORD name_id = summary_id("INAM");
  const struct {
    const char* name;
    const char* dst;
    const char* src;
    std::function<HRESULT()> run;
    int blocks;
    const char* dst_after_failure; // null: as before, or with the first items
    const char* src_after_failure;
  } cases[] = {
      {"replacing a text", "INAM=a", "", [&] { return QvSummary_SetItem(&list, name_id, u"b"); }, 1, "INAM=a", ""},
      {"adding a text", "IART=a", "", [&] { return QvSummary_SetItem(&list, name_id, u"b"); }, 2, "IART=a", ""},
      {"adding none", "IART=a", "", [&] { return QvSummary_SetItem(&list, name_id, nullptr); }, 1, "IART=a", ""},
      {"removing", "IART=a;INAM=b", "", [&] { return QvSummary_SetItem(&list, name_id, nullptr); }, 0, "", ""},
      {"copying", "IOLD=a", "INAM=x;IART;ICMT=", [&] { return QvSummary_Copy(&list, &other); }, 3, "",
       "INAM=x;IART;ICMT="},
      {"moving", "INAM=a", "INAM=x;IART=y", [&] { return QvSummary_Merge(&list, &other, FALSE, TRUE); }, 1, "INAM=a",
       ""},
      {"moving over", "INAM=a", "INAM=x", [&] { return QvSummary_Merge(&list, &other, TRUE, TRUE); }, 0, "", ""},
      {"moving into nothing", "", "INAM=x", [&] { return QvSummary_Merge(&list, &other, TRUE, TRUE); }, 0, "", ""},
      {"merging copies", "INAM=a", "INAM=x;IART=y", [&] { return QvSummary_Merge(&list, &other, TRUE, FALSE); }, 3,
       nullptr, "INAM=x;IART=y"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const auto run = [&] {
      const HRESULT result = row.run();
      fail_allocation(0);
      if (FAILED(result)) {
        if (row.dst_after_failure) EXPECT_EQ(describe(list), row.dst_after_failure);
        EXPECT_EQ(describe(other), row.src_after_failure);
      }
      return result;
    };
    EXPECT_EQ(each_allocation(refill(row.dst, row.src), run), row.blocks);
  }
}

TEST(SummaryFailure, AStreamIsReadAllOrNotAtAll) {
  IStream* stream = nullptr;
  ASSERT_EQ(QvCreateMemoryStream(nullptr, 0, &stream), S_OK);
  const SummaryList list("INAM=title;ICMT=;IART=Jo");
  ASSERT_EQ(list.Persist(stream), S_OK);
  SummaryList copy;
  const auto rewind = [&] {
    EXPECT_EQ(describe(copy), "");
    stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
  };
  EXPECT_EQ(each_allocation(rewind, [&] { return copy.Create(stream); }), 1 + 3);
  EXPECT_EQ(describe(copy), describe(list));
  stream->Release();
}

} // namespace
