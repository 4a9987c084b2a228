// Speaker masks of a channel count.
#pragma once

#include "qv/win32.h"

namespace qv::audio {

/// (1 << channels) - 1, all ones from 32 channels on.
constexpr DWORD default_channel_mask(DWORD channels) { return channels >= 32 ? ~DWORD{0} : (DWORD{1} << channels) - 1; }

constexpr bool is_default_mask(DWORD channels, DWORD mask) {
  return mask == 0 || mask == default_channel_mask(channels);
}

/// Equal when a mask of 0 stands for the default.
constexpr bool same_channel_mask(DWORD channels, DWORD a, DWORD b) {
  const DWORD standard = default_channel_mask(channels);
  return (a == 0 ? standard : a) == (b == 0 ? standard : b);
}

} // namespace qv::audio
