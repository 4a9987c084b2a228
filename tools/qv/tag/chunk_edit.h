// Chunks put into a file, taken out or replaced, while all others stay as they are to the byte.
#pragma once

#include "tools/qv/tag/form.h"

#include "qv/undo.h"

#include <map>
#include <string>
#include <vector>

namespace qv::tool {

using undo::Replacement;

class OutputFile;

/// The id of a chunk that is to be written; Wave64 has some whose GUID does not begin with characters.
struct NewChunk {
  DWORD id; ///< its characters in file order
  std::string data;
};

class ChunkEdit {
public:
  /// Keeps references to both.
  ChunkEdit(const AudioFile& audio, const Form& form) : audio_(audio), form_(form), edited_(audio.chunks.size()) {}

  void remove(size_t index) { edited_[index] = Edited::kRemoved; }
  void remove_all(DWORD id, DWORD list_type);
  /// Replaces the data of a chunk by as many bytes.
  void replace(size_t index, const std::string& data);
  /// Puts a chunk into the place of one that is filled with nothing and stands in front of the audio; behind all others
  /// where none has room.
  void put_in_front(const NewChunk& chunk);
  /// Puts a chunk behind all others; in Wave64 in front of the audio, since libsndfile, and who reads by it, takes what
  /// follows the audio there for more of it.
  void append(const NewChunk& chunk);

  /// Writes the whole file anew. Returns its length.
  uint64_t write(const OutputFile& output) const;
  /// The same for a file that keeps its place: chunks that are removed in front of others become filling, and new ones
  /// stand behind all. The last replacement goes to the file's end.
  std::vector<Replacement> in_place() const;

private:
  enum class Edited { kNo, kRemoved, kReplaced };
  std::string chunk_bytes(const NewChunk& chunk) const;
  uint64_t end_of(size_t index) const;
  uint64_t aligned(uint64_t form_bytes) const;
  std::string filling(uint64_t bytes) const;
  Replacement replacement(uint64_t offset, uint64_t length, const std::string& bytes) const;

  const AudioFile& audio_;
  const Form& form_;
  std::vector<Edited> edited_;                 ///< one of each chunk
  std::map<size_t, std::string> replacements_; ///< whole chunks by index, of the same length
  std::string inserted_;                       ///< in front of the audio
  std::string appended_;
};

} // namespace qv::tool
