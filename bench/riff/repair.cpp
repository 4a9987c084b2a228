// A repair reads and writes the header; the audio behind it costs nothing.
#include "bench/ratios.h"
#include "bench/riff/groups.h"

#include "qv/riff.h"
#include "qv/wave_file.h"

#include <cstdlib>

namespace bench {
namespace {

constexpr WAVEFORMATEX kFormat = {1, 2, 48'000, 192'000, 4, 16, 0};

void repair(const qv::WString& name, DWORD audio_bytes) {
  const HANDLE file =
      CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  DWORD size = 0;
  if (QvFixTrashedWav(file, nullptr, 0xFFFFFFFF) != S_OK ||
      riff_FindChunkHeaderInRIFF(file, QVRIFF_ID_DATA, &size, nullptr) != S_OK || size != audio_bytes)
    std::abort();
  CloseHandle(file);
}

} // namespace

void add_repairs(const ScratchFolder& folder) {
  constexpr DWORD kMebibyte = 1 << 20;
  const auto file_with = [&](const char* name, DWORD audio_bytes) {
    const std::filesystem::path path = folder.file(name);
    if (QvInitializeWav(path.string<WCHAR>().c_str(), &kFormat, CREATE_ALWAYS) != S_OK) std::abort();
    std::filesystem::resize_file(path, 46 + uint64_t{audio_bytes});
    return path.string<WCHAR>();
  };
  const qv::WString large = file_with("large.wav", 1024 * kMebibyte);
  const qv::WString small = file_with("small.wav", kMebibyte);
  // The large one takes no longer than the small one: 0.8 leaves room for a noisy machine, where growth would be
  // 1/1024.
  add({"repair before 1 GiB of audio",
       [=] { repair(large, 1024 * kMebibyte); },
       {{"before 1 MiB", [=] { repair(small, kMebibyte); }, 0.8}}});
}

} // namespace bench
