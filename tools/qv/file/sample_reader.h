// The samples of a file with audio, in order and block by block.
#pragma once

#include "tools/qv/file/audio_file.h"

#include <algorithm>

namespace qv::tool {

/// Reads from a place of its own, so that several can read one file.
class SampleReader {
public:
  /// The file stays where it is. Throws Failure for a format whose samples the library does not read.
  explicit SampleReader(const AudioFile& audio);

  /// Reads the next frames. Throws Failure when they are not there.
  void read(void* buffer, DWORD frames);

private:
  const AudioFile& audio_;
  uint64_t position_; ///< in the file
};

/// 64 Ki frames, fewer for many channels: a block of doubles stays within 4 MiB whatever the format says.
inline DWORD frames_per_block(DWORD channels) {
  constexpr DWORD kMostFrames = 65536;
  constexpr DWORD kMostSamples = 4 * 1024 * 1024 / sizeof(double);
  return std::clamp<DWORD>(kMostSamples / channels, 1, kMostFrames);
}

/// Calls work(frames) for block after block until `frames` are done.
template <typename Block>
void for_each_block(uint64_t frames, DWORD block_frames, Block work) {
  while (frames > 0) {
    const DWORD run = static_cast<DWORD>(std::min<uint64_t>(frames, block_frames));
    work(run);
    frames -= run;
  }
}

} // namespace qv::tool
