#include "tests/riff/scratch_file.h"

#include <gtest/gtest.h>
#include <optional>

using namespace riff_test;

namespace {

// Bytes at: "aaaa" 0, "LIST" of type "one " 12, "bbbb" 34, "LIST" of type "two " 44, end 64.
const Bytes kChunks =
    chunk("aaaa", "123") + list("one ", chunk("sub1", "xy")) + chunk("bbbb", "zz") + list("two ", chunk("sub2", ""));

struct Search {
  const char* name;
  const char* id;
  std::optional<DWORD> remaining;
  HRESULT result;
  DWORD size; ///< when found
  DWORD left; ///< of a given remaining count
  int64_t position;
};

void check(const Search& row, const Bytes& bytes,
           HRESULT (*search)(HANDLE file, DWORD id, DWORD* size, DWORD* remaining)) {
  SCOPED_TRACE(row.name);
  const ScratchFile file(bytes);
  DWORD remaining = row.remaining.value_or(0);
  DWORD size = 77;
  const DWORD id = u32_at(row.id, 0);
  EXPECT_EQ(search(file, id, &size, row.remaining ? &remaining : nullptr), row.result);
  EXPECT_EQ(size, row.result == S_OK ? row.size : 77);
  EXPECT_EQ(file.position(), row.position);
  EXPECT_EQ(remaining, row.remaining ? row.left : 0);
  file.move_to(0);
  EXPECT_NE(search(file, id, nullptr, nullptr), QVERR_RIFF_NOTFOUND) << "without a bound only the file ends it";
}

TEST(ChunkSearch, FindsAChunkWithinWhatRemains) {
  const Bytes all = kChunks;
  const DWORD length = static_cast<DWORD>(all.size());
  const Search cases[] = {
      {"first", "aaaa", length, S_OK, 3, length - 8, 8},
      {"behind an odd chunk and a list", "bbbb", length, S_OK, 2, length - 42, 42},
      {"unbounded", "bbbb", {}, S_OK, 2, 0, 42},
      {"header at the end of the range", "bbbb", 42, S_OK, 2, 0, 42},
      {"range ends in the header", "bbbb", 41, QVERR_RIFF_NOTFOUND, 0, 7, 34},
      {"remaining below a header", "aaaa", 7, QVERR_RIFF_NOTFOUND, 0, 7, 0},
      {"nothing remaining", "aaaa", 0, QVERR_RIFF_NOTFOUND, 0, 0, 0},
      {"sub-chunks are not looked at", "sub1", length, QVERR_RIFF_NOTFOUND, 0, 0, length},
      {"file ends before the range", "none", length + 8, QVERR_RIFF_READ, 0, 8, length},
      {"unbounded to the file's end", "none", {}, QVERR_RIFF_READ, 0, 0, length},
  };
  for (const Search& row : cases)
    check(row, all, riff_FindChunkHeader);
}

TEST(ChunkSearch, AChunkLargerThanTheRangeUsesItUp) {
  const Search row = {"larger", "none", 20, QVERR_RIFF_NOTFOUND, 0, 0, 1008};
  check(row, header("aaaa", 1000) + Bytes(30, 'x'), riff_FindChunkHeader);
  const Search huge = {"2^32 bytes", "none", 20, QVERR_RIFF_NOTFOUND, 0, 0, 0x100000008};
  check(huge, header("aaaa", 0xFFFFFFFF) + Bytes(30, 'x'), riff_FindChunkHeader);
}

TEST(ChunkSearch, FindsAListByItsType) {
  const DWORD length = static_cast<DWORD>(kChunks.size());
  const Search cases[] = {
      {"first list", "one ", length, S_OK, 10, length - 24, 24},
      {"second list", "two ", length, S_OK, 8, length - 56, 56},
      {"unbounded", "two ", {}, S_OK, 8, 0, 56},
      {"no room for the type", "one ", 23, QVERR_RIFF_NOTFOUND, 0, 3, 20},
      {"chunks are not lists", "aaaa", length, QVERR_RIFF_NOTFOUND, 0, 0, length},
      {"range ends in the second list's header", "two ", 51, QVERR_RIFF_NOTFOUND, 0, 7, 44},
  };
  for (const Search& row : cases)
    check(row, kChunks, riff_FindListChunk);
}

TEST(ChunkSearch, AListWithoutATypeIsPassedOver) {
  for (DWORD size : {0u, 1u, 2u, 3u}) {
    SCOPED_TRACE(size);
    const Bytes broken = header("LIST", size) + Bytes((size + 1) & ~1u, 'x');
    const Bytes all = broken + list("INFO", chunk("INAM", "n"));
    const DWORD length = static_cast<DWORD>(all.size());
    const int64_t found = static_cast<int64_t>(broken.size()) + 12;
    check({"behind it", "INFO", length, S_OK, 10, length - static_cast<DWORD>(found), found}, all, riff_FindListChunk);
  }
}

TEST(ChunkSearch, TopLevelSearchesStartAtTheFile) {
  const ScratchFile file(riff("WAVE", kChunks));
  const DWORD body = static_cast<DWORD>(kChunks.size());
  DWORD size = 0;
  DWORD left = 0;
  file.move_to(30);
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(file, QvFourCC("bbbb"), &size, &left), S_OK);
  EXPECT_EQ(size, 2u);
  EXPECT_EQ(left, body - 42);
  EXPECT_EQ(file.position(), 12 + 42);
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(file, QvFourCC("none"), nullptr, &left), QVERR_RIFF_NOTFOUND);
  EXPECT_EQ(left, 0u);
  EXPECT_EQ(riff_FindListChunkFromStart(file, QvFourCC("two "), &size), S_OK);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(file.position(), 12 + 56);
  EXPECT_EQ(riff_FindListChunkFromStart(file, QvFourCC("none"), nullptr), QVERR_RIFF_NOTFOUND);
}

