#include "tests/riff/scratch_file.h"

#include <gtest/gtest.h>

using namespace riff_test;

namespace {

struct Deletion {
  const char* name;
  Bytes before;
  const char* id;
  bool is_list;
  HRESULT result;
  DWORD removed;
  Bytes after; ///< empty: as before
};

void check(const Deletion& row) {
  SCOPED_TRACE(row.name);
  const ScratchFile file(row.before);
  DWORD removed = 77;
  EXPECT_EQ(riff_DeleteChunk(file, u32_at(row.id, 0), &removed, row.is_list ? 1 : 0), row.result);
  EXPECT_EQ(removed, row.result == S_OK ? row.removed : 77);
  EXPECT_EQ(file.contents() == (row.after.empty() ? row.before : row.after), true);
}

const Bytes kFormat = chunk("fmt ", Bytes(16, 'f'));
const Bytes kInfo = list("INFO", chunk("INAM", "abc"));
const Bytes kOther = list("adtl", chunk("note", "n"));

TEST(ChunkDelete, ClosesTheGap) {
  const Bytes data = chunk("data", Bytes(10001, 'd'));
  const Bytes whole = riff("WAVE", kFormat + kInfo + data + kOther);
  const Deletion cases[] = {
      {"first", whole, "fmt ", false, S_OK, 24, riff("WAVE", kInfo + data + kOther)},
      {"odd, in the middle", whole, "data", false, S_OK, 10010, riff("WAVE", kFormat + kInfo + kOther)},
      {"list by type", whole, "INFO", true, S_OK, 24, riff("WAVE", kFormat + data + kOther)},
      {"last list", whole, "adtl", true, S_OK, 22, riff("WAVE", kFormat + kInfo + data)},
      {"first list by its chunk id", whole, "LIST", false, S_OK, 24, riff("WAVE", kFormat + data + kOther)},
      {"only chunk", riff("WAVE", kFormat), "fmt ", false, S_OK, 24, riff("WAVE", "")},
      {"bytes behind the form move along", whole + "tail", "fmt ", false, S_OK, 24,
       riff("WAVE", kInfo + data + kOther) + "tail"},
      {"absent", whole, "fact", false, QVERR_RIFF_NOTFOUND, 0, {}},
      {"sub-chunk", whole, "INAM", false, QVERR_RIFF_NOTFOUND, 0, {}},
      {"chunk asked for as a list", whole, "fmt ", true, QVERR_RIFF_NOTFOUND, 0, {}},
      {"not a RIFF file", header("FORM", 100) + "AIFF", "fmt ", false, QVERR_RIFF_NOTRIFF, 0, {}},
  };
  for (const Deletion& row : cases)
    check(row);
}

TEST(ChunkDelete, MovesWholeAndPartialBlocks) {
  for (size_t tail : {0u, 1u, 4095u, 4096u, 4097u, 8191u, 8192u, 12288u}) {
    SCOPED_TRACE(tail);
    Bytes rest(tail, '\0');
    for (size_t k = 0; k < tail; ++k)
      rest[k] = static_cast<char>(k * 7 + (k >> 8));
    const Bytes claim = header("data", static_cast<uint32_t>(tail)) + rest;
    const Bytes after = riff("WAVE", claim);
    check({"", riff("WAVE", kFormat + claim), "fmt ", false, S_OK, 24, after});
  }
}

TEST(ChunkDelete, ACutChunkGoesWithWhatIsThere) {
  const Bytes before = header("RIFF", 4 + 24 + 1008) + "WAVE" + kFormat + header("data", 1000) + Bytes(500, 'd');
  check({"", before, "data", false, S_OK, 1008, riff("WAVE", kFormat)});
}

// The RIFF size shrinks by the padded length, whether or not the file's writer counted the last pad byte.
TEST(ChunkDelete, TheLastPadByteIsAlwaysTakenOff) {
  const Bytes body = kFormat + chunk("odd ", "abc");
  const Bytes uncounted = header("RIFF", static_cast<uint32_t>(body.size() + 3)) + "WAVE" + body;
  const Bytes after = header("RIFF", 4 + 24 - 1) + "WAVE" + kFormat;
  check({"pad byte in the file", uncounted, "odd ", false, S_OK, 12, after});
  check({"no pad byte", uncounted.substr(0, uncounted.size() - 1), "odd ", false, S_OK, 12, after});
}

TEST(ChunkDelete, RefusesWhatTheRiffSizeCannotLose) {
  const Bytes tail = header("data", 1000) + Bytes(2000, 'd');
  const auto with_size = [&](uint32_t size) { return riff("WAVE", kFormat).replace(4, 4, u32(size)) + tail; };
  check({"one byte too long", with_size(1007), "data", false, QVERR_RIFF_BADSIZE, 0, {}});
  check({"just as long", with_size(1008), "data", false, S_OK, 1008,
         riff("WAVE", kFormat).replace(4, 4, u32(0)) + Bytes(1000, 'd')});
  check(
      {"2^32 - 1 bytes", riff("WAVE", kFormat + header("data", 0xFFFFFFFF)), "data", false, QVERR_RIFF_BADSIZE, 0, {}});
  check({"list", riff("WAVE", header("LIST", 500) + "INFO"), "INFO", true, QVERR_RIFF_BADSIZE, 0, {}});
}

} // namespace
