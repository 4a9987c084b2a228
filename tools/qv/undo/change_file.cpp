#include "tools/qv/undo/change_file.h"

#include "tools/qv/file/disk/output_file.h"
#include "tools/qv/undo/undo_file.h"

#include <algorithm>

namespace qv::tool {

namespace {

constexpr char kMayNotLast[] = "was changed whole, but may not outlive a loss of power: ";

using undo::Holds;

std::string read_at(HANDLE file, const std::string& name, uint64_t offset, size_t bytes) {
  std::string read(bytes, '\0');
  DWORD done = 0;
  if (!move_to(file, offset) || !ReadFile(file, read.data(), static_cast<DWORD>(bytes), &done, nullptr))
    throw Failure(name, system_error_text(GetLastError()));
  read.resize(done); // the file may end there
  return read;
}

Holds examine(HANDLE file, const std::string& name, const FileChange& change) {
  Holds holds = Holds::kForeign;
  const DWORD error = undo::examine(file, change, holds);
  if (error != ERROR_SUCCESS) throw Failure(name, system_error_text(error));
  return holds;
}

void change_in_place(const std::string& name, const FileChange& change) {
  OpenFile file = open_existing(name, GENERIC_READ | GENERIC_WRITE);
  const DWORD error = undo::write_pieces(file, change);
  if (error != ERROR_SUCCESS) {
    const bool is_back = undo::write_pieces(file, change.reversed()) == ERROR_SUCCESS && FlushFileBuffers(file);
    if (!is_back && examine(file, name, change) != Holds::kOld) throw HalfChanged(name, system_error_text(error));
    throw Failure(name, "cannot be written: " + system_error_text(error));
  }
  if (!FlushFileBuffers(file) || !file.close()) throw Failure(name, kMayNotLast + system_error_text(GetLastError()));
}

void change_by_new_file(const std::string& name, const FileChange& change) {
  OutputFile to(name);
  {
    // Closed before the new file takes its place: Windows replaces no file that is open.
    const OpenFile from = open_existing(name, GENERIC_READ);
    uint64_t at = 0;
    for (const Replacement& piece : change.replacements) {
      to.append(from, name, at, piece.offset - at);
      to.append(piece.new_bytes.data(), static_cast<DWORD>(piece.new_bytes.size()));
      at = piece.offset + piece.old_bytes.size();
    }
    to.append(from, name, at, change.old_length - at);
  }
  to.commit(change.new_length);
}

/// The same change as one piece up to the file's end, which can be made in place.
FileChange in_one_piece(const std::string& name, const FileChange& change) {
  const uint64_t from = change.replacements.front().offset;
  const std::string old_bytes = read_at(open_existing(name, GENERIC_READ), name, from, change.old_length - from);
  std::string new_bytes;
  uint64_t at = 0;
  for (const Replacement& piece : change.replacements) {
    new_bytes += old_bytes.substr(at, piece.offset - from - at) + piece.new_bytes;
    at = piece.offset - from + piece.old_bytes.size();
  }
  new_bytes += old_bytes.substr(at);
  return {change.old_length, change.new_length, {{from, old_bytes, new_bytes}}};
}

/// Whether the pieces and all that moves behind them fit an undo file.
bool fits_one_piece(const FileChange& change) {
  const uint64_t from = change.replacements.front().offset;
  return std::max(change.old_length, change.new_length) - from < undo::kMaxBytes / 2 - 4096;
}

void make(const std::string& name, const FileChange& change) {
  change.is_in_place() ? change_in_place(name, change) : change_by_new_file(name, change);
}

Holds examine(const std::string& name, const FileChange& change) {
  return examine(open_existing(name, GENERIC_READ), name, change);
}

/// Brings back what an unfinished change has replaced.
void take_back(const LockedInput& input, const UndoFile& undo, const FileChange& change, Holds holds) {
  if (holds == Holds::kForeign)
    throw Failure(undo.name(), "is of a change that was broken off, but the file has been changed since: nothing is "
                               "done until one of the two is removed");
  if (holds != Holds::kOld) make(input.name(), change.reversed());
  undo.remove();
}

/// After a failure, which is what gets reported: whatever goes wrong here is left for the next run.
void remove_if_unused(const UndoFile& undo, const std::string& name, const FileChange& change) {
  try {
    if (examine(name, change) == Holds::kOld) undo.remove();
  } catch (const Failure&) {
  }
}

} // namespace

void change_file(const LockedInput& input, std::vector<Replacement> replacements, UndoPolicy policy) {
  const std::string& name = input.name();
  const uint64_t length = size_of(open_existing(name, GENERIC_READ));
  FileChange change = {length, undo::length_after(replacements, length), std::move(replacements)};
  if (!undo::are_sound(change.replacements, length) || examine(name, change.reversed()) != Holds::kNew)
    throw Failure(name, "another program is changing it");
  if (!change.is_in_place() && !input.can_be_replaced() && fits_one_piece(change)) change = in_one_piece(name, change);
  const UndoFile undo(input);
  if (policy == UndoPolicy::kNone) return make(name, change);
  if (undo.exists()) throw Failure(undo.name(), "is of an earlier change: undo that one or remove this file first");
  undo.create(change, policy == UndoPolicy::kKeep ? UndoState::kBegun : UndoState::kPassing);
  try {
    make(name, change);
  } catch (...) {
    remove_if_unused(undo, name, change);
    throw;
  }
  try {
    policy == UndoPolicy::kKeep ? undo.set_state(UndoState::kDone) : undo.remove();
  } catch (const Failure& failure) {
    throw Failure(name, std::string("was changed whole, but ") + failure.what());
  }
}

bool has_broken_change(const LockedInput& input) {
  const UndoFile undo(input);
  return undo.exists() && undo.read().state != UndoState::kDone;
}

Settled settle_change(const LockedInput& input) {
  const UndoFile undo(input);
  if (!has_broken_change(input)) return Settled::kNothing;
  const UndoRecord record = undo.read();
  const Holds holds = examine(input.name(), record.change);
  if (holds != Holds::kNew) {
    take_back(input, undo, record.change, holds);
    return Settled::kUndone;
  }
  record.state == UndoState::kBegun ? undo.set_state(UndoState::kDone) : undo.remove();
  return Settled::kFinished;
}

void undo_change(const LockedInput& input) {
  const UndoFile undo(input);
  if (!undo.exists()) throw Failure(undo.name(), "is not there: nothing can be undone");
  const UndoRecord record = undo.read();
  const Holds holds = examine(input.name(), record.change);
  if (record.state == UndoState::kDone) {
    if (holds != Holds::kNew)
      throw Failure(input.name(), "has been changed since: undoing it would do harm, and nothing was written");
    undo.set_state(UndoState::kBegun); // from here on a run that is killed is settled by the next
  }
  take_back(input, undo, record.change, holds);
}

} // namespace qv::tool
