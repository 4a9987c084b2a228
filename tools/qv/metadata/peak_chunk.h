// The "PEAK" chunk of files with float samples: the largest absolute sample of each channel, and where it stands.
#pragma once

#include "tools/qv/metadata/chunk_bytes.h"

#include "qv/audio.h"
#include "qv/chunk_id.h"

#include <string>
#include <vector>

namespace qv::tool {

inline constexpr DWORD kPeakId = QvFourCC("PEAK");

class PeakMeter {
public:
  /// Its samples are float32 or float64.
  explicit PeakMeter(const _qvwaveformat& format)
      : peaks_(format.channels), is_double_(format.sampleType == QVSAMPLE_FLOAT64) {}

  /// The length of such a chunk's data.
  static size_t bytes(DWORD channels) { return 8 + 8 * size_t{channels}; }
  /// Looks at the next frames.
  void take(const void* samples, DWORD frames);
  /// Writes the peaks of all frames so far into the data of a chunk, behind its version and time.
  void write_to(std::string& data, ByteOrder order) const;

private:
  struct Peak {
    float value = 0.0f;
    DWORD frame = 0;
  };
  template <class Sample>
  void look(const Sample* samples, DWORD frames);

  std::vector<Peak> peaks_;
  bool is_double_;
  uint64_t frame_ = 0;
};

} // namespace qv::tool
