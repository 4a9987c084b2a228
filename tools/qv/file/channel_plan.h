// What becomes of the channels in a conversion.
#pragma once

#include "qv/win32.h"

#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

struct ChannelPlan {
  enum class Kind {
    kKeep,
    kCount, ///< another number of channels
    kMap,   ///< for each channel the source channel
    kMono,  ///< the average of all
  };
  Kind kind = Kind::kKeep;
  DWORD count = 0;        ///< kCount
  std::vector<DWORD> map; ///< kMap: counted from 1, 0 for silence

  DWORD channels(DWORD source_channels) const;
  /// What the plan asks of a source that does not have it, or nothing.
  std::optional<std::string> objection(DWORD source_channels) const;
};

/// Reads "N" or "A,B,...". Nothing for any other text.
std::optional<ChannelPlan> parse_channel_plan(const std::string& text);

} // namespace qv::tool