TEST(ChunkSearch, TopLevelSearchesReportDamage) {
  DWORD left = 0;
  const ScratchFile other(header("FORM", 20) + "AIFF");
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(other, QVRIFF_ID_FMT, nullptr, &left), QVERR_RIFF_NOTRIFF);
  EXPECT_EQ(riff_FindListChunkFromStart(other, QvFourCC("INFO"), nullptr), QVERR_RIFF_NOTRIFF);
  const ScratchFile cut(header("RIFF", 500) + "WAVE" + chunk("aaaa", "12"));
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(cut, QVRIFF_ID_FMT, nullptr, &left), QVERR_RIFF_READ);
  EXPECT_EQ(left, 496u) << "the whole form, after a failed read";
  const ScratchFile small(header("RIFF", 2) + "WAVE" + chunk("fmt ", "12"));
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(small, QVRIFF_ID_FMT, nullptr, &left), QVERR_RIFF_NOTFOUND);
  EXPECT_EQ(left, 0u);
}

TEST(ListEntries, AreCountedWithoutMoving) {
  const Bytes entries = chunk("IART", "artist") + chunk("INAM", "abc") + chunk("ICRD", "");
  const DWORD length = static_cast<DWORD>(entries.size());
  struct Case {
    std::optional<DWORD> remaining;
    HRESULT result;
    DWORD count;
  };
  const Case cases[] = {
      {length, S_OK, 3},
      {length - 1, S_OK, 2},
      {7, S_OK, 0},
      {0, S_OK, 0},
      {length + 7, S_OK, 3},
      {length + 8, QVERR_RIFF_READ, 3},
      {{}, QVERR_RIFF_READ, 3},
  };
  for (const Case& row : cases) {
    const ScratchFile file("xx" + entries);
    file.move_to(2);
    DWORD remaining = row.remaining.value_or(0);
    DWORD count = 99;
    EXPECT_EQ(riff_GetNumListEntries(file, &count, row.remaining ? &remaining : nullptr), row.result);
    EXPECT_EQ(count, row.count);
    EXPECT_EQ(file.position(), 2);
    EXPECT_EQ(remaining, row.remaining.value_or(0));
  }
  const ScratchFile file;
  EXPECT_EQ(riff_GetNumListEntries(file, nullptr, nullptr), E_INVALIDARG);
}

TEST(ListEntries, AreSoughtByIndex) {
  const Bytes entries = chunk("IART", "artist") + chunk("INAM", "abc") + chunk("ICRD", "");
  const DWORD length = static_cast<DWORD>(entries.size()); // 34
  struct Case {
    DWORD index;
    DWORD remaining;
    HRESULT result;
    int64_t position;
    DWORD left;
  };
  const Case cases[] = {
      {0, 3, S_OK, 0, 3},
      {1, length, S_OK, 14, length - 14},
      {2, length, S_OK, 26, length - 26},
      {3, length, S_OK, 34, 0},
      {4, length, QVERR_RIFF_NOTFOUND, 34, 0},
      {0xFFFFFFFF, length, QVERR_RIFF_NOTFOUND, 34, 0},
      {2, 15, QVERR_RIFF_NOTFOUND, 14, 1},
      {4, length + 8, QVERR_RIFF_READ, 34, 8},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(testing::Message() << row.index << " in " << row.remaining);
    const ScratchFile file(entries);
    DWORD remaining = row.remaining;
    EXPECT_EQ(riff_SeekListEntry(file, row.index, &remaining), row.result);
    EXPECT_EQ(file.position(), row.position);
    EXPECT_EQ(remaining, row.left);
  }
  const ScratchFile file(entries);
  EXPECT_EQ(riff_SeekListEntry(file, 2, nullptr), S_OK);
  EXPECT_EQ(file.position(), 26);
}

} // namespace
