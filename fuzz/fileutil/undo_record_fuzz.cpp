// Any bytes as an undo file: what is read is sound, and written again it is the same bytes.
// Sources: fileutil/undo
#include "fuzz/require.h"

#include "qv/undo.h"

#include <cstdint>

using namespace fuzz;
using namespace qv::undo;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  Record record;
  if (read_record(bytes, record) != Trouble::kNone || record.state == State::kUnbegun) return 0;
  require(bytes.starts_with(to_bytes(record)));
  require(record.state == State::kPreparing || to_bytes(record) == bytes);
  if (record.is_of_update()) return 0;
  const FileChange back = record.change.reversed();
  require(are_sound(back.replacements, back.old_length) && back.is_in_place() == record.change.is_in_place());
  require(length_after(back.replacements, back.old_length) == record.change.old_length);
  return 0;
}
