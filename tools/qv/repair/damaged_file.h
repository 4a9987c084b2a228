// A file whose headers may be damaged, and the chunk headers that stand in it.
#pragma once

#include "tools/qv/repair/known_chunks.h"

#include "qv/win32.h"

namespace qv::tool {

/// What stands where the header of a chunk is expected, whether it is one or not.
struct Chunk {
  std::string id;
  uint64_t at;          ///< its header
  uint64_t data;        ///< what follows that
  uint64_t size;        ///< of the data, as stored, which may be more than there is
  bool is_open = false; ///< the size is what a writer leaves that could not go back to it: none, or the largest
};

class DamagedFile {
public:
  /// A look at a file, whose handle stays the caller's. Without a limit the search for audio ends at 64 KiB. Throws
  /// Failure for an empty file, and for one of another kind, which a new header would not mend.
  DamagedFile(const std::string& name, HANDLE file, std::optional<uint64_t> limit);

  const std::string& name() const { return name_; }
  HANDLE handle() const { return file_; }
  uint64_t size() const { return size_; }
  const HeaderLayout& layout() const { return *layout_; }
  /// Where the search for the header of audio ends.
  uint64_t limit() const { return limit_; }

  /// The bytes from `offset` on, fewer only where the file ends. Throws Failure.
  std::string read(uint64_t offset, uint64_t bytes) const;
  /// Nothing where the file ends in it.
  std::optional<Chunk> header_at(uint64_t at) const;
  /// Whether all of a chunk's data are there.
  bool is_whole(const Chunk& chunk) const { return chunk.size <= size_ - chunk.data; }
  /// Where the zeros end that stand from `from` on; `from` where fewer than a chunk's header do. The search is bounded.
  uint64_t zeros_end(uint64_t from) const;
  /// Whether the size in the file's own header is that of the file, give or take a pad byte.
  bool size_agrees() const;

  /// Headers of known chunks from `from` up to `end`, which bytes in between may only look like. Bounded in number.
  std::vector<Chunk> known_headers(uint64_t from, uint64_t end) const;

private:
  const std::string& block_at(uint64_t offset) const;

  std::string name_;
  HANDLE file_;
  uint64_t size_ = 0;
  const HeaderLayout* layout_ = nullptr;
  uint64_t limit_ = 0;
  mutable uint64_t block_start_ = ~uint64_t{0};
  mutable std::string block_;
};

} // namespace qv::tool
