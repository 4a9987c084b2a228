// FILE.qv-undo: what a change of FILE replaces, beside it while the change is made, and afterwards where it is to be
// undone.
#pragma once

#include "tools/qv/failure.h"
#include "tools/qv/file/disk/locked_input.h"

#include "qv/undo.h"

namespace qv::tool {

using undo::FileChange;
using UndoRecord = undo::Record;
using UndoState = undo::State;

/// No undo file could be written. The file that was to be changed is as it was.
class NoUndoFile : public Failure {
public:
  explicit NoUndoFile(const Failure& failure) : Failure(failure) {}
};

class UndoFile {
public:
  /// That of a file which is held. `input` must outlive it.
  explicit UndoFile(const LockedInput& input);

  const std::string& name() const { return name_; }
  bool exists() const;
  /// Writes it, readable by its owner alone, and makes it last. Throws NoUndoFile.
  void create(const FileChange& change, UndoState state) const;
  /// Throws Failure for one that cannot be read, that another user can have written, or that is of an update by the
  /// library: recoverFile() settles those.
  UndoRecord read() const;
  /// Rewrites the state, and makes that last. Throws Failure.
  void set_state(UndoState state) const;
  /// Throws Failure.
  void remove() const;

private:
  const LockedInput& input_;
  std::string name_;
};

} // namespace qv::tool
