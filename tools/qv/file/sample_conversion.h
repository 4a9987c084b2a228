// Blocks of samples from one format to another, through the library's kernels.
#pragma once

#include "tools/qv/file/channel_plan.h"

#include "qv/audio_channels.h"
#include "qv/audio_kernels.h"

#include <vector>

namespace qv::tool {

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
  /// The same from and to other places.
  void run(void* converted, const void* samples, DWORD frames);

private:
  /// Brings the channels into their new order: in the source's sample type, or as doubles when they are averaged.
  const void* arrange(const void* samples, DWORD frames);
  HRESULT apply_map(const void* samples, DWORD frames);

  ChannelPlan plan_;
  float gain_;
  WAVEFORMATEX source_;
  WAVEFORMATEX arranged_;
  QVAUDIO_COPYFUNC copy_;
  std::vector<BYTE> input_;
  std::vector<BYTE> between_;
  std::vector<BYTE> output_;
};

} // namespace qv::tool
