// A wave file that is written: header, then samples in order.
#pragma once

#include "qv/audio.h"
#include "tools/qv/output_file.h"

#include <string>

namespace qv::tool {

class WaveOutput {
public:
  /// Writes the headers for exactly `frames` frames. Throws Failure, before a file is touched when it would be too
  /// long.
  WaveOutput(const std::string& name, const std::string& input_name, const _qvwaveformat& format, uint64_t frames);

  void write_frames(const void* samples, DWORD frames);
  /// Ends the file and puts it in its place.
  void commit();

private:
  /// The "fmt " chunk's data.
  struct FormatChunk {
    WAVEFORMATEXTENSIBLE header = {};
    DWORD size = 0;
  };

  static FormatChunk format_chunk(const _qvwaveformat& format);
  static uint64_t total_bytes(const FormatChunk& chunk, bool has_fact, uint64_t data_bytes);
  void write_headers(const FormatChunk& chunk, bool has_fact, uint64_t frames);

  DWORD block_align_;
  uint64_t data_bytes_;
  uint64_t file_bytes_ = 0;
  OutputFile file_;
};

} // namespace qv::tool
