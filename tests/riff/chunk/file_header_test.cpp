#include "tests/riff/scratch_file.h"

#include <gtest/gtest.h>
#include <limits>

using namespace riff_test;

namespace {

TEST(FileHeader, IsReadAtThePosition) {
  struct Case {
    const char* name;
    Bytes bytes;
    HRESULT result;
    DWORD size;
    DWORD form;
  };
  const Case cases[] = {
      {"whole", header("RIFF", 36) + "WAVE", S_OK, 32, QVRIFF_FORM_WAVE},
      {"size below the form type's", header("RIFF", 3) + "WAVE", S_OK, 0, QVRIFF_FORM_WAVE},
      {"largest size", header("RIFF", 0xFFFFFFFF) + "CDDA", S_OK, 0xFFFFFFFB, QVRIFF_FORM_CDDA},
      {"other form of file", header("RIFX", 36) + "WAVE", QVERR_RIFF_NOTRIFF, 7, 7},
      {"cut in the form type", header("RIFF", 36) + "WAV", QVERR_RIFF_READ, 7, 7},
      {"cut in the size", Bytes("RIFF\x24\0\0", 7), QVERR_RIFF_READ, 7, 7},
      {"empty", "", QVERR_RIFF_READ, 7, 7},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    const ScratchFile file("ab" + row.bytes);
    file.move_to(2);
    DWORD size = 7;
    DWORD form = 7;
    EXPECT_EQ(riff_ReadFileID(file, &size, &form), row.result);
    EXPECT_EQ(size, row.size);
    EXPECT_EQ(form, row.form);
    file.move_to(2);
    EXPECT_EQ(riff_ReadFileID(file, nullptr, nullptr), row.result);
  }
}

TEST(FileHeader, IsWrittenInFileOrder) {
  const ScratchFile file;
  ASSERT_EQ(riff_WriteFileID(file, QVRIFF_FORM_WAVE, 0x01020304), S_OK);
  EXPECT_EQ(file.contents(), Bytes("RIFF\x04\x03\x02\x01WAVE", 12));
  ASSERT_EQ(riff_SeekDataStart(file), S_OK);
  EXPECT_EQ(file.position(), 12);
}

TEST(FileHeader, FileSizeIsFourBytesMoreThanTheRiffSize) {
  const ScratchFile file(header("RIFF", 36) + "WAVE");
  file.move_to(5);
  DWORD size = 0;
  EXPECT_EQ(riff_GetFileSize(file, &size), S_OK);
  EXPECT_EQ(size, 40u);
  EXPECT_EQ(file.position(), 8);
  EXPECT_EQ(riff_GetFileSize(file, nullptr), S_OK);
  const ScratchFile other(header("FORM", 36));
  EXPECT_EQ(riff_GetFileSize(other, &size), QVERR_RIFF_NOTRIFF);
  const ScratchFile cut("RIFF");
  EXPECT_EQ(riff_GetFileSize(cut, &size), QVERR_RIFF_READ);
}

TEST(FileHeader, SetSizeKeepsThePosition) {
  const ScratchFile file(header("RIFF", 36) + "WAVE");
  file.move_to(9);
  EXPECT_EQ(riff_SetRIFFSize(file, 0xFFFFFFF8), S_OK);
  EXPECT_EQ(file.position(), 9);
  EXPECT_EQ(file.contents(), header("RIFF", 0xFFFFFFF8) + "WAVE");
}

TEST(FileHeader, UpdateAddsWithinTheLimits) {
  constexpr LONGLONG kLowest = std::numeric_limits<LONGLONG>::min();
  constexpr LONGLONG kHighest = std::numeric_limits<LONGLONG>::max();
  struct Case {
    DWORD old;
    LONGLONG change;
    HRESULT result;
    DWORD size;
    size_t length; ///< of a file that had 60 bytes
  };
  const Case cases[] = {
      {40, 12, S_OK, 52, 60},
      {40, -40, S_OK, 0, 60},
      {40, 0, S_OK, 40, 60},
      {40, -41, QVERR_RIFF_BADSIZE, 40, 60},
      {40, kLowest, QVERR_RIFF_BADSIZE, 40, 60},
      {0xFFFFFFFF, -8, S_OK, 0xFFFFFFF7, 60},
      {40, 0xFFFFFFF7 - 40LL, S_OK, 0xFFFFFFF7, 60},
      {40, 0xFFFFFFF8 - 40LL, QVERR_RIFF_TOOBIG, 40, 48},
      {40, kHighest, QVERR_RIFF_TOOBIG, 40, 48},
      {52, kHighest, QVERR_RIFF_TOOBIG, 52, 60},
      // A header that claims more than there is does not make the file longer.
      {900, kHighest, QVERR_RIFF_TOOBIG, 900, 60},
      {0xFFFFFFF8, 0, QVERR_RIFF_TOOBIG, 0xFFFFFFF8, 60},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(testing::Message() << row.old << " + " << row.change);
    const Bytes tail(48, 'x');
    const ScratchFile file(header("RIFF", row.old) + "WAVE" + tail);
    file.move_to(55);
    EXPECT_EQ(riff_UpdateRIFFSize(file, row.change), row.result);
    EXPECT_EQ(file.position(), 55);
    EXPECT_EQ(file.contents(), (header("RIFF", row.size) + "WAVE" + tail).substr(0, row.length));
  }
  const ScratchFile cut(Bytes("RIFF\x01", 5));
  cut.move_to(2);
  EXPECT_EQ(riff_UpdateRIFFSize(cut, 1), QVERR_RIFF_READ);
  EXPECT_EQ(cut.position(), 2);
}

} // namespace
