// Headers and data at the file's position.
#include "tests/riff/containers.h"
#include "tests/riff/scratch_file.h"

#include <limits>

using namespace riff_test;

namespace {

template <class C>
class ChunkIo : public testing::Test {};
using RiffAndWave64 = testing::Types<Riff, Wave64>;
TYPED_TEST_SUITE(ChunkIo, RiffAndWave64);

TYPED_TEST(ChunkIo, HeadersAreWrittenInFileOrder) {
  using C = TypeParam;
  const typename C::Id form = id_of<C>(C::kForm), data = id_of<C>("data"), info = id_of<C>("INFO");
  typename C::Id id{};
  typename C::Count size = 77;
  const ScratchFile file;
  EXPECT_EQ(C::write_file_id(file, C::argument(form), 1000), S_OK);
  EXPECT_EQ(C::write_header(file, C::argument(data), 0x80000001), S_OK);
  EXPECT_EQ(C::write_list_header(file, C::argument(info), 26), S_OK);
  file.move_to(3);
  EXPECT_EQ(C::set_size(file, 0xFFFFFFF8), S_OK);
  EXPECT_EQ(C::update_size(file, -8), S_OK);
  EXPECT_EQ(file.position(), 3);
  EXPECT_EQ(file.contents(), header_in<C>(C::kFile, 0xFFFFFFF0) + C::code(C::kForm) + header_in<C>("data", 0x80000001) +
                                 header_in<C>(C::kList, 26) + C::code("INFO"));
  EXPECT_EQ(C::seek_data_start(file), S_OK);
  EXPECT_EQ(C::read_header(file, &id, &size), S_OK);
  EXPECT_TRUE(id == data && size == 0x80000001);
}

TYPED_TEST(ChunkIo, TypedHeadersAreReadWholeOrNotAtAll) {
  using C = TypeParam;
  using Id = typename C::Id;
  using Count = typename C::Count;
  const struct {
    const char* name;
    HRESULT other;
    HRESULT (*read)(HANDLE file, Id* type, Count* size);
  } cases[] = {
      {C::kFile, QVERR_RIFF_NOTRIFF,
       [](HANDLE file, Id* type, Count* size) { return C::read_file_id(file, size, type); }},
      {C::kList, QVERR_RIFF_NOTLIST, C::read_list_header},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    cut_after_each_byte(header_in<C>(row.name, 36) + C::code("INFO"), 0, [&](const ScratchFile& file, size_t length) {
      Id type = id_of<C>("none");
      Count size = 77;
      const bool whole = length == kFirst<C>;
      EXPECT_EQ(row.read(file, &type, &size), whole ? S_OK : QVERR_RIFF_READ);
      EXPECT_TRUE(type == id_of<C>(whole ? "INFO" : "none"));
      EXPECT_EQ(size, whole ? 36 - C::kType : 77);
      EXPECT_EQ(file.position(), static_cast<int64_t>(length));
    });
    Id type;
    Count size = 77;
    const ScratchFile other(header_in<C>("RIFX", 36) + C::code("INFO"));
    EXPECT_EQ(row.read(other, &type, &size), row.other);
    EXPECT_EQ(other.position(), C::kHeader);
    const ScratchFile small(header_in<C>(row.name, C::kType - 1) + C::code("INFO"));
    EXPECT_EQ(row.read(small, &type, &size), S_OK);
    EXPECT_EQ(size, row.name == Bytes("riff") ? ~Count{0} : 0) << "without room for the type there are no sub-chunks";
  }
  const ScratchFile file(file_in<C>(""));
  EXPECT_EQ(C::read_file_id(file, nullptr, nullptr), S_OK);
}

TYPED_TEST(ChunkIo, ChunksArePaddedAndReadBack) {
  using C = TypeParam;
  const typename C::Id id = id_of<C>("data");
  for (const DWORD size : {0u, 1u, 2u, 3u, 8u, 13u, 4096u, 4097u}) {
    SCOPED_TRACE(size);
    const Bytes data(size, 'd');
    const ScratchFile file;
    typename C::Count written = 0;
    EXPECT_EQ(C::write_chunk(file, C::argument(id), data.data(), size, &written), S_OK);
    EXPECT_EQ(file.contents() == chunk_in<C>("data", data), true);
    EXPECT_EQ(written, file.contents().size());
    file.move_to(C::kHeader);
    Bytes read(size + 1, '.');
    EXPECT_EQ(C::read_data(file, read.data(), size), S_OK);
    EXPECT_EQ(read == data + '.', true);
    EXPECT_EQ(file.position(), static_cast<int64_t>(written));
    EXPECT_EQ(C::read_data(file, read.data(), 1), QVERR_RIFF_READ);
  }
  const ScratchFile file;
  EXPECT_EQ(C::write_chunk(file, C::argument(id), "xyz", 3, nullptr), S_OK);
}

TYPED_TEST(ChunkIo, ABoundedReadSkipsByTheBuffer) {
  using C = TypeParam;
  for (const DWORD buffer_size : {0u, 24u, 100u})
    for (const DWORD chunk_size : {0u, 13u, 15u, 16u, 24u, 25u, 40u, 41u, 1000u}) {
      SCOPED_TRACE(testing::Message() << buffer_size << " of " << chunk_size);
      const ScratchFile file(Bytes(40, 'x'));
      const DWORD wanted = std::min(buffer_size, chunk_size), read = std::min<DWORD>(wanted, 40);
      Bytes buffer(buffer_size, '.');
      EXPECT_EQ(C::read_bounded(file, buffer.data(), buffer_size, chunk_size), read == wanted ? S_OK : QVERR_RIFF_READ);
      EXPECT_EQ(buffer, Bytes(read, 'x') + Bytes(buffer_size - read, '.'));
      // Past a smaller chunk's end by the difference; the tail of a larger one is not skipped.
      EXPECT_EQ(file.position(), read == wanted ? buffer_size + chunk_size % C::kAlign : 40);
    }
}

TYPED_TEST(ChunkIo, AllocatesOnlyWhatTheFileHolds) {
  using C = TypeParam;
  using Count = typename C::Count;
  const Bytes bytes = "123456789";
  for (const Count size : {Count{0}, Count{1}, Count{5}, Count{7}, Count{9}, Count{0xFFFFFFFF}, ~Count{0}})
    for (const size_t from : {0, 2, 3, 9, 900}) {
      SCOPED_TRACE(testing::Message() << size << " from " << from);
      const ScratchFile file(bytes);
      file.move_to(static_cast<int64_t>(from));
      char nothing = 0;
      typename C::Data data = {size, &nothing};
      const bool is_there = from < bytes.size() && size <= bytes.size() - from;
      EXPECT_EQ(C::read_alloc(file, &data), is_there || size == 0 ? S_OK : QVERR_RIFF_READ);
      EXPECT_EQ(data.data != nullptr, is_there && size != 0);
      EXPECT_EQ(take(data), is_there ? bytes.substr(from, size) : "");
      EXPECT_EQ((file.position() - static_cast<int64_t>(from)) % C::kAlign, 0);
    }
}

TYPED_TEST(ChunkIo, SkipsAreForwardForEverySize) {
  using C = TypeParam;
  // Sizes from 0x80000000 on are negative as a signed distance of 32 bits.
  for (const DWORD size : {0u, 1u, 2u, 9u, 0x7FFFFFFFu, 0x80000001u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    const ScratchFile file;
    file.move_to(100);
    const int64_t padded = (int64_t{size} + C::kAlign - 1) / C::kAlign * C::kAlign;
    EXPECT_EQ(C::skip(file, size), static_cast<typename C::Count>(padded));
    EXPECT_EQ(file.position(), 100 + padded);
    typename C::Count location = 0;
    EXPECT_EQ(C::save_location(file, &location), S_OK);
    EXPECT_EQ(location, static_cast<typename C::Count>(100 + padded)) << "RIFF knows the low 32 bits";
    file.move_to(3);
    EXPECT_EQ(C::restore_location(file, location), S_OK);
    EXPECT_EQ(file.position(), static_cast<int64_t>(location));
  }
}

TYPED_TEST(ChunkIo, NullArguments) {
  using C = TypeParam;
  typename C::Id id = id_of<C>("data");
  typename C::Count size = 0;
  const Bytes bytes = file_in<C>(chunk_in<C>("data", "x"));
  const ScratchFile file(bytes);
  for (const HRESULT result :
       {C::read_header(file, nullptr, &size), C::read_header(file, &id, nullptr),
        C::read_list_header(file, nullptr, &size), C::read_list_header(file, &id, nullptr),
        C::write_chunk(file, C::argument(id), nullptr, 1, nullptr), C::read_data(file, nullptr, 1),
        C::read_bounded(file, nullptr, 1, 1), C::read_alloc(file, nullptr), C::save_location(file, nullptr),
        C::count(file, nullptr, nullptr)})
    EXPECT_EQ(result, E_INVALIDARG);
  EXPECT_EQ(C::read_data(file, nullptr, 0), S_OK);
  if constexpr (std::is_same_v<C, Wave64>) {
    for (const HRESULT result :
         {riff64_WriteFileID(file, nullptr, 0), riff64_WriteChunkHeader(file, nullptr, 0),
          riff64_WriteListHeader(file, nullptr, 0), riff64_WriteChunk(file, nullptr, "x", 1, nullptr),
          riff64_WriteChunkToFile(file, &id, nullptr, 1), riff64_WriteToFile(file, nullptr, 1),
          riff64_PrepareChunk(file, &id, nullptr), riff64_PrepareList(file, &id, nullptr),
          riff64_FindChunkHeader(file, nullptr, &size, nullptr),
          riff64_FindChunkHeaderInRIFF(file, nullptr, &size, nullptr),
          riff64_FindListChunk(file, nullptr, &size, nullptr), riff64_FindListChunkFromStart(file, nullptr, &size),
          riff64_DeleteChunk(file, nullptr, &size, 0), riff64_DeleteChunk(file, nullptr, &size, 1)})
      EXPECT_EQ(result, E_INVALIDARG);
    EXPECT_EQ(riff64_getGUIDLabel(&id), nullptr);
    EXPECT_EQ(riff64_getGUIDLabelProperly(nullptr), nullptr);
  }
  EXPECT_EQ(file.contents(), bytes);
  EXPECT_EQ(file.position(), 0);
}

TEST(RiffIo, SizesOfTheFile) {
  DWORD size = 0;
  const ScratchFile file(header("RIFF", 36) + "WAVE");
  file.move_to(5);
  EXPECT_EQ(riff_GetFileSize(file, &size), S_OK);
  EXPECT_EQ(size, 40u);
  EXPECT_EQ(file.position(), 8);
  EXPECT_EQ(riff_GetFileSize(file, nullptr), S_OK);
  const ScratchFile other(header("FORM", 36));
  EXPECT_EQ(riff_GetFileSize(other, &size), QVERR_RIFF_NOTRIFF);
}

TEST(RiffIo, TheRiffSizeChangesWithinItsLimits) {
  using Limits = std::numeric_limits<LONGLONG>;
  const Bytes tail(48, 'x'); // of a file of 60 bytes
  for (const DWORD old : {40u, 52u, 900u, 0xFFFFFFF7u, 0xFFFFFFF8u, 0xFFFFFFFFu})
    for (const LONGLONG change : {0ll, 12ll, -8ll, -40ll, -41ll, 0xFFFFFFF7 - 40ll, 0xFFFFFFF8 - 40ll,
                                  static_cast<long long>(Limits::min()), static_cast<long long>(Limits::max())}) {
      SCOPED_TRACE(testing::Message() << old << " + " << change);
      const ScratchFile file(header("RIFF", old) + "WAVE" + tail);
      file.move_to(55);
      const bool too_big = change >= 0xFFFFFFF8 - LONGLONG{old}, below_0 = change < -LONGLONG{old};
      EXPECT_EQ(riff_UpdateRIFFSize(file, change), too_big ? QVERR_RIFF_TOOBIG : below_0 ? QVERR_RIFF_BADSIZE : S_OK);
      EXPECT_EQ(file.position(), 55);
      const auto size = static_cast<uint32_t>(too_big || below_0 ? old : old + change);
      // What is too big is cut to what it was before; a claim does not make the file longer.
      const size_t length = too_big ? size_t{old} + 8 : Bytes::npos;
      EXPECT_EQ(file.contents(), (header("RIFF", size) + "WAVE" + tail).substr(0, length));
    }
}

TEST(RiffIo, ValidationLooksAtTheSizeAlone) {
  EXPECT_EQ(riff_ValidateChunkHeader(nullptr, 0, 1), S_OK);
  EXPECT_EQ(riff_ValidateChunkHeader(nullptr, QVRIFF_ID_DATA, 0), QVERR_RIFF_EMPTYCHUNK);
  EXPECT_EQ(riff_ValidateChunkHeader(nullptr, QVRIFF_ID_DATA, -1), QVERR_RIFF_BADSIZE);
  EXPECT_EQ(riff64_ValidateChunkHeader(nullptr, nullptr, 16), S_OK);
  EXPECT_EQ(riff64_ValidateChunkHeader(nullptr, nullptr, 12), QVERR_RIFF_BADSIZE);
  EXPECT_EQ(riff64_ValidateChunkHeader(nullptr, nullptr, 0), QVERR_RIFF_EMPTYCHUNK);
  EXPECT_EQ(riff64_ValidateChunkHeader(nullptr, nullptr, 0x800000000), QVERR_RIFF_BADSIZE);
  EXPECT_EQ(riff64_ValidateChunkHeader(nullptr, nullptr, 0x700000000), S_OK);
}

TEST(Wave64Io, IdsStandInFilesAsPublished) {
  Bytes ids;
  for (const GUID* id : {&QVW64_RIFF, &QVW64_LIST, &QVW64_WAVE, &QVW64_FMT, &QVW64_DATA, &QVW64_JUNK})
    ids.append(reinterpret_cast<const char*>(id), sizeof *id);
  EXPECT_EQ(ids, guid("riff") + guid("list") + guid("wave") + guid("fmt ") + guid("data") + guid("junk"));
}

TEST(Wave64Io, StoredSizesBelowTheHeader) {
  const struct {
    ULONGLONG stored, chunk, form;
  } cases[] = {{1064, 1040, 1024}, {40, 16, 0},           {30, 6, 6ull - 16},
               {10, 0, 0ull - 16}, {~0ull, 0, 0ull - 16}, {1ull << 62, (1ull << 62) - 24, (1ull << 62) - 40}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.stored);
    const ScratchFile file(header64("riff", row.stored) + guid("wave"));
    ULONGLONG size = 77;
    GUID id;
    EXPECT_EQ(riff64_ReadFileID(file, &size, nullptr), S_OK);
    EXPECT_EQ(size, row.form);
    file.move_to(0);
    EXPECT_EQ(riff64_ReadChunkHeader(file, &id, &size), S_OK);
    EXPECT_EQ(size, row.chunk);
  }
}

TEST(Wave64Io, ChunksCompletedAtTheirEnd) {
  const ScratchFile file(Bytes(5, '.'));
  file.move_to(5); // padding counts from the chunk, wherever it starts
  ULONGLONG list = 77;
  ULONGLONG chunk = 77;
  EXPECT_EQ(riff64_PrepareList(file, &QVW64_WAVE, &list), S_OK);
  EXPECT_EQ(list, 5u);
  EXPECT_EQ(riff64_PrepareChunk(file, &QVW64_DATA, &chunk), S_OK);
  EXPECT_EQ(chunk, 45u);
  EXPECT_EQ(file.contents().substr(5), header64("list", 24) + guid("wave") + header64("data", 24));
  EXPECT_EQ(riff64_WriteToFile(file, "one", 3), S_OK);
  EXPECT_EQ(riff64_WriteToFile(file, "two", 3), S_OK);
  EXPECT_EQ(riff64_AmountWritten(file, chunk), 30u);
  EXPECT_EQ(riff64_CompleteChunk(file, chunk), S_OK);
  EXPECT_EQ(riff64_CompleteChunk(file, list), S_OK);
  EXPECT_EQ(file.position(), 5 + 40 + 32);
  EXPECT_EQ(riff64_Pad(file, 5), S_OK);
  EXPECT_EQ(file.position(), 77);
  EXPECT_EQ(riff64_WriteChunkToFile(file, &QVW64_JUNK, "thirteen byte", 13), S_OK);
  ULONGLONG written = 77;
  EXPECT_EQ(riff64_WriteData(file, "a", 1, &written), S_OK);
  EXPECT_EQ(written, 8u);
  EXPECT_EQ(file.contents().substr(5), header64("list", 72) + guid("wave") + header64("data", 32) + "onetwo" +
                                           Bytes(2, '\0') + header64("junk", 40) + "thirteen byte" + Bytes(3, '\0') +
                                           "a" + Bytes(7, '\0'));
}

} // namespace
