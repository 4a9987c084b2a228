// The sample types of wave files, and what each program calls them.
#pragma once

#include <sndfile.h>

namespace interop_test {

struct SampleType {
  const char* qv; ///< qv convert --type
  int number;     ///< of the enumeration, in qv info
  int bits;
  bool is_float;
  const char* ffmpeg; ///< codec pcm_NAME, raw format
  const char* ffmpeg_raw;
  const char* sox; ///< output options
  int sndfile;     ///< subtype
};

inline constexpr SampleType kSampleTypes[] = {
    {"pcm8", 16, 8, false, "pcm_u8", "u8", "-e unsigned-integer -b 8", SF_FORMAT_PCM_U8},
    {"pcm16", 17, 16, false, "pcm_s16le", "s16le", "-e signed-integer -b 16", SF_FORMAT_PCM_16},
    {"pcm24", 18, 24, false, "pcm_s24le", "s24le", "-e signed-integer -b 24", SF_FORMAT_PCM_24},
    {"pcm32", 19, 32, false, "pcm_s32le", "s32le", "-e signed-integer -b 32", SF_FORMAT_PCM_32},
    {"float32", 32, 32, true, "pcm_f32le", "f32le", "-e floating-point -b 32", SF_FORMAT_FLOAT},
    {"float64", 33, 64, true, "pcm_f64le", "f64le", "-e floating-point -b 64", SF_FORMAT_DOUBLE},
};

} // namespace interop_test
