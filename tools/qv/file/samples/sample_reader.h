// The samples of an audio file in order, in a type that the library's kernels take, whatever the file stores.
#pragma once

#include "tools/qv/file/audio_file.h"
#include "tools/qv/file/codec/coded_audio.h"
#include "tools/qv/file/samples/sample_coding.h"

#include <algorithm>

namespace qv::tool {

/// Reads from a place of its own, so that several can read one file.
class SampleReader {
public:
  /// Keeps a reference to `audio`. Throws Failure for a format whose samples are not read.
  explicit SampleReader(const AudioFile& audio);

  /// What read() gives: little-endian, in whole bytes.
  const _qvwaveformat& format() const { return format_; }
  uint64_t frames() const { return frames_; }
  /// Reads the next frames. Throws Failure when they are not there.
  void read(void* buffer, DWORD frames);

private:
  void read_bytes(void* buffer, size_t bytes);

  void open_coded();

  const AudioFile& audio_;
  SampleCoding coding_;
  std::unique_ptr<CodedReader> coded_; ///< of compressed audio
  _qvwaveformat format_;
  uint64_t frames_;
  uint64_t position_;        ///< in the file
  std::vector<BYTE> stored_; ///< a block as the file has it, where its samples are of another width
};

/// How many frames are worked on at a time: 64 Ki, fewer for many channels, so that a block of doubles stays within
/// 4 MiB whatever the format says.
inline DWORD frames_per_block(DWORD channels) {
  constexpr DWORD kMaxFrames = 65536;
  constexpr DWORD kMaxSamples = 4 * 1024 * 1024 / sizeof(double);
  return std::clamp<DWORD>(kMaxSamples / channels, 1, kMaxFrames);
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
