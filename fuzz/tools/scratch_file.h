// The input of a fuzz target as a file in a folder of its own, and the program that is run on it.
#pragma once

#include "fuzz/require.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/samples/sample_reader.h"
#include "tools/qv/program.h"

#include "qv/audio_kernels.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>

namespace fuzz {

namespace fs = std::filesystem;

struct Outcome {
  int code;
  std::string error;
};

/// A folder in memory where the system has one, for the whole run; each input begins with IN alone in it.
class ScratchFolder {
public:
  ScratchFolder(uint8_t kind, const std::string& bytes) {
    constexpr const char* kSuffixes[] = {".wav", ".w64", ".aiff", ".rf64", ""};
    for (const auto& entry : fs::directory_iterator(path()))
      fs::remove(entry.path());
    in_ = path() + "/in" + kSuffixes[kind % std::size(kSuffixes)];
    std::ofstream(in_, std::ios::binary) << bytes;
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  static const std::string& path() {
    static const Made folder;
    return folder.path;
  }
  const std::string& in() const { return in_; }

  /// The words with names for IN and OUT.
  std::vector<std::string> named(std::vector<std::string> words) const {
    for (std::string& word : words)
      if (word == "IN")
        word = in_;
      else if (word.starts_with("OUT"))
        word = path() + "/out" + word.substr(3);
    return words;
  }

  Outcome run(const std::vector<std::string>& words) const {
    const std::ostringstream out;
    const std::ostringstream error;
    std::streambuf* const usual_out = std::cout.rdbuf(out.rdbuf());
    std::streambuf* const usual_error = std::cerr.rdbuf(error.rdbuf());
    const int code = qv::tool::run_program("0", words);
    std::cout.rdbuf(usual_out);
    std::cerr.rdbuf(usual_error);
    return {code, error.str()};
  }

  std::string read_in() const {
    std::ostringstream bytes;
    bytes << std::ifstream(in_, std::ios::binary).rdbuf();
    return bytes.str();
  }
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path()))
      names.push_back(entry.path().string());
    std::sort(names.begin(), names.end());
    return names;
  }

private:
  struct Made {
    Made() : path(fs::is_directory("/dev/shm") ? "/dev/shm/qv-fuzz-XXXXXX" : "/tmp/qv-fuzz-XXXXXX") {
      require(mkdtemp(path.data()) && std::freopen("/dev/null", "w", stdout)); // where tables are printed
    }
    ~Made() {
      std::error_code error;
      fs::remove_all(path, error);
    }
    std::string path;
  };

  std::string in_;
};

/// One number that is none is as good as another.
inline bool are_same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

/// The samples of a file as doubles, which hold each of them exactly.
struct Samples {
  uint64_t frames = 0;
  DWORD rate = 0;
  std::vector<double> values;

  bool operator==(const Samples& other) const {
    return frames == other.frames && rate == other.rate &&
           std::equal(values.begin(), values.end(), other.values.begin(), other.values.end(), are_same);
  }
};

/// Nothing for a file whose samples the program does not read.
inline std::optional<Samples> samples_of(const std::string& name) {
  try {
    const qv::tool::AudioFile audio = qv::tool::inspect_audio_file(name);
    qv::tool::SampleReader reader(audio);
    const _qvwaveformat& format = reader.format();
    std::string bytes(reader.frames() * format.blockAlign, '\0');
    reader.read(bytes.data(), static_cast<DWORD>(reader.frames()));
    const auto copy = QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT64, format.sampleType);
    require(copy != nullptr);
    Samples samples = {reader.frames(), format.samplesPerSec, {}};
    samples.values.resize(reader.frames() * format.channels);
    if (!bytes.empty()) copy(samples.values.data(), bytes.data(), static_cast<int>(samples.values.size()), 1.0f);
    return samples;
  } catch (const qv::tool::Failure&) {
    return std::nullopt;
  }
}

} // namespace fuzz
