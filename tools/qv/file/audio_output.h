// An audio file that is written: the sample types it may have, its header, its samples in order.
#pragma once

#include "tools/qv/file/audio_layout.h"
#include "tools/qv/file/codec/coded_audio.h"
#include "tools/qv/file/disk/output_file.h"
#include "tools/qv/file/samples/clipping.h"
#include "tools/qv/metadata/peak_chunk.h"
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

/// Where audio is to go, and as what.
struct OutputTarget {
  std::string name;
  std::string input_name;
  Container container = Container::kRiff;
  bool stays_riff = false; ///< and is refused where a RIFF file would be too long; otherwise it becomes an RF64 file
};

/// The type of that name; for "" the source's own, or the nearest that such a file usually has. Throws Failure about
/// the file for a type that its container does not take.
QVSAMPLETYPE output_type(const std::string& name, QVSAMPLETYPE source, const OutputTarget& target);

/// An audio file that is written, with chunks around its audio; without them where it is compressed.
class AudioOutput {
public:
  /// Writes all that stands before the audio of exactly `frames` frames. `chunks` may refer to files that stay open
  /// until commit(). Throws Failure, before a file is touched when it would be too long.
  AudioOutput(const OutputTarget& target, const _qvwaveformat& format, uint64_t frames, CarriedChunks chunks = {});

  /// What is written: an RF64 file, perhaps, where a RIFF file was asked for.
  Container container() const { return layout_.container; }
  /// Writes the next frames, in the format of the file with little-endian samples. Throws Failure.
  void write_frames(const void* samples, DWORD frames);
  /// Writes what stands behind the audio, and puts the file in its place. Throws Failure.
  void commit();

private:
  /// The chunk behind the audio that is filled when all samples are known; null without one.
  CarriedChunk* peak_chunk();
  void write_chunks(const std::vector<CarriedChunk>& chunks) const;
  void write_zeros(uint64_t count) const;

  AudioLayout layout_;
  CarriedChunks chunks_;
  std::optional<PeakMeter> peaks_;
  _qvwaveformat format_;
  std::vector<BYTE> encoded_; ///< a block in the container's byte order
  OutputFile file_;
  std::unique_ptr<CodedWriter> coded_; ///< of a compressed file, which has no layout
};

/// Samples as doubles on their way into a wave file: dithered, then brought to the file's type.
class DoubleOutput {
public:
  /// dither: a name out of dither_names(); none of them for the float types. Throws Failure.
  DoubleOutput(AudioOutput& output, const std::string& name, const _qvwaveformat& format, const std::string& dither);

  /// Writes frames, and changes the samples on the way. Throws Failure.
  void write(double* samples, DWORD frames);

  /// How many of them were too loud for the file's type.
  uint64_t clipped() const { return clipping_.samples(); }

  static std::vector<std::string> dither_names();

private:
  AudioOutput& output_;
  DWORD channels_;
  QVAUDIO_COPYFUNC store_;
  ClippingCount clipping_;
  std::optional<CQvDither> dither_;
  size_t sample_bytes_;
  std::vector<BYTE> bytes_;
};

} // namespace qv::tool
