// Wave64, IFF and wave headers with each of their file calls failing.
#include "tests/riff/failing_operation.h"
#include "tests/riff/wave64_bytes.h"

#include "qv/iff.h"
#include "qv/riff64.h"
#include "qv/wave_file.h"

using namespace riff_test;

namespace {

const WAVEFORMATEX kStereo = {1, 2, 44'100, 176'400, 4, 16, 0};
const Bytes kRecord = u16(1) + u16(2) + u32(44'100) + u32(176'400) + u16(4) + u16(16) + u16(0);

WAVEFORMATEX format;
char buffer[64];
GUID id;
ULONGLONG out, out2;
DWORD word;

TEST(HeaderIoFailure, Wave64) {
  const Bytes bytes = wave64(chunk64("fmt ", kRecord) + list64("wave", chunk64("junk", "x")) +
                             chunk64("data", Bytes(9001, 'd')) + chunk64("junk", Bytes(5000, 't')));
  const FailingOperation operations[] = {
      {"ReadFileID", 0, [](HANDLE file) { return riff64_ReadFileID(file, &out, &id); }, false},
      {"SetRIFFSize", 30, [](HANDLE file) { return riff64_SetRIFFSize(file, 100); }, true},
      {"UpdateRIFFSize", 30, [](HANDLE file) { return riff64_UpdateRIFFSize(file, 8); }, true},
      {"ReadChunkHeader", 40, [](HANDLE file) { return riff64_ReadChunkHeader(file, &id, &out); }, false},
      {"ReadListHeader", 88, [](HANDLE file) { return riff64_ReadListHeader(file, &id, &out); }, false},
      {"WriteListHeader", 88, [](HANDLE file) { return riff64_WriteListHeader(file, &QVW64_WAVE, 8); }, false},
      {"WriteChunk", 40, [](HANDLE file) { return riff64_WriteChunk(file, &QVW64_JUNK, "abc", 3, &out); }, false},
      {"WriteChunkToFile", 40, [](HANDLE file) { return riff64_WriteChunkToFile(file, &QVW64_JUNK, "abc", 3); }, false},
      {"ReadData", 64, [](HANDLE file) { return riff64_ReadData(file, buffer, 18); }, false},
      {"ReadDataBounded", 64, [](HANDLE file) { return riff64_ReadDataBounded(file, buffer, 24, 18); }, false},
      {"FindChunkHeaderInRIFF", 0,
       [](HANDLE file) { return riff64_FindChunkHeaderInRIFF(file, &QVW64_DATA, &out, &out2); }, false},
      {"FindListChunkFromStart", 0, [](HANDLE file) { return riff64_FindListChunkFromStart(file, &QVW64_WAVE, &out); },
       false},
      {"GetNumListEntries", 40,
       [](HANDLE file) {
         out2 = 9200;
         return riff64_GetNumListEntries(file, &word, &out2);
       },
       true},
      {"SeekListEntry", 40, [](HANDLE file) { return riff64_SeekListEntry(file, 2, nullptr); }, false},
      {"DeleteChunk", 0, [](HANDLE file) { return riff64_DeleteChunk(file, &QVW64_DATA, &out, 0); }, false},
      {"DeleteChunk, list", 0, [](HANDLE file) { return riff64_DeleteChunk(file, &QVW64_WAVE, &out, 1); }, false},
  };
  for (const FailingOperation& operation : operations)
    expect_each_failure_reported(bytes, operation);
}

TEST(HeaderIoFailure, Wave) {
  const Bytes bytes = riff("WAVE", chunk("fmt ", kRecord) + chunk("data", Bytes(5000, 'd')));
  const FailingOperation operations[] = {
      {"InsertWavHeader", 7, [](HANDLE file) { return QvInsertWavHeader(file, &kStereo, 100, 60); }, true,
       QVERR_RIFF_BADSIZE}, // the file's size cannot be told
      {"InsertW64Header", 7, [](HANDLE file) { return QvInsertW64Header(file, &kStereo, 100, 144); }, true,
       QVERR_RIFF_BADSIZE},
      {"GetFileWfx", 7, [](HANDLE file) { return QvGetFileWfx(file, &format); }, true},
      {"SetFileWfx", 7, [](HANDLE file) { return QvSetFileWfx(file, &kStereo); }, true},
      // Where the walk fails the search goes on.
      {"FixTrashedWav", 7, [](HANDLE file) { return QvFixTrashedWav(file, nullptr, 0xFFFFFFFF); }, true, S_OK},
  };
  for (const FailingOperation& operation : operations)
    expect_each_failure_reported(bytes, operation);
}

TEST(HeaderIoFailure, Aiff) {
  const auto be = [](const char* name, const Bytes& data) {
    const Bytes size = u32(static_cast<uint32_t>(data.size()));
    return Bytes(name) + Bytes(size.rbegin(), size.rend()) + data + Bytes(data.size() % 2, '\0');
  };
  const Bytes common = Bytes("\0\1\0\0\0\4\0\x10\x40\x0E\xAC\x44\0\0\0\0\0\0", 18);
  const Bytes mark = Bytes("\0\1\0\7\0\0\0\5\3two", 12);
  const Bytes bytes = be("FORM", "AIFF" + be("COMM", common) + be("MARK", mark) + be("SSND", Bytes(5000, '\0')));
  const FailingOperation operations[] = {
      {"GetAIFFWfx", 0, [](HANDLE file) { return iff_GetAIFFWfx(file, &format, &word, &out, &out2); }, false,
       QVERR_RIFF_WRONGFORM}, // what cannot be read is not recognised
      {"FindMarker", 0,
       [](HANDLE file) {
         QVIFFMARKER marker;
         return iff_FindMarker(file, &marker, 7);
       },
       false},
      {"DeleteChunk", 0, [](HANDLE file) { return iff_DeleteChunk(file, QVIFF_ID_MARK, &word); }, false},
      {"WriteFileID", 0, [](HANDLE file) { return iff_WriteFileID(file, QVIFF_FORM_AIFF, 4); }, false},
  };
  for (const FailingOperation& operation : operations)
    expect_each_failure_reported(bytes, operation);
}

} // namespace
