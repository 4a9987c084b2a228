#include "qv/undo.h"

#include <algorithm>

namespace qv::undo {

bool FileChange::is_in_place() const {
  return std::all_of(
      replacements.begin(), replacements.end(),
      [&](const Replacement& piece) {
        const bool is_end = &piece == &replacements.back() && piece.offset + piece.old_bytes.size() == old_length;
        return is_end || piece.old_bytes.size() == piece.new_bytes.size();
      });
}

FileChange FileChange::reversed() const {
  FileChange back = {new_length, old_length, {}};
  uint64_t moved = 0; // modulo 2^64
  for (const Replacement& piece : replacements) {
    back.replacements.push_back({piece.offset + moved, piece.new_bytes, piece.old_bytes});
    moved += piece.new_bytes.size() - piece.old_bytes.size();
  }
  return back;
}

bool are_sound(const std::vector<Replacement>& replacements, uint64_t length) {
  uint64_t free_from = 0;
  for (const Replacement& piece : replacements) {
    if (piece.offset < free_from || piece.offset > length || piece.old_bytes.size() > length - piece.offset)
      return false;
    free_from = piece.offset + piece.old_bytes.size();
  }
  return true;
}

uint64_t length_after(const std::vector<Replacement>& replacements, uint64_t length) {
  for (const Replacement& piece : replacements)
    length += piece.new_bytes.size() - piece.old_bytes.size();
  return length;
}

} // namespace qv::undo
