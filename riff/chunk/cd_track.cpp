// CD track descriptors: the small "CDDA" files that stand for the tracks of an audio CD.
#include "riff/chunk/file_cursor.h"

#include "qv/riff.h"

using namespace qv::riff;

namespace {

constexpr DWORD kFramesPerSecond = 75;

DWORD start_in_frames(const QVCDDAFMT& descriptor) {
  return (DWORD{descriptor.startMinute} * 60 + descriptor.startSecond) * kFramesPerSecond + descriptor.startFrame;
}

HRESULT read_descriptor_file(const WCHAR* name, QVCDDAFMT& descriptor) {
  if (!name) return E_INVALIDARG;
  const HANDLE file = CreateFileW(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (file == INVALID_HANDLE_VALUE) return QVERR_FILE_OPEN;
  const HRESULT result = riff_ReadRIFFCDDA(file, &descriptor);
  CloseHandle(file);
  return result;
}

void report(DWORD* out, DWORD value) {
  if (out) *out = value;
}

} // namespace

HRESULT riff_ReadRIFFCDDA(HANDLE file, QVCDDAFMT* descriptor) {
  if (!descriptor) return E_INVALIDARG;
  if (!seek(file, 0)) return QVERR_RIFF_READ;
  DWORD remaining = 0;
  DWORD form = 0;
  HRESULT result = riff_ReadFileID(file, &remaining, &form);
  if (FAILED(result)) return result;
  if (form != QVRIFF_FORM_CDDA) return QVERR_RIFF_WRONGFORM;
  DWORD size = 0;
  result = riff_FindChunkHeader(file, QVRIFF_ID_FMT, &size, &remaining);
  if (result == QVERR_RIFF_NOTFOUND) return QVERR_RIFF_BADCDDAFMT;
  if (FAILED(result)) return result;
  if (size != sizeof *descriptor) return QVERR_RIFF_BADCDDAFMT;
  return riff_ReadData(file, descriptor, size);
}

HRESULT riff_ReadCDAFile(const WCHAR* fileName, DWORD* track, DWORD* firstSector, DWORD* startFrames,
                         DWORD* lengthSectors, DWORD* volumeSerial) {
  QVCDDAFMT descriptor = {};
  const HRESULT result = read_descriptor_file(fileName, descriptor);
  report(track, descriptor.track);
  report(firstSector, descriptor.firstSector);
  report(startFrames, start_in_frames(descriptor));
  report(lengthSectors, descriptor.lengthSectors);
  report(volumeSerial, descriptor.volumeSerial);
  return result;
}
