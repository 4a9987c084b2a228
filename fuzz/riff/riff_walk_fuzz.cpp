// The RIFF functions on any bytes: every walk ends, none leaves the file longer, deletion takes away what it says.
#include "fuzz/riff/memory_file.h"

#include "qv/riff.h"

using namespace fuzz;

namespace {

constexpr DWORD kIds[] = {QVRIFF_ID_FMT, QVRIFF_ID_DATA, QVRIFF_ID_LIST, QvFourCC("INFO"), QvFourCC("adtl")};

void read_data(const MemoryFile& file, DWORD size) {
  QVRIFFDATA data = {size, nullptr};
  if (FAILED(riff_ReadDataAlloc(file.handle, &data)) || !data.data) return;
  require(data.size <= file.size());
  const HGLOBAL block = GlobalHandle(data.data);
  GlobalUnlock(block);
  GlobalFree(block);
}

void search(const MemoryFile& file, DWORD id) {
  DWORD size = 0;
  DWORD left = 0;
  if (SUCCEEDED(riff_FindChunkHeaderInRIFF(file.handle, id, &size, &left))) {
    require(file.position() >= 20 && file.position() <= file.size());
    WCHAR text[20];
    DWORD text_size = size;
    riff_ReadANSIString(file.handle, text, 20, &text_size);
  }
  if (SUCCEEDED(riff_FindListChunkFromStart(file.handle, id, &size))) {
    DWORD count = 0;
    left = size;
    const LONGLONG at = file.position();
    riff_GetNumListEntries(file.handle, &count, &left);
    require(file.position() == at);
    riff_SeekListEntry(file.handle, count, &left);
    require(file.position() >= at);
  }
}

void walk(const MemoryFile& file) {
  riff_SeekDataStart(file.handle);
  DWORD id = 0;
  DWORD size = 0;
  while (SUCCEEDED(riff_ReadChunkHeader(file.handle, &id, &size))) {
    const LONGLONG at = file.position();
    read_data(file, size);
    riff_RestoreLocation(file.handle, static_cast<DWORD>(at));
    riff_SkipChunk(file.handle, size);
    require(file.position() >= at);
  }
  QVCDDAFMT descriptor;
  riff_ReadRIFFCDDA(file.handle, &descriptor);
}

void remove_all(const MemoryFile& file, DWORD id, LONG is_list) {
  for (;;) {
    const LONGLONG before = file.size();
    DWORD removed = 0;
    const HRESULT result = riff_DeleteChunk(file.handle, id, &removed, is_list);
    require(file.size() <= before);
    if (FAILED(result)) return;
    require(file.size() < before && before - file.size() <= removed);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const MemoryFile file(data, size);
  walk(file);
  for (const DWORD id : kIds)
    search(file, id);
  require(file.size() == static_cast<LONGLONG>(size));
  for (const DWORD id : kIds) {
    remove_all(file, id, 0);
    remove_all(file, id, 1);
  }
  riff_UpdateRIFFSize(file.handle, size > 12 ? data[size - 1] * 0x1000000LL - 0x100000 : 2);
  require(file.size() <= static_cast<LONGLONG>(size));
  return 0;
}
