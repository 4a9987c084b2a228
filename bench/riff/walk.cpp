// Walking to the last of 50 chunks, against libsndfile's open and close of the same file.
#include "bench/ratios.h"
#include "bench/riff/groups.h"

#include "qv/riff.h"

#include <cstdlib>
#include <fstream>
#include <string>

#if defined(QV_BENCH_sndfile)
#include <sndfile.h>
#endif

namespace bench {
namespace {

void append(std::string& bytes, const char* id, uint32_t size, const std::string& data) {
  bytes.append(id, 4);
  bytes.append(reinterpret_cast<const char*>(&size), 4);
  bytes += data;
}

/// A wave file of 50 chunks: format, 48 of text, and audio at the end.
std::string wave_of_50_chunks() {
  WORD format[8] = {1, 2, 44100, 0, 45328, 2, 4, 16}; // 44,100 Hz, 176,400 bytes/s
  std::string chunks;
  append(chunks, "fmt ", 16, {reinterpret_cast<const char*>(format), 16});
  for (int i = 0; i < 48; ++i)
    append(chunks, "junk", 200, std::string(200, 'x'));
  append(chunks, "data", 4000, std::string(4000, '\0'));
  std::string bytes;
  append(bytes, "RIFF", static_cast<uint32_t>(chunks.size() + 4), "WAVE" + chunks);
  return bytes;
}

void walk(const qv::WString& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  DWORD size = 0;
  DWORD remaining = 0;
  if (riff_FindChunkHeaderInRIFF(file, QVRIFF_ID_DATA, &size, &remaining) != S_OK || size != 4000) std::abort();
  CloseHandle(file);
}

} // namespace

void add_walk(const ScratchFolder& folder) {
  const std::filesystem::path path = folder.file("chunks.wav");
  std::ofstream(path, std::ios::binary) << wave_of_50_chunks();
  Group group{"walk 50 chunks to the last", [text = path.string<WCHAR>()] { walk(text); }, {}};
#if defined(QV_BENCH_sndfile)
  group.others.push_back({"libsndfile's open and close",
                          [name = path.string()] {
                            SF_INFO info{};
                            SNDFILE* file = sf_open(name.c_str(), SFM_READ, &info);
                            if (!file || info.frames != 1000) std::abort();
                            sf_close(file);
                          },
                          18.0});
#endif
  add(std::move(group));
}

} // namespace bench
