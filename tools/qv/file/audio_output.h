// An audio file that is written: the sample types it may have, its header, its samples in order.
#pragma once

#include "tools/qv/file/disk_file.h"
#include "tools/qv/named_rows.h"

#include "qv/audio_kernels.h"
#include "qv/dither.h"

#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

/// A sample type that a wave file is written in, under its name on the command line.
struct TypeName {
  const char* name;
  QVSAMPLETYPE type;
};

/// All of them: those whose header has the tag of PCM or of floats.
const std::vector<TypeName>& written_types();

inline std::vector<std::string> type_names() { return names_of(written_types()); }

/// The type of that name; for "" the source's own, or the nearest that a wave file usually has.
inline QVSAMPLETYPE output_type(const std::string& name, QVSAMPLETYPE source) {
  for (const TypeName& row : written_types())
    if (name.empty() ? row.type == source : row.name == name) return row.type;
  switch (QvAudio_BitsFromSampleType(source)) {
  case 8: return QVSAMPLE_PCM8;
  case 16: return QVSAMPLE_PCM16;
  case 24: return QVSAMPLE_PCM24;
  default: return source == QVSAMPLE_PCM24IN32 ? QVSAMPLE_PCM24 : QVSAMPLE_PCM32;
  }
}

/// A wave file that is written: a Wave64 file where its name ends in ".w64", otherwise RIFF.
class AudioOutput {
public:
  /// Writes the headers for exactly `frames` frames. Throws Failure, before a file is touched when it would be too
  /// long.
  AudioOutput(const std::string& name, const std::string& input_name, const _qvwaveformat& format, uint64_t frames);

  /// Writes the next frames, in the format of the file. Throws Failure.
  void write_frames(const void* samples, DWORD frames);
  /// Ends the file and puts it in its place. Throws Failure.
  void commit();

private:
  /// The "fmt " chunk's data.
  struct FormatChunk {
    WAVEFORMATEXTENSIBLE header = {};
    DWORD size = 0;
  };

  static FormatChunk format_chunk(const _qvwaveformat& format);
  uint64_t total_bytes(const FormatChunk& chunk, bool has_fact) const;
  HRESULT write_riff_headers(const FormatChunk& chunk, bool has_fact, uint64_t frames);
  HRESULT write_wave64_headers(const FormatChunk& chunk);

  bool is_wave64_;
  DWORD block_align_;
  uint64_t data_bytes_;
  uint64_t file_bytes_ = 0;
  OutputFile file_;
};

/// Samples as doubles on their way into a wave file: dithered, then brought to the file's type.
class DoubleOutput {
public:
  /// dither: a name out of dither_names(); none of them for the float types. Throws Failure.
  DoubleOutput(AudioOutput& output, const std::string& name, const _qvwaveformat& format, const std::string& dither);

  /// Writes frames, and changes the samples on the way. Throws Failure.
  void write(double* samples, DWORD frames);

  static std::vector<std::string> dither_names();

private:
  AudioOutput& output_;
  DWORD channels_;
  QVAUDIO_COPYFUNC store_;
  std::optional<CQvDither> dither_;
  size_t sample_bytes_;
  std::vector<BYTE> bytes_;
};

} // namespace qv::tool
