// The chunks of a file as they stand in it, read without the library: RIFF, RIFX, RF64, BW64, Wave64 and AIFF.
#pragma once

#include <string>
#include <vector>

namespace interop_test {

struct Chunk {
  std::string id; ///< of a GUID its first four characters; of a list with its type, as in "LIST:INFO"
  std::string data;

  bool operator==(const Chunk&) const = default;
};

/// Throws for a file of another kind, and for a chunk that goes past the file's end.
std::vector<Chunk> chunks_of(const std::string& bytes);

/// The data of the first chunk of an id, "" where there is none.
std::string data_of(const std::vector<Chunk>& chunks, const std::string& id);

} // namespace interop_test
