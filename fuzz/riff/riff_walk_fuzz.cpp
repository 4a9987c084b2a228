// The RIFF functions on any bytes: every walk ends, none leaves the file longer, deletion takes away what it says.
// Sources: riff/chunk
#include "fuzz/riff/chunk_walk.h"

using namespace fuzz;
using riff_test::Riff;

namespace {

constexpr DWORD kIds[] = {QVRIFF_ID_FMT, QVRIFF_ID_DATA, QVRIFF_ID_LIST, QvFourCC("INFO"), QvFourCC("adtl")};

void read_text(const MemoryFile& file, DWORD id) {
  DWORD size = 0;
  WCHAR text[20];
  if (SUCCEEDED(riff_FindChunkHeaderInRIFF(file.handle, id, &size, nullptr)))
    riff_ReadANSIString(file.handle, text, 20, &size);
}

void walk(const MemoryFile& file) {
  riff_SeekDataStart(file.handle);
  DWORD id = 0;
  DWORD size = 0;
  while (SUCCEEDED(riff_ReadChunkHeader(file.handle, &id, &size))) {
    const LONGLONG at = file.position();
    read_block<Riff>(file, size);
    riff_RestoreLocation(file.handle, static_cast<DWORD>(at));
    riff_SkipChunk(file.handle, size);
    require(file.position() >= at);
  }
  QVCDDAFMT descriptor;
  riff_ReadRIFFCDDA(file.handle, &descriptor);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const MemoryFile file(data, size);
  walk(file);
  for (const DWORD id : kIds) {
    search<Riff>(file, id);
    read_text(file, id);
  }
  require(file.size() == static_cast<LONGLONG>(size));
  for (const DWORD id : kIds) {
    remove_all<Riff>(file, id, 0);
    remove_all<Riff>(file, id, 1);
  }
  riff_UpdateRIFFSize(file.handle, size > 12 ? data[size - 1] * 0x1000000LL - 0x100000 : 2);
  require(file.size() <= static_cast<LONGLONG>(size));
  return 0;
}
