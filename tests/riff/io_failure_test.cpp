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
  const Bytes& bytes; ///< the file
  size_t from;        ///< the position
  HRESULT (*run)(HANDLE);
  unsigned flags = 0;
  HRESULT other = E_FAIL; ///< what a failure may give besides
};

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
      {"ReadFileID", whole, 0, [](HANDLE file) { return C::read_file_id(file, &size, &id); }, kReads},
      {"SeekDataStart", whole, 0, [](HANDLE file) { return C::seek_data_start(file); }, kReads},
      {"SetRIFFSize", whole, 30, [](HANDLE file) { return C::set_size(file, 100); }, kWrites | kRestores},
      {"UpdateRIFFSize", whole, 30, [](HANDLE file) { return C::update_size(file, 8); }, kRestores},
      {"ReadChunkHeader", whole, first, [](HANDLE file) { return C::read_header(file, &id, &size); }, kReads},
      {"WriteChunkHeader", whole, first, [](HANDLE file) { return C::write_header(file, C::argument(data), 2); },
       kWrites},
      {"ReadListHeader", whole, sample.list, [](HANDLE file) { return C::read_list_header(file, &id, &size); }, kReads},
      {"WriteListHeader", whole, first, [](HANDLE file) { return C::write_list_header(file, C::argument(info), 2); },
       kWrites},
      {"WriteChunk", whole, first, [](HANDLE file) { return C::write_chunk(file, C::argument(data), "abc", 3, &size); },
       kWrites},
      {"ReadData", whole, first, [](HANDLE file) { return C::read_data(file, buffer, 15); }, kReads},
      {"ReadDataBounded", whole, first, [](HANDLE file) { return C::read_bounded(file, buffer, 24, 15); }, kReads},
      {"ReadDataAlloc", whole, first,
       [](HANDLE file) {
         typename C::Data block = {15, nullptr};
         const HRESULT result = C::read_alloc(file, &block);
         EXPECT_EQ(block.data != nullptr, result == S_OK);
         if (block.data) GlobalUnlock(GlobalHandle(block.data)), GlobalFree(GlobalHandle(block.data));
         return result;
       },
       kReads},
      {"SaveLocation", whole, 20, [](HANDLE file) { return C::save_location(file, &size); }, kReads},
      {"RestoreLocation", whole, 20, [](HANDLE file) { return C::restore_location(file, 4); }, kReads},
      {"FindChunkHeader", whole, first, [](HANDLE file) { return C::find(file, C::argument(data), &size, nullptr); },
       kReads},
      {"FindChunkHeaderInRIFF", whole, 0,
       [](HANDLE file) { return C::find_from_start(file, C::argument(data), &size, &left); }, kReads},
      {"FindListChunk", whole, first, [](HANDLE file) { return C::find_list(file, C::argument(info), &size, nullptr); },
       kReads},
      {"FindListChunkFromStart", whole, 0,
       [](HANDLE file) { return C::find_list_from_start(file, C::argument(info), &size); }, kReads},
      {"GetNumListEntries", whole, first,
       [](HANDLE file) {
         left = 9100;
         return C::count(file, &word, &left);
       },
       kReads | kRestores},
      {"SeekListEntry", whole, first, [](HANDLE file) { return C::seek_entry(file, 3, nullptr); }, kReads},
      {"DeleteChunk", whole, 0, [](HANDLE file) { return C::remove(file, C::argument(fmt), &size, 0); }},
      {"DeleteChunk, list", whole, 0, [](HANDLE file) { return C::remove(file, C::argument(info), &size, 1); }},
  };
  for (const Operation& operation : operations)
    expect_each_failure_reported(operation);
}

