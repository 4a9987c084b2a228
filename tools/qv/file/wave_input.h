// A file with audio that is read: its chunks, its format, and its samples in order. RIFF wave, Wave64, AIFF and AIFF-C.
#pragma once

#include "tools/qv/file/open_file.h"

#include "qv/audio.h"
#include "qv/summary.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qv::tool {

struct ChunkEntry {
  DWORD id;        ///< its characters in file order; of a GUID the first four
  DWORD list_type; ///< of a "LIST" chunk, otherwise 0
  uint64_t offset; ///< of the chunk's header in the file
  uint64_t size;   ///< of the data, as the header says
};

class WaveInput {
public:
  /// Opens the file and reads all its headers. Throws Failure. Prints a warning for a data chunk that claims more than
  /// the file holds.
  explicit WaveInput(const std::string& name);

  const std::string& name() const { return name_; }
  /// "RIFF", "wave64", "aiff" or "aifc".
  const char* container() const { return container_; }
  const _qvwaveformat& format() const { return format_.format; }
  /// The format chunk or what describes it, with at least the 40 bytes of an extensible header in memory.
  const WAVEFORMATEX* header() const { return reinterpret_cast<const WAVEFORMATEX*>(header_.data()); }
  const std::vector<ChunkEntry>& chunks() const { return chunks_; }
  /// The texts of the "INFO" list, by id; none in other containers.
  std::vector<std::pair<DWORD, std::string>> summary() const;
  /// The same as a list, which is empty before.
  void load_summary(_summarylisttag& list) const;
  /// Whether the form and its chunks fill the file, as a sound header says.
  bool is_whole() const;
  HANDLE handle() const { return file_; }
  /// Whole frames that the file holds. For a compressed format as its "fact" chunk says, or 0.
  uint64_t frames() const;
  /// In units of 100 ns, rounded down.
  uint64_t duration() const;

  /// Throws Failure for a format whose samples the library does not read.
  void require_samples() const;
  /// Reads the next frames. Throws Failure when they are not there.
  void read_frames(void* buffer, DWORD frames);

private:
  [[noreturn]] void fail(const std::string& reason) const;
  /// The first bytes, which name the container.
  DWORD first_word();
  void require_chunks() const;
  /// False, with a warning, for a cut chunk behind the audio; any other that the file's end cuts fails.
  bool ends_behind_audio(DWORD cut_id) const;

  void read_riff();
  void read_riff_header();
  /// False after the last chunk that there is.
  bool read_riff_chunk(uint64_t& position);

  void read_wave64();
  bool read_wave64_chunk(uint64_t& position);

  void read_aiff();
  void read_aiff_chunks(uint64_t form_end);

  void read_format(uint64_t size);
  void check_format() const;
  void take_data(uint64_t start, uint64_t claimed);

  std::string name_;
  OpenFile file_;
  const char* container_ = "RIFF";
  uint64_t file_size_ = 0;
  uint64_t form_end_ = 0;
  bool form_size_unknown_ = false;
  std::vector<ChunkEntry> chunks_;
  std::vector<BYTE> header_;
  QVWAVEFORMATBUFFER format_ = {};
  bool has_data_ = false;
  uint64_t data_start_ = 0;
  uint64_t data_bytes_ = 0;
  uint64_t fact_frames_ = 0;
};

} // namespace qv::tool
