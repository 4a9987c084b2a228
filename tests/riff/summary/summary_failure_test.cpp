// Summary lists with their n-th file call or n-th allocation failing, for each n. Only the POSIX layer can be made to
// fail. That nothing is leaked is seen under AddressSanitizer.
#include "platform/posix/seams.h"
#include "tests/riff/scratch_file.h"
#include "tests/riff/summary/summary_text.h"

#include "qv/memory_stream.h"

#include <functional>
#include <gtest/gtest.h>

using namespace riff_test;
using qv::platform::fail_allocation;
using qv::platform::fail_io;

namespace {

constexpr int kNever = 1000000;
const Model kModel = parse("INAM=title;ICMT=;IART=Jo");
const Bytes kInfo = info_chunk(kModel);
const Bytes kUnfo = unfo_chunk(kModel);

HRESULT load(HANDLE file, SummaryList& list, const Bytes& whole, HRESULT (*loader)(HANDLE, _summarylisttag*, DWORD*)) {
  DWORD remaining = static_cast<DWORD>(whole.size()) - 12;
  const HRESULT result = loader(file, &list, &remaining);
  EXPECT_EQ(describe(list), result == S_OK ? describe(kModel) : "");
  return result;
}

HRESULT save(HANDLE file, HRESULT (*saver)(HANDLE, const _summarylisttag*, DWORD*)) {
  const SummaryList list(kModel);
  DWORD written = 77;
  const HRESULT result = saver(file, &list, &written);
  EXPECT_EQ(written != 0, result == S_OK);
  return result;
}

HRESULT fetch(HANDLE file) {
  WCHAR text[8];
  DWORD remaining = static_cast<DWORD>(kInfo.size());
  const HRESULT result = QvSummary_GetStringFromFile(file, id_of("IART"), text, 8, &remaining);
  EXPECT_EQ(remaining, kInfo.size());
  return result;
}

struct Operation {
  const char* name;
  Bytes contents;
  int64_t from;
  HRESULT failure;
  std::function<HRESULT(HANDLE)> run;
};

SummaryList loaded;

const Operation kOperations[] = {
    {"Load", kInfo, 12, QVERR_RIFF_READ, [](HANDLE file) { return load(file, loaded, kInfo, QvSummary_Load); }},
    {"LoadUNFO", kUnfo, 12, QVERR_RIFF_READ, [](HANDLE file) { return load(file, loaded, kUnfo, QvSummary_LoadUNFO); }},
    {"Save", "", 0, QVERR_RIFF_WRITE, [](HANDLE file) { return save(file, QvSummary_Save); }},
    {"SaveUNFO", "", 0, QVERR_RIFF_WRITE, [](HANDLE file) { return save(file, QvSummary_SaveUNFO); }},
    {"GetStringFromFile", kInfo, 0, QVERR_RIFF_READ, fetch},
};

TEST(SummaryFailure, EachFileCallThatFailsIsReported) {
  for (const Operation& operation : kOperations) {
    int calls = 1;
    for (int nth = 0; nth <= calls; ++nth) {
      SCOPED_TRACE(operation.name + (" " + std::to_string(nth)));
      const ScratchFile file(operation.contents);
      file.move_to(operation.from);
      fail_io(nth == 0 ? kNever : nth);
      const HRESULT result = operation.run(file);
      if (nth == 0) calls = qv::platform::io_calls();
      fail_io(0);
      EXPECT_EQ(result, nth == 0 ? S_OK : operation.failure);
      if (!operation.contents.empty()) EXPECT_EQ(file.contents(), operation.contents);
    }
    EXPECT_GE(calls, 6) << operation.name;
  }
}

TEST(SummaryFailure, AFetchRestoresThePosition) {
  for (int nth = 1;; ++nth) {
    const ScratchFile file("before" + kInfo);
    file.move_to(6);
    fail_io(nth);
    const HRESULT result = fetch(file);
    const int calls = qv::platform::io_calls();
    fail_io(0);
    if (result == S_OK) break;
    // The last call goes back.
    if (calls != nth) EXPECT_EQ(file.position(), 6) << nth;
  }
}

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

TEST(SummaryFailure, EachAllocationThatFailsWhileReadingIsReported) {
  struct Case {
    const Operation& operation;
    int blocks;
  };
  const Case cases[] = {
      {kOperations[0], 1 + 3 * 2}, // an array, and each text before and after its conversion
      {kOperations[1], 1 + 3},
      {kOperations[4], 2}, // the list's rest, and the text
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.operation.name);
    const ScratchFile file(row.operation.contents);
    EXPECT_EQ(each_allocation([&] { file.move_to(row.operation.from); }, [&] { return row.operation.run(file); }),
              row.blocks);
  }
}

TEST(SummaryFailure, SavingReportsAFailedConversion) {
  const SummaryList list(kModel);
  const ScratchFile file;
  DWORD written = 77;
  EXPECT_EQ(each_allocation([&] { file.move_to(0); }, [&] { return QvSummary_Save(file, &list, &written); }), 3);
  fail_allocation(2);
  file.move_to(0);
  EXPECT_EQ(QvSummary_Save(file, &list, &written), E_OUTOFMEMORY);
  fail_allocation(0);
  EXPECT_EQ(written, 0u);
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
  struct Case {
    const char* name;
    const char* dst;
    const char* src;
    std::function<HRESULT()> run;
    int blocks;
    const char* dst_after_failure; // null: as before, or with the first items
    const char* src_after_failure;
  };
  const DWORD name_id = id_of("INAM");
  const Case cases[] = {
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
  for (const Case& row : cases) {
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
  const SummaryList list(kModel);
  ASSERT_EQ(list.Persist(stream), S_OK);
  SummaryList copy;
  const auto rewind = [&] {
    EXPECT_EQ(describe(copy), "");
    stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
  };
  EXPECT_EQ(each_allocation(rewind, [&] { return copy.Create(stream); }), 1 + 3);
  EXPECT_EQ(describe(copy), describe(kModel));
  stream->Release();
}

} // namespace
