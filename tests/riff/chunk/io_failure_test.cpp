// Every operation with its n-th file call failing, for each n. Only the POSIX layer can be made to fail.
#include "platform/posix/seams.h"
#include "tests/riff/failing_operation.h"

#include <gtest/gtest.h>

using namespace riff_test;
using qv::platform::fail_io;

namespace {

const Bytes kFile = riff("WAVE", chunk("fmt ", Bytes(16, 'f')) + list("INFO", chunk("INAM", Bytes("title\0", 6))) +
                                     chunk("data", Bytes(9001, 'd')) + chunk("tail", Bytes(5000, 't')));

WCHAR text[32];
char buffer[64];
DWORD out, out2;

const FailingOperation kOperations[] = {
    {"ReadFileID", 0, [](HANDLE file) { return riff_ReadFileID(file, &out, &out2); }, false},
    {"SeekDataStart", 0, [](HANDLE file) { return riff_SeekDataStart(file); }, false},
    {"GetFileSize", 0, [](HANDLE file) { return riff_GetFileSize(file, &out); }, false},
    {"SetRIFFSize", 30, [](HANDLE file) { return riff_SetRIFFSize(file, 100); }, true},
    {"UpdateRIFFSize", 30, [](HANDLE file) { return riff_UpdateRIFFSize(file, 2); }, true},
    {"ReadChunkHeader", 12, [](HANDLE file) { return riff_ReadChunkHeader(file, &out, &out2); }, false},
    {"WriteChunkHeader", 12, [](HANDLE file) { return riff_WriteChunkHeader(file, 1, 2); }, false},
    {"ReadListHeader", 36, [](HANDLE file) { return riff_ReadListHeader(file, &out, &out2); }, false},
    {"WriteListHeader", 36, [](HANDLE file) { return riff_WriteListHeader(file, 1, 2); }, false},
    {"WriteChunk", 12, [](HANDLE file) { return riff_WriteChunk(file, 1, "abc", 3, &out); }, false},
    {"ReadData", 20, [](HANDLE file) { return riff_ReadData(file, buffer, 15); }, false},
    {"ReadDataBounded", 20, [](HANDLE file) { return riff_ReadDataBounded(file, buffer, 24, 15); }, false},
    {"SaveLocation", 20, [](HANDLE file) { return riff_SaveLocation(file, &out); }, false},
    {"RestoreLocation", 20, [](HANDLE file) { return riff_RestoreLocation(file, 4); }, false},
    {"FindChunkHeader", 12, [](HANDLE file) { return riff_FindChunkHeader(file, QVRIFF_ID_DATA, &out, nullptr); },
     false},
    {"FindChunkHeaderInRIFF", 0,
     [](HANDLE file) { return riff_FindChunkHeaderInRIFF(file, QVRIFF_ID_DATA, &out, &out2); }, false},
    {"FindListChunk", 12, [](HANDLE file) { return riff_FindListChunk(file, QvFourCC("INFO"), &out, nullptr); }, false},
    {"FindListChunkFromStart", 0, [](HANDLE file) { return riff_FindListChunkFromStart(file, QvFourCC("INFO"), &out); },
     false},
    {"GetNumListEntries", 12,
     [](HANDLE file) {
       out2 = 9100;
       return riff_GetNumListEntries(file, &out, &out2);
     },
     true},
    {"SeekListEntry", 12, [](HANDLE file) { return riff_SeekListEntry(file, 3, nullptr); }, false},
    {"DeleteChunk", 0, [](HANDLE file) { return riff_DeleteChunk(file, QVRIFF_ID_FMT, &out, 0); }, false},
    {"DeleteChunk, list", 0, [](HANDLE file) { return riff_DeleteChunk(file, QvFourCC("INFO"), &out, 1); }, false},
    {"WriteANSIString", 56, [](HANDLE file) { return riff_WriteANSIString(file, u"title", &out); }, false},
    {"ReadANSIString", 56,
     [](HANDLE file) {
       out = 6;
       return riff_ReadANSIString(file, text, 32, &out);
     },
     false},
};

TEST(IoFailure, EachCallThatFailsIsReported) {
  for (const FailingOperation& operation : kOperations)
    expect_each_failure_reported(kFile, operation);
}

TEST(IoFailure, AllocatedDataIsFreed) {
  for (int nth = 1; nth <= 2; ++nth) {
    const ScratchFile file(kFile);
    file.move_to(20);
    QVRIFFDATA data = {16, nullptr};
    fail_io(nth);
    EXPECT_EQ(riff_ReadDataAlloc(file, &data), QVERR_RIFF_READ);
    fail_io(0);
    EXPECT_EQ(data.data, nullptr);
  }
}

TEST(IoFailure, OnlyTheFormTypeDecidesForTheFileHeader) {
  struct Case {
    int nth;
    HRESULT result;
    Bytes contents;
  };
  const Case cases[] = {
      {1, S_OK, "WAVE"},                      // the size is not written when "RIFF" failed
      {2, S_OK, "RIFFWAVE"},                  // a failed size is not reported
      {3, QVERR_RIFF_WRITE, "RIFF" + u32(5)}, // the form type is
  };
  for (const Case& row : cases) {
    const ScratchFile file;
    fail_io(row.nth);
    EXPECT_EQ(riff_WriteFileID(file, QVRIFF_FORM_WAVE, 5), row.result);
    fail_io(0);
    EXPECT_EQ(file.contents(), row.contents);
  }
}

TEST(AllocationFailure, IsReportedAndMovesNothing) {
  using qv::platform::fail_allocation;
  const ScratchFile file(kFile);
  file.move_to(56);
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
  EXPECT_EQ(file.position(), 56);
  EXPECT_EQ(file.contents() == kFile, true);
}

} // namespace
