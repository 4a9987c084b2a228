// Deletion by what the headers claim, and sizes that no file can have.
#include "tests/riff/containers.h"
#include "tests/riff/scratch_file.h"

using namespace riff_test;

namespace {

template <class C>
class ChunkDelete : public testing::Test {};
using RiffAndWave64 = testing::Types<Riff, Wave64>;
TYPED_TEST_SUITE(ChunkDelete, RiffAndWave64);

TYPED_TEST(ChunkDelete, TakesOffAllThatTheHeaderClaims) {
  using C = TypeParam;
  const Bytes format = chunk_in<C>("fmt ", Bytes(16, 'f'));
  const Bytes audio = format + header_in<C>("data", 1000), long_audio = audio + Bytes(2000, 'd');
  const size_t claimed = 1000 + C::kHeader;
  const auto file_of_size = [&](size_t stored) { return file_header_in<C>(stored - C::kType - C::kCounted); };
  const struct {
    const char* name;
    Bytes before;
    const char* id;
    HRESULT result;
    size_t removed;
    Bytes after; ///< empty: as before
  } cases[] = {
      {"bytes behind the form move along", file_in<C>(format + chunk_in<C>("data", "12")) + "tail", "fmt ", S_OK,
       format.size(), file_in<C>(chunk_in<C>("data", "12")) + "tail"},
      {"cut", file_header_in<C>(format.size() + claimed) + audio + Bytes(500, 'd'), "data", S_OK, claimed,
       file_in<C>(format)},
      {"one byte more", file_of_size(claimed - 1) + long_audio, "data", QVERR_RIFF_BADSIZE, 77, ""},
      {"just as much", file_of_size(claimed) + long_audio, "data", S_OK, claimed,
       file_of_size(0) + format + Bytes(1000, 'd')},
      {"list", file_in<C>(format + header_in<C>(C::kList, 500) + C::code("INFO")), "INFO", QVERR_RIFF_BADSIZE, 77, ""},
      {"no form", header_in<C>("FORM", 20) + Bytes(C::kType, 'x'), "data", QVERR_RIFF_NOTRIFF, 77, ""},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const ScratchFile file(row.before);
    typename C::Count removed = 77;
    const typename C::Id id = id_of<C>(row.id);
    EXPECT_EQ(C::remove(file, C::argument(id), &removed, row.id == Bytes("INFO") ? 1 : 0), row.result);
    EXPECT_EQ(removed, row.removed);
    EXPECT_EQ(file.contents() == (row.after.empty() ? row.before : row.after), true);
  }
  for (const size_t tail : {0u, 1u, 4095u, 4096u, 4097u, 8192u}) { // whole and partial blocks
    Bytes claim = header_in<C>("data", tail);
    for (size_t k = 0; k < tail; ++k)
      claim += static_cast<char>(k * 7 + (k >> 8));
    const ScratchFile file(file_in<C>(format + claim));
    const typename C::Id id = id_of<C>("fmt ");
    EXPECT_EQ(C::remove(file, C::argument(id), nullptr, 0), S_OK);
    EXPECT_EQ(file.contents() == file_in<C>(claim), true) << tail;
  }
}

// Sizes that cannot be rounded up, skipped to, or held in 32 or 63 bits.
TEST(HostileSizes, EndTheWalk) {
  const ScratchFile riff_file(riff("WAVE", chunk("fmt ", "f") + header("data", 0xFFFFFFFF)));
  DWORD left = 20;
  EXPECT_EQ(riff_DeleteChunk(riff_file, QVRIFF_ID_DATA, nullptr, 0), QVERR_RIFF_BADSIZE);
  riff_file.move_to(22);
  EXPECT_EQ(riff_FindChunkHeader(riff_file, QvFourCC("none"), nullptr, &left), QVERR_RIFF_NOTFOUND);
  EXPECT_EQ(left, 0u);
  EXPECT_EQ(riff_file.position(), 30 + (1ll << 32));
  const ScratchFile small(header("RIFF", 2) + "WAVE" + chunk("fmt ", "12"));
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(small, QVRIFF_ID_FMT, nullptr, &left), QVERR_RIFF_NOTFOUND);
  for (const ULONGLONG stored : {ULONGLONG{0}, ULONGLONG{1}, ULONGLONG{0x7FFFFFFFFFFFFFFF},
                                 ULONGLONG{0x7FFFFFFFFFFFFFF0}, ULONGLONG{0x8000000000000000}, ~ULONGLONG{0}}) {
    const ScratchFile file(header64("riff", 0) + guid("wave") + header64("junk", stored) + Bytes(48, '\0'));
    ULONGLONG remaining = 77;
    EXPECT_EQ(riff64_FindChunkHeaderInRIFF(file, &QVW64_DATA, nullptr, &remaining), QVERR_RIFF_READ) << stored;
    EXPECT_EQ(remaining, 0ull - 16);
    DWORD count = 0;
    file.move_to(40);
    EXPECT_EQ(riff64_GetNumListEntries(file, &count, nullptr), QVERR_RIFF_READ);
    EXPECT_LE(count, 3u);
  }
}

} // namespace
