// How a file's bytes become samples that the library's kernels take.
#pragma once

#include "tools/qv/file/audio_file.h"

namespace qv::tool {

struct SampleCoding {
  QVSAMPLETYPE type = QVSAMPLE_NONE; ///< what comes of the file's samples; none where they cannot be read
  DWORD stored_bytes = 0;            ///< of a sample in the file, in bytes that may be more than its bits fill
  /// Makes samples of the type from little-endian ones of the file; null where they are the same.
  void (*expand)(void* samples, const BYTE* stored, size_t count, DWORD stored_bytes) = nullptr;
};

/// Of PCM, floats, A-law and mu-law.
SampleCoding coding_of(const AudioFile& audio);

/// Whether a tag is that of integers or floats, in any of the library's ways to store them.
bool is_pcm_or_float(DWORD tag);

} // namespace qv::tool
