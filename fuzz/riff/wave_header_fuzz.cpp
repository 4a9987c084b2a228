// Wave64 walks with deletion, both repairs, and IFF and AIFF on any bytes: every walk ends, a repair writes nothing but
// a header, deletion takes away what it says.
//
// Input: a byte that says what is done, one for the limit of the repairs, and the file.
// Sources: riff/wave riff/iff riff/chunk
#include "fuzz/riff/chunk_walk.h"

#include "qv/wave_file.h"

using namespace fuzz;
using namespace riff_test;

namespace {

void walk_wave64(const MemoryFile& file) {
  for (const GUID& id : {QVW64_FMT, QVW64_DATA, QVW64_LIST}) {
    search<Wave64>(file, id);
    remove_all<Wave64>(file, id, 0);
    remove_all<Wave64>(file, id, 1);
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
  for (const char* name : {"COMM", "SSND", "MARK"})
    remove_all<Iff>(file, id_of<Iff>(name), 0);
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
