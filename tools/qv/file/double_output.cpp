#include "tools/qv/file/double_output.h"

#include "tools/qv/failure.h"
#include "tools/qv/named_rows.h"

namespace qv::tool {

namespace {

struct DitherName {
  const char* name;
  QVDITHER type;
};

constexpr DitherName kDitherNames[] = {
    {"none", QVDITHER_NONE}, {"rect", QVDITHER_RECTANGULAR}, {"tri", QVDITHER_TRIANGULAR}, {"shaped", QVDITHER_SHAPED}};
/// Any: the same file comes out each time.
constexpr ULONGLONG kSeed = 1;

} // namespace

std::vector<std::string> DoubleOutput::dither_names() { return names_of(kDitherNames); }

DoubleOutput::DoubleOutput(WaveOutput& output, const std::string& name, const _qvwaveformat& format,
                           const std::string& dither)
    : output_(output), channels_(format.channels),
      store_(QvAudio_GetCopyFunction2(format.sampleType, QVSAMPLE_FLOAT64)), sample_bytes_(format.BytesPerSample()) {
  const QVDITHER type = row_of(kDitherNames, dither).type;
  if (type == QVDITHER_NONE) return; // the kernel rounds as well
  if (format.FormatTag() == WAVE_FORMAT_IEEE_FLOAT) throw Failure(name, "float samples are not dithered");
  const HRESULT result = dither_.emplace().Init(type, format.BitsPerSample(), channels_, kSeed);
  if (FAILED(result)) throw Failure(name, QvResultText(result));
}

void DoubleOutput::write(double* samples, DWORD frames) {
  const size_t count = size_t{frames} * channels_;
  if (dither_) dither_->ProcessDouble(samples, samples, frames, 0);
  bytes_.resize(std::max(bytes_.size(), count * sample_bytes_));
  store_(bytes_.data(), samples, static_cast<LONG>(count), 1.0f);
  output_.write_frames(bytes_.data(), frames);
}

} // namespace qv::tool
