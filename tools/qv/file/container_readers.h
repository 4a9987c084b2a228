// The readers of the containers, one function each; audio_file.cpp has the table of them. Each fills an AudioFile whose
// name, file and length are known, and throws Failure.
#pragma once

#include "tools/qv/file/audio_file.h"

namespace qv::tool {

void read_riff(AudioFile& audio);
void read_wave64(AudioFile& audio);
void read_aiff(AudioFile& audio);
void read_flac(AudioFile& audio);
void read_ogg(AudioFile& audio);
void read_mp3(AudioFile& audio);

[[noreturn]] void fail(const AudioFile& audio, const std::string& reason);
/// Notes that there are more chunks than are listed.
void warn_of_many_chunks(AudioFile& audio);
/// What every reader does as soon as format and audio are known: checks the format, and counts the frames.
void check_format(AudioFile& audio);

/// What RIFF wave and Wave64 files have in common is read by one function: chunks, of which one is the format and one
/// the audio.
struct WaveChunks {
  enum class Role { kFormat, kAudio, kOther };
  uint64_t file_header;
  uint64_t chunk_header;
  uint64_t alignment; ///< of chunks
  /// Reads the header of a chunk at the file's position.
  HRESULT (*read_header)(const AudioFile& audio, ChunkEntry& entry, Role& role);
  /// Takes what else the container wants of a whole chunk, whose data begin at the file's position.
  void (*look_into)(AudioFile& audio, ChunkEntry& entry);
};

/// What a header of 32 bits says when the size stands elsewhere, or was not known.
inline constexpr DWORD kNoSize = 0xFFFFFFFF;

/// Sizes that the chunk "ds64" has for chunks which say kNoSize.
struct LongSizes {
  uint64_t audio = kNoSize;
  std::vector<std::pair<DWORD, uint64_t>> others; ///< by id, in the order of their chunks
};

/// Where the chunks end.
struct FormEnd {
  uint64_t at;
  bool is_guessed; ///< a recorder that could not go back left no size: the form then goes as far as the file
};

void read_wave_chunks(AudioFile& audio, const WaveChunks& container, const FormEnd& end, LongSizes sizes = {});

} // namespace qv::tool
