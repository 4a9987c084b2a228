// Every function on a small file that was cut after each of its bytes.
#include "tests/riff/scratch_file.h"

#include <gtest/gtest.h>

using namespace riff_test;

namespace {

const Bytes kWhole = riff("WAVE", chunk("fmt ", Bytes(16, 'f')) + list("INFO", chunk("INAM", Bytes("title\0", 6))) +
                                      chunk("data", "12345"));
constexpr int64_t kFormatAt = 20;
constexpr int64_t kInfoAt = 48;
constexpr int64_t kDataAt = 70;

/// What a search for something at `at` in a file of `length` bytes must answer.
HRESULT expected(size_t length, int64_t at) { return static_cast<int64_t>(length) < at ? QVERR_RIFF_READ : S_OK; }

TEST(CutFile, SearchesFindWhatIsStillThere) {
  ASSERT_EQ(kWhole.substr(kDataAt, 5), "12345");
  for (size_t length = 0; length <= kWhole.size(); ++length) {
    SCOPED_TRACE(length);
    const ScratchFile file(kWhole.substr(0, length));
    EXPECT_EQ(riff_FindChunkHeaderInRIFF(file, QVRIFF_ID_FMT, nullptr, nullptr), expected(length, kFormatAt));
    EXPECT_EQ(riff_FindChunkHeaderInRIFF(file, QVRIFF_ID_DATA, nullptr, nullptr), expected(length, kDataAt));
    EXPECT_EQ(riff_FindListChunkFromStart(file, QvFourCC("INFO"), nullptr), expected(length, kInfoAt));
    file.move_to(0);
    EXPECT_EQ(riff_ReadFileID(file, nullptr, nullptr), expected(length, 12));
    EXPECT_EQ(file.contents().size(), length);
  }
}

TEST(CutFile, DataIsReadWholeOrNotAtAll) {
  for (size_t length = kDataAt; length <= kWhole.size(); ++length) {
    SCOPED_TRACE(length);
    const ScratchFile file(kWhole.substr(0, length));
    file.move_to(kDataAt);
    QVRIFFDATA data = {5, nullptr};
    const bool whole = length >= kDataAt + 5;
    ASSERT_EQ(riff_ReadDataAlloc(file, &data), whole ? S_OK : QVERR_RIFF_READ);
    EXPECT_EQ(data.data != nullptr, whole);
    if (whole) {
      EXPECT_EQ(Bytes(static_cast<char*>(data.data), 5), "12345");
      GlobalUnlock(GlobalHandle(data.data));
      GlobalFree(GlobalHandle(data.data));
    }
    file.move_to(kInfoAt + 8);
    WCHAR text[16];
    DWORD size = 6;
    ASSERT_EQ(riff_ReadANSIString(file, text, 16, &size), S_OK);
    EXPECT_EQ(qv::WString(text) == QV_TEXT("title"), true);
  }
}

TEST(CutFile, DeletionTakesTheRestOfACutChunk) {
  for (size_t length = 0; length <= kWhole.size(); ++length) {
    SCOPED_TRACE(length);
    const Bytes before = kWhole.substr(0, length);
    const ScratchFile file(before);
    const HRESULT result = riff_DeleteChunk(file, QVRIFF_ID_DATA, nullptr, 0);
    EXPECT_EQ(result, expected(length, kDataAt));
    Bytes after = before;
    if (SUCCEEDED(result)) after = before.substr(0, kDataAt - 8).replace(4, 4, u32(kDataAt - 8 - 8));
    EXPECT_EQ(file.contents(), after);
  }
}

} // namespace
