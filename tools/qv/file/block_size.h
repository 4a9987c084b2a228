// How many frames are worked on at a time.
#pragma once

#include "qv/win32.h"

#include <algorithm>
#include <cstdint>

namespace qv::tool {

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