TEST(IoFailures, OfOneContainerAlone) {
  const Sample<Riff> sample;
  const Sample<Wave64> sample64;
  const Bytes common = Bytes("\0\1\0\0\0\4\0\x10\x40\x0E\xAC\x44\0\0\0\0\0\0", 18);
  const Bytes mark = Bytes("\0\1\0\7\0\0\0\5\3two", 12);
  const Bytes riff_file = sample.whole, wave64_file = sample64.whole;
  const Bytes wave = riff("WAVE", chunk("fmt ", kRecord) + chunk("data", Bytes(5000, 'd')));
  const Bytes aiff = file_in<Iff>(chunk_in<Iff>("COMM", common) + chunk_in<Iff>("MARK", mark) +
                                  chunk_in<Iff>("SSND", Bytes(5000, '\0')));
  const Operation operations[] = {
      {"GetFileSize", riff_file, 0, [](HANDLE file) { return riff_GetFileSize(file, &word); }, kReads},
      {"WriteANSIString", riff_file, 56, [](HANDLE file) { return riff_WriteANSIString(file, u"title", &word); },
       kWrites},
      {"ReadANSIString", riff_file, sample.text_at,
       [](HANDLE file) { return riff_ReadANSIString(file, text, 32, &(word = 6)); }, kReads},
      {"WriteChunkToFile", wave64_file, 40,
       [](HANDLE file) { return riff64_WriteChunkToFile(file, &QVW64_JUNK, "abc", 3); }, kWrites},
      {"InsertWavHeader", wave, 7, [](HANDLE file) { return QvInsertWavHeader(file, &kStereo, 100, 60); }, kRestores,
       QVERR_RIFF_BADSIZE}, // the file's size cannot be told
      {"InsertW64Header", wave, 7, [](HANDLE file) { return QvInsertW64Header(file, &kStereo, 100, 144); }, kRestores,
       QVERR_RIFF_BADSIZE},
      {"GetFileWfx", wave, 7, [](HANDLE file) { return QvGetFileWfx(file, &format); }, kReads | kRestores},
      {"SetFileWfx", wave, 7, [](HANDLE file) { return QvSetFileWfx(file, &kStereo); }, kRestores},
      {"FixTrashedWav", wave, 7, [](HANDLE file) { return QvFixTrashedWav(file, nullptr, 0xFFFFFFFF); }, kRestores,
       S_OK}, // where the walk fails the search goes on
      {"GetAIFFWfx", aiff, 0, [](HANDLE file) { return iff_GetAIFFWfx(file, &format, &word, &start, &bytes_there); },
       kReads, QVERR_RIFF_WRONGFORM}, // what cannot be read is not recognised
      {"FindMarker", aiff, 0, [](HANDLE file) { return iff_FindMarker(file, &marker, 7); }, kReads},
      {"iff_DeleteChunk", aiff, 0, [](HANDLE file) { return iff_DeleteChunk(file, QVIFF_ID_MARK, &word); }},
      {"iff_WriteFileID", aiff, 0, [](HANDLE file) { return iff_WriteFileID(file, QVIFF_FORM_AIFF, 4); }, kWrites},
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
      {{"Load", kInfo, 12, [](HANDLE file) { return load(file, kInfo, QvSummary_Load); }, kReads}, 1 + 3 * 2},
      {{"LoadUNFO", kUnfo, 12, [](HANDLE file) { return load(file, kUnfo, QvSummary_LoadUNFO); }, kReads}, 1 + 3},
      {{"Save", nothing, 0, [](HANDLE file) { return save(file, QvSummary_Save); }, kWrites}, 3},
      {{"SaveUNFO", nothing, 0, [](HANDLE file) { return save(file, QvSummary_SaveUNFO); }, kWrites}, 0},
      {{"GetStringFromFile", before, 6, fetch, kReads | kRestores}, 2},
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
  const ScratchFile file(sample.whole);
  file.move_to(static_cast<int64_t>(sample.text_at));
  DWORD size = 6;
  QVRIFFDATA data = {16, nullptr};
  fail_allocation(1);
  EXPECT_EQ(riff_WriteANSIString(file, u"title", nullptr), E_OUTOFMEMORY);
  fail_allocation(1);
  EXPECT_EQ(riff_ReadANSIString(file, text, 32, &size), E_OUTOFMEMORY);
  fail_allocation(1);
  EXPECT_EQ(riff_ReadDataAlloc(file, &data), E_OUTOFMEMORY);
  fail_allocation(0);
  EXPECT_EQ(data.data, nullptr);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(file.position(), static_cast<int64_t>(sample.text_at));
  EXPECT_EQ(file.contents() == sample.whole, true);
}

} // namespace
