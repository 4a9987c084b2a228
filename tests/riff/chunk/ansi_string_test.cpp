#include "tests/riff/scratch_file.h"

#include <gtest/gtest.h>

using namespace riff_test;

namespace {

TEST(AnsiString, IsWrittenWithItsTerminatorAndPadded) {
  const struct {
    const WCHAR* text;
    Bytes bytes;
  } cases[] = {
      {QV_TEXT(""), Bytes("\0\0", 2)},
      {QV_TEXT("a"), Bytes("a\0", 2)},
      {QV_TEXT("ab"), Bytes("ab\0\0", 4)},
      {QV_TEXT("\u00FCber"), Bytes("\xFC"
                                   "ber\0\0",
                                   6)}, // in code page 1252
      {QV_TEXT("\u20AC5"), Bytes("\x80"
                                 "5\0\0",
                                 4)},
  };
  for (const auto& row : cases) {
    const ScratchFile file;
    DWORD written = 0;
    EXPECT_EQ(riff_WriteANSIString(file, row.text, &written), S_OK);
    EXPECT_EQ(file.contents(), row.bytes);
    EXPECT_EQ(written, row.bytes.size());
    EXPECT_EQ(riff_WriteANSIString(file, row.text, nullptr), S_OK);
  }
  const ScratchFile file;
  EXPECT_EQ(riff_WriteANSIString(file, nullptr, nullptr), E_INVALIDARG);
}

TEST(AnsiString, IsReadCutAndTerminated) {
  const struct {
    const char* name;
    Bytes bytes;
    DWORD length;
    DWORD size;
    HRESULT result;
    qv::WString text;
    int64_t position;
  } cases[] = {
      {"whole", Bytes("abc\0next", 8), 10, 4, S_OK, QV_TEXT("abc"), 4},
      {"odd size", Bytes("ab\0\0next", 8), 10, 3, S_OK, QV_TEXT("ab"), 4},
      {"no terminator: the last byte is taken for it", "abcdnext", 10, 4, S_OK, QV_TEXT("abc"), 4},
      {"cut by the buffer", "abcdefgh", 4, 8, S_OK, QV_TEXT("abc"), 8},
      {"buffer of one", "abcd", 1, 4, S_OK, QV_TEXT(""), 4},
      {"empty chunk", "abcd", 4, 0, S_OK, QV_TEXT(""), 0},
      {"one byte", "abcd", 4, 1, S_OK, QV_TEXT(""), 2},
      {"terminator inside", Bytes("a\0c\0", 4), 10, 4, S_OK, QV_TEXT("a"), 4},
      {"code page 1252", Bytes("\x80\xFC\0", 3), 10, 3, S_OK, QV_TEXT("\u20AC\u00FC"), 4},
      {"file ends early", "abc", 10, 4, QVERR_RIFF_READ, QV_TEXT(""), 0},
      {"huge claim, small buffer", "abcd", 4, 0xFFFFFFFE, S_OK, QV_TEXT("abc"), 0xFFFFFFFE},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const ScratchFile file(row.bytes);
    qv::WString buffer(row.length + 1, QV_TEXT('#'));
    DWORD size = row.size;
    EXPECT_EQ(riff_ReadANSIString(file, buffer.data(), row.length, &size), row.result);
    EXPECT_EQ(qv::WString(buffer.c_str()) == row.text, true);
    EXPECT_EQ(buffer.back(), QV_TEXT('#')) << "behind the buffer";
    EXPECT_EQ(size, row.result == S_OK ? row.size + 1 : row.size);
    if (row.result == S_OK) EXPECT_EQ(file.position(), row.position);
  }
}

TEST(AnsiString, RefusesNull) {
  const ScratchFile file("abcd");
  WCHAR buffer[4] = {};
  DWORD size = 4;
  EXPECT_EQ(riff_ReadANSIString(file, nullptr, 4, &size), E_INVALIDARG);
  EXPECT_EQ(riff_ReadANSIString(file, buffer, 4, nullptr), E_INVALIDARG);
  EXPECT_EQ(file.position(), 0);
}

TEST(AnsiString, NoRoomAtAllStillPassesTheChunk) {
  const ScratchFile file("abcdef");
  WCHAR buffer[1] = {QV_TEXT('#')};
  DWORD size = 5;
  EXPECT_EQ(riff_ReadANSIString(file, buffer, 0, &size), S_OK);
  EXPECT_EQ(buffer[0], QV_TEXT('#'));
  EXPECT_EQ(file.position(), 6);
}

} // namespace
