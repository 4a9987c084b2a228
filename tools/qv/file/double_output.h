// Samples as doubles on their way into a wave file: dithered, then brought to the file's type.
#pragma once

#include "tools/qv/file/wave_output.h"

#include "qv/audio_kernels.h"
#include "qv/dither.h"

#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

class DoubleOutput {
public:
  /// dither: a name out of dither_names(); none of them for the float types. Throws Failure.
  DoubleOutput(WaveOutput& output, const std::string& name, const _qvwaveformat& format, const std::string& dither);

  /// The samples are changed.
  void write(double* samples, DWORD frames);

  static std::vector<std::string> dither_names();

private:
  WaveOutput& output_;
  DWORD channels_;
  QVAUDIO_COPYFUNC store_;
  std::optional<CQvDither> dither_;
  size_t sample_bytes_;
  std::vector<BYTE> bytes_;
};

} // namespace qv::tool
