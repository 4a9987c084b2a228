// The separators that have names of their own, which programs replace by name: those of musical positions and timecode.
#pragma once

#include "qv/win32.h"

#include <cstdint>

namespace qv::kernel {

enum class Token : uint32_t { kMeasureBeat, kBeatTick, kTimecodeWhole, kTimecodeNonDrop, kTimecodeDrop, kCount };

inline constexpr int kTokenCapacity = 8;

struct TokenText {
  WCHAR text[kTokenCapacity];
};

/// The token's text in force, terminated.
TokenText token_text(Token token);

} // namespace qv::kernel
