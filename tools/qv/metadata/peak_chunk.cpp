#include "tools/qv/metadata/peak_chunk.h"

#include <bit>
#include <cmath>

namespace qv::tool {

template <class Sample>
void PeakMeter::look(const Sample* samples, DWORD frames) {
  for (DWORD k = 0; k < frames; ++k)
    for (Peak& peak : peaks_) {
      const auto value = static_cast<float>(std::fabs(*samples++));
      if (value > peak.value) peak = {value, static_cast<DWORD>(std::min<uint64_t>(frame_ + k, 0xFFFFFFFF))};
    }
  frame_ += frames;
}

void PeakMeter::take(const void* samples, DWORD frames) {
  if (is_double_)
    look(static_cast<const double*>(samples), frames);
  else
    look(static_cast<const float*>(samples), frames);
}

void PeakMeter::write_to(std::string& data, ByteOrder order) const {
  data.resize(bytes(static_cast<DWORD>(peaks_.size())));
  size_t at = 8;
  for (const Peak& peak : peaks_) {
    put_word_at(data, at, std::bit_cast<DWORD>(peak.value), order);
    put_word_at(data, at + 4, peak.frame, order);
    at += 8;
  }
}

} // namespace qv::tool
