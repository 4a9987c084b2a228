// Any bytes as an undo file: what is read is sound, and written again it is the same bytes.
// Sources: tools/qv/undo
#include "fuzz/require.h"
#include "tools/qv/failure.h"
#include "tools/qv/undo/undo_record.h"

#include <cstdint>

using namespace fuzz;
using namespace qv::tool;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  try {
    const UndoRecord record = undo_record_from("undo", bytes);
    const FileChange back = record.change.reversed();
    require(to_bytes(record) == bytes);
    require(are_sound(back.replacements, back.old_length) && back.is_in_place() == record.change.is_in_place());
    require(length_after(back.replacements, back.old_length) == record.change.old_length);
  } catch (const Failure&) {
  }
  return 0;
}
