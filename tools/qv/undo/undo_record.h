// The bytes of an undo file: a change of one file and how far it has come, as docs/decisions/0010 lays it out.
#pragma once

#include "tools/qv/undo/file_change.h"

namespace qv::tool {

enum class UndoState : uint32_t {
  kBegun = 1,  ///< the file may be old, new or anything between
  kDone = 2,   ///< the file is new, and can be made old again
  kPassing = 3 ///< as kBegun, but nobody wants to go back once the file is new
};

struct UndoRecord {
  UndoState state;
  FileChange change;
};

/// No record is longer.
constexpr uint64_t kMaxUndoBytes = 64 << 20;
/// Where the state stands: the only bytes that are ever rewritten.
constexpr uint64_t kUndoStateAt = 12;

uint64_t size_in_bytes(const FileChange& change);
std::string to_bytes(const UndoRecord& record);
std::string state_bytes(UndoState state);

/// Reads a record. Throws Failure, which names the file, for bytes that are none, are damaged or of another version.
UndoRecord undo_record_from(const std::string& name, const std::string& bytes);

} // namespace qv::tool
