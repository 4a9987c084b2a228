#include "tests/riff/scratch_file.h"

#include "qv/riff.h"

#include <gtest/gtest.h>

using namespace riff_test;

namespace {

TEST(AnsiString, IsWrittenWithItsTerminatorAndPadded) {
  const struct {
    const WCHAR* text;
    Bytes bytes; ///< in code page 1252
  } cases[] = {
      {QV_TEXT(""), Bytes("\0\0", 2)},
      {QV_TEXT("a"), Bytes("a\0", 2)},
      {QV_TEXT("ab"), Bytes("ab\0\0", 4)},
      {QV_TEXT("\u20AC\u00FC5"), Bytes("\200\3745\0", 4)},
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
    DWORD length, size;
    const WCHAR* text;
    int64_t position;
    HRESULT result = S_OK;
  } cases[] = {
      {"whole", Bytes("abc\0next", 8), 10, 4, QV_TEXT("abc"), 4},
      {"odd size", Bytes("ab\0\0next", 8), 10, 3, QV_TEXT("ab"), 4},
      {"no terminator: the last byte is taken for it", "abcdnext", 10, 4, QV_TEXT("abc"), 4},
      {"cut by the buffer", "abcdefgh", 4, 8, QV_TEXT("abc"), 8},
      {"buffer of one", "abcd", 1, 4, QV_TEXT(""), 4},
      {"no room at all", "abcdef", 0, 5, QV_TEXT("#"), 6},
      {"empty chunk", "abcd", 4, 0, QV_TEXT(""), 0},
      {"one byte", "abcd", 4, 1, QV_TEXT(""), 2},
      {"terminator inside", Bytes("a\0c\0", 4), 10, 4, QV_TEXT("a"), 4},
      {"code page 1252", Bytes("\x80\xFC\0", 3), 10, 3, QV_TEXT("\u20AC\u00FC"), 4},
      {"file ends early", "abc", 10, 4, QV_TEXT(""), 0, QVERR_RIFF_READ},
      {"huge claim, small buffer", "abcd", 4, 0xFFFFFFFE, QV_TEXT("abc"), 0xFFFFFFFE},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const ScratchFile file(row.bytes);
    qv::WString buffer(row.length + 1, QV_TEXT('#'));
    DWORD size = row.size;
    EXPECT_EQ(riff_ReadANSIString(file, nullptr, row.length, &size), E_INVALIDARG);
    EXPECT_EQ(riff_ReadANSIString(file, buffer.data(), row.length, nullptr), E_INVALIDARG);
    EXPECT_EQ(file.position(), 0);
    EXPECT_EQ(riff_ReadANSIString(file, buffer.data(), row.length, &size), row.result);
    EXPECT_EQ(qv::WString(buffer.c_str()) == row.text, true);
    EXPECT_EQ(buffer.back(), QV_TEXT('#')) << "behind the buffer";
    EXPECT_EQ(size, row.result == S_OK ? row.size + 1 : row.size);
    if (row.result == S_OK) EXPECT_EQ(file.position(), row.position);
  }
}

} // namespace
