// A wave file that is written: header, then samples in order. A name that ends in ".w64" makes a Wave64 file.
#pragma once

#include "tools/qv/file/output_file.h"

#include "qv/audio.h"

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
  uint64_t total_bytes(const FormatChunk& chunk, bool has_fact) const;
  HRESULT write_riff_headers(const FormatChunk& chunk, bool has_fact, uint64_t frames);
  HRESULT write_wave64_headers(const FormatChunk& chunk);

  bool is_wave64_;
  DWORD block_align_;
  uint64_t data_bytes_;
  uint64_t file_bytes_ = 0;
  OutputFile file_;
};

} // namespace qv::tool
