#include "tests/riff/scratch_file.h"

#include <gtest/gtest.h>
#include <vector>

using namespace riff_test;

namespace {

TEST(ChunkIo, HeadersGoOutAndBack) {
  const ScratchFile file;
  ASSERT_EQ(riff_WriteChunkHeader(file, QVRIFF_ID_DATA, 0x80000001), S_OK);
  ASSERT_EQ(riff_WriteListHeader(file, QvFourCC("INFO"), 26), S_OK);
  EXPECT_EQ(file.contents(), header("data", 0x80000001) + header("LIST", 26) + "INFO");
  file.move_to(0);
  DWORD id = 0;
  DWORD size = 0;
  ASSERT_EQ(riff_ReadChunkHeader(file, &id, &size), S_OK);
  EXPECT_EQ(id, QVRIFF_ID_DATA);
  EXPECT_EQ(size, 0x80000001);
  ASSERT_EQ(riff_ReadListHeader(file, &id, &size), S_OK);
  EXPECT_EQ(id, QvFourCC("INFO"));
  EXPECT_EQ(size, 22u);
  EXPECT_EQ(riff_ReadChunkHeader(file, &id, &size), QVERR_RIFF_READ);
  EXPECT_EQ(riff_ReadChunkHeader(file, nullptr, &size), E_INVALIDARG);
  EXPECT_EQ(riff_ReadListHeader(file, &id, nullptr), E_INVALIDARG);
}

TEST(ChunkIo, ListHeaderRefusesOtherChunks) {
  struct Case {
    Bytes bytes;
    HRESULT result;
    int64_t position;
  };
  const Case cases[] = {
      {header("list", 26) + "INFO", QVERR_RIFF_NOTLIST, 8},
      {header("LIST", 26) + "INF", QVERR_RIFF_READ, 11},
      {header("LIST", 3) + "INFO", S_OK, 12},
  };
  for (const Case& row : cases) {
    const ScratchFile file(row.bytes);
    DWORD type = 5;
    DWORD size = 5;
    EXPECT_EQ(riff_ReadListHeader(file, &type, &size), row.result);
    EXPECT_EQ(file.position(), row.position);
    EXPECT_EQ(size, row.result == S_OK ? 0u : 5u) << "a list below 4 bytes has no sub-chunks";
  }
}

TEST(ChunkIo, ValidationLooksAtTheSizeAlone) {
  EXPECT_EQ(riff_ValidateChunkHeader(nullptr, 0, 1), S_OK);
  EXPECT_EQ(riff_ValidateChunkHeader(nullptr, 0, 0x7FFFFFFF), S_OK);
  EXPECT_EQ(riff_ValidateChunkHeader(nullptr, QVRIFF_ID_DATA, 0), QVERR_RIFF_EMPTYCHUNK);
  EXPECT_EQ(riff_ValidateChunkHeader(nullptr, QVRIFF_ID_DATA, -1), QVERR_RIFF_BADSIZE);
}

TEST(ChunkIo, OddChunksArePadded) {
  for (DWORD size : {0u, 1u, 2u, 3u, 4096u, 4097u}) {
    SCOPED_TRACE(size);
    const Bytes data(size, 'd');
    const ScratchFile file;
    DWORD written = 0;
    ASSERT_EQ(riff_WriteChunk(file, QVRIFF_ID_DATA, data.data(), size, &written), S_OK);
    EXPECT_EQ(file.contents(), chunk("data", data));
    EXPECT_EQ(written, file.contents().size());
  }
  const ScratchFile file;
  EXPECT_EQ(riff_WriteChunk(file, QVRIFF_ID_DATA, "xyz", 3, nullptr), S_OK);
  EXPECT_EQ(riff_WriteChunk(file, QVRIFF_ID_DATA, nullptr, 3, nullptr), E_INVALIDARG);
  EXPECT_EQ(file.contents().size(), 12u);
}

TEST(ChunkIo, ReadDataPassesThePadByte) {
  const ScratchFile file("abcde");
  char buffer[5] = {};
  EXPECT_EQ(riff_ReadData(file, buffer, 3), S_OK);
  EXPECT_EQ(Bytes(buffer, 5), Bytes("abc\0\0", 5));
  EXPECT_EQ(file.position(), 4);
  EXPECT_EQ(riff_ReadData(file, nullptr, 0), S_OK);
  EXPECT_EQ(riff_ReadData(file, nullptr, 1), E_INVALIDARG);
  EXPECT_EQ(riff_ReadData(file, buffer, 2), QVERR_RIFF_READ);
}

TEST(ChunkIo, BoundedReadSkipsByTheBuffer) {
  struct Case {
    DWORD buffer;
    DWORD chunk;
    HRESULT result;
    DWORD read;
    int64_t position;
  };
  const Case cases[] = {
      {24, 16, S_OK, 16, 24}, // past the chunk's end by the difference
      {24, 15, S_OK, 15, 25}, // and the pad byte
      {24, 24, S_OK, 24, 24},
      {24, 25, S_OK, 24, 25}, // the tail is not skipped
      {24, 1000, S_OK, 24, 24},
      {24, 0, S_OK, 0, 24},
      {0, 3, S_OK, 0, 1},
      {100, 30, S_OK, 30, 100},
      {100, 41, QVERR_RIFF_READ, 40, 40},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(testing::Message() << row.buffer << " of " << row.chunk);
    const ScratchFile file(Bytes(40, 'x'));
    Bytes buffer(row.buffer, '.');
    EXPECT_EQ(riff_ReadDataBounded(file, buffer.data(), row.buffer, row.chunk), row.result);
    EXPECT_EQ(file.position(), row.position);
    EXPECT_EQ(buffer, Bytes(row.read, 'x') + Bytes(row.buffer - row.read, '.'));
  }
}

void release(const QVRIFFDATA& data) {
  const HGLOBAL block = GlobalHandle(data.data);
  EXPECT_EQ(GlobalFlags(block) & GMEM_LOCKCOUNT, 1u);
  EXPECT_EQ(GlobalSize(block), data.size);
  GlobalUnlock(block);
  EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(ChunkIo, ReadDataAllocTakesOnlyWhatTheFileHolds) {
  struct Case {
    DWORD size;
    int64_t from;
    HRESULT result;
  };
  const Case cases[] = {{0, 0, S_OK},
                        {5, 0, S_OK},
                        {7, 2, S_OK},
                        {9, 0, S_OK},
                        {10, 0, QVERR_RIFF_READ},
                        {8, 2, QVERR_RIFF_READ},
                        {1, 9, QVERR_RIFF_READ},
                        {1, 900, QVERR_RIFF_READ},
                        {0xFFFFFFFF, 0, QVERR_RIFF_READ}};
  for (const Case& row : cases) {
    SCOPED_TRACE(testing::Message() << row.size << " from " << row.from);
    const ScratchFile file("123456789");
    file.move_to(row.from);
    char nothing = 0;
    QVRIFFDATA data = {row.size, &nothing};
    EXPECT_EQ(riff_ReadDataAlloc(file, &data), row.result);
    if (row.result != S_OK || row.size == 0) {
      EXPECT_EQ(data.data, nullptr);
      continue;
    }
    ASSERT_NE(data.data, nullptr);
    EXPECT_EQ(Bytes(static_cast<char*>(data.data), row.size),
              Bytes("123456789").substr(static_cast<size_t>(row.from), row.size));
    EXPECT_EQ(file.position(), row.from + row.size + (row.size & 1));
    release(data);
  }
  const ScratchFile file;
  EXPECT_EQ(riff_ReadDataAlloc(file, nullptr), E_INVALIDARG);
}

TEST(ChunkIo, SkipsAreForwardForEverySize) {
  struct Case {
    DWORD size;
    int64_t position;
  };
  // Sizes from 0x80000000 on are negative as a signed distance.
  const Case cases[] = {{0, 100},
                        {1, 102},
                        {2, 102},
                        {0x7FFFFFFF, 0x80000064},
                        {0x80000001, 0x80000066},
                        {0xFFFFFFFE, 0x100000062},
                        {0xFFFFFFFF, 0x100000064}};
  for (const Case& row : cases) {
    const ScratchFile file;
    file.move_to(100);
    EXPECT_EQ(riff_SkipChunk(file, row.size), static_cast<DWORD>(row.position - 100));
    EXPECT_EQ(file.position(), row.position);
  }
}

TEST(ChunkIo, LocationsAreTheLow32Bits) {
  const ScratchFile file;
  DWORD location = 0;
  file.move_to(0xFFFFFFF0);
  ASSERT_EQ(riff_SaveLocation(file, &location), S_OK);
  EXPECT_EQ(location, 0xFFFFFFF0);
  file.move_to(3);
  ASSERT_EQ(riff_RestoreLocation(file, location), S_OK);
  EXPECT_EQ(file.position(), 0xFFFFFFF0);
  file.move_to(0x100000005);
  ASSERT_EQ(riff_SaveLocation(file, &location), S_OK);
  EXPECT_EQ(location, 5u);
  EXPECT_EQ(riff_SaveLocation(file, nullptr), E_INVALIDARG);
}

} // namespace
