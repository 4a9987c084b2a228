// A change of one file as data: which bytes take the place of which.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qv::tool {

struct Replacement {
  uint64_t offset; ///< in the file as it is before the change
  std::string old_bytes;
  std::string new_bytes;
};

struct FileChange {
  uint64_t old_length = 0;
  uint64_t new_length = 0;
  std::vector<Replacement> replacements; ///< in order; none overlaps another or passes the file's end

  /// Whether nothing but the file's end moves.
  bool is_in_place() const;
  /// What takes it back.
  FileChange reversed() const;
};

/// Whether replacements are in order, apart from each other and within a file of that length, and no sum overflows.
bool are_sound(const std::vector<Replacement>& replacements, uint64_t length);
/// What the length of a file becomes by them.
uint64_t length_after(const std::vector<Replacement>& replacements, uint64_t length);

} // namespace qv::tool
