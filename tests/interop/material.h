// Real recordings, other programs' commands, and samples read without the library.
#pragma once

#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"

#include "qv/win32.h"

#include <sndfile.h>
#include <string>
#include <vector>

namespace interop_test {

using cli_test::qv_json;
using cli_test::qv_says;
using cli_test::ScratchFolder;
using Json = nlohmann::json;

/// With options and names behind it.
inline const std::string kFfmpeg = "ffmpeg -v error -nostdin -y ";

/// A sample type of wave files, and what each program calls it.
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

/// A recording of the alsa-utils package: mono, 16 bits, 48 kHz.
std::string recording(const std::string& name);

/// Two recordings as a stereo file of 32 bits, every one of which is in use. Written by sox.
std::string stereo_source(const ScratchFolder& folder);

/// Runs a shell command that must succeed; answers what it printed.
std::string shell(const std::string& command);
inline Json qv_info(const std::string& file) { return qv_json({"info", file}); }
/// What ffprobe says of a file's first stream.
Json ffprobe(const std::string& file);

qv::WString wide(const std::string& name);

/// A file as the library works on it.
class LibraryFile {
public:
  explicit LibraryFile(const std::string& name)
      : handle_(CreateFileW(wide(name).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr)) {}
  ~LibraryFile() { CloseHandle(handle_); }
  LibraryFile(const LibraryFile&) = delete;
  LibraryFile& operator=(const LibraryFile&) = delete;
  operator HANDLE() const { return handle_; }

private:
  HANDLE handle_;
};

/// The bytes of a wave file's data chunk.
std::string data_chunk(const std::string& file);

/// Samples of a type as numbers: integers in their own scale, floats as they are.
std::vector<double> decode(const SampleType& type, const std::string& bytes);
/// 2^(bits - 1) for integers, 1 for floats.
double full_scale(const SampleType& type);

} // namespace interop_test
