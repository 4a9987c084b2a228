#include "tools/qv/file/rate_conversion.h"

#include "tools/qv/failure.h"
#include "tools/qv/named_rows.h"

namespace qv::tool {

namespace {

struct QualityName {
  const char* name;
  QVRESAMPLE2_QUALITY quality;
};

constexpr QualityName kQualityNames[] = {{"linear", QVRESAMPLE2_LINEAR},
                                         {"filtered", QVRESAMPLE2_FILTERED},
                                         {"sinc", QVRESAMPLE2_SINC},
                                         {"best", QVRESAMPLE2_BEST}};

} // namespace

std::vector<std::string> RateConversion::quality_names() { return names_of(kQualityNames); }

uint64_t RateConversion::frames_at(uint64_t frames, DWORD src_rate, DWORD dst_rate) {
  const uint64_t rest = frames % src_rate * dst_rate;
  return frames / src_rate * dst_rate + (2 * rest + src_rate) / (2 * uint64_t{src_rate});
}

RateConversion::RateConversion(const std::string& name, DWORD src_rate, DWORD dst_rate, DWORD channels,
                               const std::string& quality)
    : channels_(channels), block_(size_t{kBlockFrames} * channels) {
  const HRESULT result = QvAudio_Resample2Open(&converter_, QVSAMPLE_FLOAT64, src_rate, dst_rate, channels,
                                               row_of(kQualityNames, quality).quality);
  if (result == E_INVALIDARG)
    throw Failure(name, "its rate of " + std::to_string(src_rate) + " Hz is too far from " + std::to_string(dst_rate));
  if (FAILED(result)) throw Failure(name, QvResultText(result));
}

RateConversion::~RateConversion() { QvAudio_Resample2Close(converter_); }

DWORD RateConversion::step(const double* samples, DWORD frames, DWORD& used) {
  DWORD written = 0;
  DWORD taken = 0;
  const double* const rest = samples ? samples + size_t{used} * channels_ : nullptr;
  QvAudio_Resample2Process(converter_, block_.data(), kBlockFrames, &written, rest, frames - used, &taken);
  used += taken;
  return written;
}

} // namespace qv::tool
