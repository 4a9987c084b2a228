// Every operation with its n-th file call failing, for each n, and with its n-th allocation. Only the POSIX layer can
// be made to fail.
#include "platform/posix/seams.h"
#include "tests/riff/containers.h"
#include "tests/riff/scratch_file.h"
#include "tests/riff/summary/summary_text.h"

#include "qv/wave_file.h"

using namespace riff_test;
using qv::platform::fail_allocation;
using qv::platform::fail_io;

namespace {

enum : unsigned {
  kReads = 1,    ///< the file stays as it is, and QVERR_RIFF_READ is the only failure
  kWrites = 2,   ///< QVERR_RIFF_WRITE is the only failure
  kRestores = 4, ///< the position is restored
};

struct Operation {
  const char* name;
  HRESULT (*run)(HANDLE);
  const Bytes& bytes; ///< the file
  size_t from;        ///< the position
  unsigned flags = 0;
  HRESULT other = E_FAIL; ///< what a failure may give besides
};
/// The first two members, of a call with `file`.
#define QV_CALL(...) #__VA_ARGS__, [](HANDLE file) -> HRESULT { return __VA_ARGS__; }

void expect_each_failure_reported(const Operation& operation) {
  SCOPED_TRACE(operation.name);
  constexpr int kNever = 1'000'000;
  int calls = 1;
  for (int nth = 0; nth <= calls; ++nth) {
    SCOPED_TRACE(nth);
    const ScratchFile file(operation.bytes);
    file.move_to(static_cast<int64_t>(operation.from));
    // First with a failure far off: how many calls there are to fail.
    fail_io(nth == 0 ? kNever : nth);
    const HRESULT result = operation.run(file);
    if (nth == 0) calls = qv::platform::io_calls();
    fail_io(0);
    if (nth == 0) {
      ASSERT_EQ(result, S_OK);
      ASSERT_GE(calls, 1);
      continue;
    }
    const bool read_failed = result == QVERR_RIFF_READ && (operation.flags & kWrites) == 0;
    const bool write_failed = result == QVERR_RIFF_WRITE && (operation.flags & kReads) == 0;
    EXPECT_TRUE(read_failed || write_failed || result == operation.other) << std::hex << result;
    if ((operation.flags & kReads) != 0) EXPECT_EQ(file.contents() == operation.bytes, true);
    // The call that goes back to the position is the last; when that fails the position is lost.
    if ((operation.flags & kRestores) != 0 && nth < calls)
      EXPECT_EQ(file.position(), static_cast<int64_t>(operation.from));
  }
}

WAVEFORMATEX format;
const WAVEFORMATEX kStereo = {1, 2, 44'100, 176'400, 4, 16, 0};
const Bytes kRecord = u16(1) + u16(2) + u32(44'100) + u32(176'400) + u16(4) + u16(16) + u16(0);
WCHAR text[32];
char buffer[64];
DWORD word;
ULONGLONG start, bytes_there;
QVIFFMARKER marker;

/// A format chunk, a list, a larger chunk and another behind it.
template <class C>
struct Sample {
  Bytes format_chunk = chunk_in<C>("fmt ", kRecord);
  Bytes info = list_in<C>("INFO", chunk_in<C>("INAM", Bytes("title\0", 6)));
  Bytes whole =
      file_in<C>(format_chunk + info + chunk_in<C>("data", Bytes(9001, 'd')) + chunk_in<C>("tail", Bytes(5000, 't')));
  size_t first = kFirst<C>;
  size_t list = first + format_chunk.size();
  size_t text_at = list + kFirst<C> + C::kHeader;
};

template <class C>
HRESULT read_block(HANDLE file) {
  typename C::Data block = {15, nullptr};
  const HRESULT result = C::read_alloc(file, &block);
  EXPECT_EQ(take(block).size(), result == S_OK ? 15 : 0);
  return result;
}

template <class C>
class IoFailure : public testing::Test {};
using RiffAndWave64 = testing::Types<Riff, Wave64>;
TYPED_TEST_SUITE(IoFailure, RiffAndWave64);

TYPED_TEST(IoFailure, OfChunkFunctions) {
  using C = TypeParam;
  const Sample<C> sample;
  static const typename C::Id info = id_of<C>("INFO"), data = id_of<C>("data"), fmt = id_of<C>("fmt ");
  static typename C::Id id;
  static typename C::Count size, left;
  const Bytes& whole = sample.whole;
  const size_t first = sample.first;
  const Operation operations[] = {
      {QV_CALL(C::read_file_id(file, &size, &id)), whole, 0, kReads},
      {QV_CALL(C::seek_data_start(file)), whole, 0, kReads},
      {QV_CALL(C::set_size(file, 100)), whole, 30, kWrites | kRestores},
      {QV_CALL(C::update_size(file, 8)), whole, 30, kRestores},
      {QV_CALL(C::read_header(file, &id, &size)), whole, first, kReads},
      {QV_CALL(C::write_header(file, C::argument(data), 2)), whole, first, kWrites},
      {QV_CALL(C::read_list_header(file, &id, &size)), whole, sample.list, kReads},
      {QV_CALL(C::write_list_header(file, C::argument(info), 2)), whole, first, kWrites},
      {QV_CALL(C::write_chunk(file, C::argument(data), "abc", 3, &size)), whole, first, kWrites},
      {QV_CALL(C::read_data(file, buffer, 15)), whole, first, kReads},
      {QV_CALL(C::read_bounded(file, buffer, 24, 15)), whole, first, kReads},
      {QV_CALL(read_block<C>(file)), whole, first, kReads},
      {QV_CALL(C::save_location(file, &size)), whole, 20, kReads},
      {QV_CALL(C::restore_location(file, 4)), whole, 20, kReads},
      {QV_CALL(C::find(file, C::argument(data), &size, nullptr)), whole, first, kReads},
      {QV_CALL(C::find_from_start(file, C::argument(data), &size, &left)), whole, 0, kReads},
      {QV_CALL(C::find_list(file, C::argument(info), &size, nullptr)), whole, first, kReads},
      {QV_CALL(C::find_list_from_start(file, C::argument(info), &size)), whole, 0, kReads},
      {QV_CALL(C::count(file, &word, &(left = 9100))), whole, first, kReads | kRestores},
      {QV_CALL(C::seek_entry(file, 3, nullptr)), whole, first, kReads},
      {QV_CALL(C::remove(file, C::argument(fmt), &size, 0)), whole, 0},
      {QV_CALL(C::remove(file, C::argument(info), &size, 1)), whole, 0},
  };
  for (const Operation& operation : operations)
    expect_each_failure_reported(operation);
}

TEST(IoFailures, OfOneContainerAlone) {
  const Sample<Riff> sample;
  const Sample<Wave64> sample64;
  const Bytes common = Bytes("\0\1\0\0\0\4\0\x10\x40\x0E\xAC\x44\0\0\0\0\0\0", 18);
  const Bytes mark = Bytes("\0\1\0\7\0\0\0\5\3two", 12);
  const Bytes &riff_file = sample.whole, &wave64_file = sample64.whole;
  const Bytes wave = riff("WAVE", chunk("fmt ", kRecord) + chunk("data", Bytes(5000, 'd')));
  const Bytes aiff = file_in<Iff>(chunk_in<Iff>("COMM", common) + chunk_in<Iff>("MARK", mark) +
                                  chunk_in<Iff>("SSND", Bytes(5000, '\0')));
  const Operation operations[] = {
      {QV_CALL(riff_GetFileSize(file, &word)), riff_file, 0, kReads},
      {QV_CALL(riff_WriteANSIString(file, u"title", &word)), riff_file, 56, kWrites},
      {QV_CALL(riff_ReadANSIString(file, text, 32, &(word = 6))), riff_file, sample.text_at, kReads},
      {QV_CALL(riff64_WriteChunkToFile(file, &QVW64_JUNK, "abc", 3)), wave64_file, 40, kWrites},
      // The file's size cannot be told.
      {QV_CALL(QvInsertWavHeader(file, &kStereo, 100, 60)), wave, 7, kRestores, QVERR_RIFF_BADSIZE},
      {QV_CALL(QvInsertW64Header(file, &kStereo, 100, 144)), wave, 7, kRestores, QVERR_RIFF_BADSIZE},
      {QV_CALL(QvGetFileWfx(file, &format)), wave, 7, kReads | kRestores},
      {QV_CALL(QvSetFileWfx(file, &kStereo)), wave, 7, kRestores},
      // Where the walk fails the search goes on.
      {QV_CALL(QvFixTrashedWav(file, nullptr, 0xFFFFFFFF)), wave, 7, kRestores, S_OK},
      // What cannot be read is not recognised.
      {QV_CALL(iff_GetAIFFWfx(file, &format, &word, &start, &bytes_there)), aiff, 0, kReads, QVERR_RIFF_WRONGFORM},
      {QV_CALL(iff_FindMarker(file, &marker, 7)), aiff, 0, kReads},
      {QV_CALL(iff_DeleteChunk(file, QVIFF_ID_MARK, &word)), aiff, 0},
      {QV_CALL(iff_WriteFileID(file, QVIFF_FORM_AIFF, 4)), aiff, 0, kWrites},
  };
  for (const Operation& operation : operations)
    expect_each_failure_reported(operation);
}

TEST(IoFailures, OnlyTheFormTypeDecidesForTheFileHeader) {
  const struct {
    int nth;
    HRESULT result;
    Bytes contents, contents64;
  } cases[] = {
      {1, S_OK, "WAVE", guid("wave")},                              // the size is not written when "RIFF" failed
      {2, S_OK, "RIFFWAVE", guid("riff") + guid("wave")},           // a failed size is not reported
      {3, QVERR_RIFF_WRITE, "RIFF" + u32(5), header64("riff", 29)}, // the form type is
  };
  for (const auto& row : cases) {
    const ScratchFile file, file64;
    fail_io(row.nth);
    EXPECT_EQ(riff_WriteFileID(file, QVRIFF_FORM_WAVE, 5), row.result);
    fail_io(row.nth);
    EXPECT_EQ(riff64_WriteFileID(file64, &QVW64_WAVE, 5), row.result);
    fail_io(0);
    EXPECT_EQ(file.contents(), row.contents);
    EXPECT_EQ(file64.contents(), row.contents64);
  }
}

// ---- summary lists -------------------------------------------------------------------------------------------------

const Model kModel = parse("INAM=title;ICMT=;IART=Jo");
const Bytes kInfo = info_chunk(kModel);
const Bytes kUnfo = unfo_chunk(kModel);
SummaryList loaded;

HRESULT load(HANDLE file, const Bytes& whole, HRESULT (*loader)(HANDLE, _summarylisttag*, DWORD*)) {
  DWORD remaining = static_cast<DWORD>(whole.size()) - 12;
  const HRESULT result = loader(file, &loaded, &remaining);
  EXPECT_EQ(describe(loaded), result == S_OK ? describe(kModel) : "");
  return result;
}

const SummaryList kList(kModel);

HRESULT save(HANDLE file, HRESULT (*saver)(HANDLE, const _summarylisttag*, DWORD*)) {
  DWORD written = 77;
  const HRESULT result = saver(file, &kList, &written);
  EXPECT_EQ(written != 0, result == S_OK);
  return result;
}

HRESULT fetch(HANDLE file) {
  DWORD remaining = static_cast<DWORD>(kInfo.size());
  const HRESULT result = QvSummary_GetStringFromFile(file, summary_id("IART"), text, 8, &remaining);
  EXPECT_EQ(remaining, kInfo.size());
  return result;
}

TEST(IoFailures, OfSummaryLists) {
  // Blocks: an array, and each text before and after its conversion; each conversion; the list's rest, and the text.
  const Bytes nothing, before = "before" + kInfo;
  const struct {
    Operation operation;
    int blocks;
  } cases[] = {
      {{QV_CALL(load(file, kInfo, QvSummary_Load)), kInfo, 12, kReads}, 1 + 3 * 2},
      {{QV_CALL(load(file, kUnfo, QvSummary_LoadUNFO)), kUnfo, 12, kReads}, 1 + 3},
      {{QV_CALL(save(file, QvSummary_Save)), nothing, 0, kWrites}, 3},
      {{QV_CALL(save(file, QvSummary_SaveUNFO)), nothing, 0, kWrites}, 0},
      {{QV_CALL(fetch(file)), before, 6, kReads | kRestores}, 2},
  };
  for (const auto& [operation, blocks] : cases) {
    expect_each_failure_reported(operation);
    SCOPED_TRACE(operation.name);
    for (int nth = 1; nth <= blocks + 1; ++nth) {
      const ScratchFile file(operation.bytes);
      file.move_to(static_cast<int64_t>(operation.from));
      fail_allocation(nth);
      EXPECT_EQ(operation.run(file), nth <= blocks ? E_OUTOFMEMORY : S_OK);
      fail_allocation(0);
    }
  }
}

TEST(AllocationFailure, IsReportedAndMovesNothing) {
  const Sample<Riff> sample;
  const Operation operations[] = {
      {QV_CALL(riff_WriteANSIString(file, u"title", nullptr)), sample.whole, sample.text_at},
      {QV_CALL(riff_ReadANSIString(file, text, 32, &(word = 6))), sample.whole, sample.text_at},
      {QV_CALL(read_block<Riff>(file)), sample.whole, sample.text_at},
  };
  for (const Operation& operation : operations) {
    SCOPED_TRACE(operation.name);
    const ScratchFile file(operation.bytes);
    file.move_to(static_cast<int64_t>(operation.from));
    fail_allocation(1);
    EXPECT_EQ(operation.run(file), E_OUTOFMEMORY);
    fail_allocation(0);
    EXPECT_EQ(file.position(), static_cast<int64_t>(operation.from));
    EXPECT_EQ(file.contents() == operation.bytes, true);
  }
}

} // namespace
