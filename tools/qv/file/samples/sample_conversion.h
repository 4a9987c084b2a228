// Blocks of samples from one format to another, through the library's kernels, and what becomes of their channels.
#pragma once

#include "tools/qv/file/samples/clipping.h"

#include "qv/audio_channels.h"
#include "qv/audio_kernels.h"

#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

/// What becomes of the channels in a conversion.
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

  /// The number of channels that comes of a source's.
  DWORD channels(DWORD source_channels) const;
  /// What the plan asks of a source that does not have it; nothing where it has all.
  std::optional<std::string> objection(DWORD source_channels) const;
};

/// A plan from a text, "N" or "A,B,..."; nothing for any other.
std::optional<ChannelPlan> parse_channel_plan(const std::string& text);

class SampleConversion {
public:
  /// Blocks have at most `block_frames` frames. Throws std::runtime_error with a reason when the library has no kernel.
  SampleConversion(const _qvwaveformat& source, QVSAMPLETYPE type, const ChannelPlan& plan, float gain,
                   DWORD block_frames);

  /// Where a block of source samples is put.
  void* input() { return input_.data(); }
  /// The converted block, valid until the next call.
  const void* run(DWORD frames) {
    run(output_.data(), input_.data(), frames);
    return output_.data();
  }
  void* output() { return output_.data(); }
  /// Converts `frames` frames from one place to another.
  void run(void* converted, const void* samples, DWORD frames);
  /// How many samples of what came out were too loud for its type.
  uint64_t clipped() const { return clipping_.samples(); }

private:
  /// Brings the channels into their new order: in the source's sample type, or as doubles when they are averaged.
  const void* arrange(const void* samples, DWORD frames);
  HRESULT apply_map(const void* samples, DWORD frames);

  ChannelPlan plan_;
  float gain_;
  WAVEFORMATEXTENSIBLE source_;
  WAVEFORMATEXTENSIBLE arranged_;
  QVAUDIO_COPYFUNC copy_;
  ClippingCount clipping_;
  size_t converted_bytes_; ///< of a sample
  size_t arranged_bytes_;
  std::vector<BYTE> input_;
  std::vector<BYTE> between_;
  std::vector<BYTE> output_;
};

} // namespace qv::tool
