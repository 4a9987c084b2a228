// Wave64 walks with deletion, both repairs, and IFF and AIFF on any bytes: every walk ends, a repair writes nothing but
// a header, deletion takes away what it says.
//
// Input: a byte that says what is done, one for the limit of the repairs, and the file.
#include "fuzz/riff/memory_file.h"

#include "qv/iff.h"
#include "qv/riff64.h"
#include "qv/wave_file.h"

using namespace fuzz;

namespace {

void walk_wave64(const MemoryFile& file) {
  for (const GUID* id : {&QVW64_FMT, &QVW64_DATA, &QVW64_LIST}) {
    ULONGLONG size = 0;
    ULONGLONG left = 0;
    if (SUCCEEDED(riff64_FindChunkHeaderInRIFF(file.handle, id, &size, &left))) {
      require(file.position() >= 64 && file.position() <= file.size());
      QVRIFF64DATA data = {size, nullptr};
      if (SUCCEEDED(riff64_ReadDataAlloc(file.handle, &data)) && data.data) {
        require(data.size <= static_cast<ULONGLONG>(file.size()));
        const HGLOBAL block = GlobalHandle(data.data);
        GlobalUnlock(block);
        GlobalFree(block);
      }
    }
    if (SUCCEEDED(riff64_FindListChunkFromStart(file.handle, id, &size))) {
      DWORD count = 0;
      left = size;
      const LONGLONG at = file.position();
      riff64_GetNumListEntries(file.handle, &count, &left);
      require(file.position() == at);
      riff64_SeekListEntry(file.handle, count, &left);
      require(file.position() >= at);
    }
    for (const LONG is_list : {0, 1}) {
      const LONGLONG before = file.size();
      ULONGLONG removed = 0;
      const HRESULT result = riff64_DeleteChunk(file.handle, id, &removed, is_list);
      const LONGLONG gone = before - file.size();
      require(gone >= 0 && static_cast<ULONGLONG>(gone) <= removed);
      require(SUCCEEDED(result) || gone == 0);
    }
  }
}

void walk_iff(const MemoryFile& file) {
  WAVEFORMATEX format = {};
  ULONGLONG start = 0;
  ULONGLONG bytes = 0;
  if (SUCCEEDED(iff_GetAIFFWfx(file.handle, &format, nullptr, &start, &bytes)))
    require(start + bytes <= static_cast<ULONGLONG>(file.size()) && format.nBlockAlign != 0);
  QVIFFMARKER marker;
  for (WORD id = 0; id < 3; ++id)
    iff_FindMarker(file.handle, &marker, id);
  for (const DWORD id : {QVIFF_ID_COMM, QVIFF_ID_SSND, QVIFF_ID_MARK}) {
    const LONGLONG before = file.size();
    DWORD removed = 0;
    const HRESULT result = iff_DeleteChunk(file.handle, id, &removed);
    const LONGLONG gone = before - file.size();
    require(gone >= 0 && gone <= LONGLONG{removed} && (SUCCEEDED(result) || gone == 0));
  }
}

void repair(const MemoryFile& file, bool wave64, DWORD limit) {
  const LONGLONG before = file.size();
  const LONGLONG position = file.position();
  const HRESULT result =
      wave64 ? QvFixTrashedW64(file.handle, nullptr, limit) : QvFixTrashedWav(file.handle, nullptr, limit);
  // The file may end in the middle of the header's last eight bytes, its size field.
  require(file.size() >= before && file.size() <= before + 8 && file.position() == position);
  WAVEFORMATEX format;
  // A mended file is a wave file from then on.
  if (SUCCEEDED(result) && !wave64) require(QvGetFileWfx(file.handle, &format) == S_OK && format.nBlockAlign != 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const MemoryFile file(data + 2, size - 2);
  switch (data[0] % 4) {
  case 0: walk_wave64(file); break;
  case 1: walk_iff(file); break;
  default: repair(file, data[0] % 4 == 3, data[1] == 0 ? 0xFFFFFFFF : data[1] * 100u);
  }
  return 0;
}
