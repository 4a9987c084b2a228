// Changing a file all or nothing: through an undo file, which the next run settles where this one is killed.
#pragma once

#include "tools/qv/failure.h"
#include "tools/qv/file/disk/locked_input.h"

#include "qv/undo.h"

namespace qv::tool {

using undo::Replacement;

enum class UndoPolicy {
  kKeep,      ///< the undo file stays, for undo_change()
  kUntilDone, ///< it is removed once the file is changed
  kNone       ///< without one: a process that is killed may leave the file half changed
};

/// The file is neither as it was nor as it should be: writing failed, and so did writing back.
class HalfChanged : public Failure {
public:
  HalfChanged(const std::string& name, const std::string& why)
      : Failure(name, "is half changed: writing failed, " + why), reason(why) {}
  const std::string reason; ///< why writing failed
};

/// Makes replacements, which are in order and do not overlap, and makes them last: in place where nothing but the
/// file's end moves, otherwise by a new file that is renamed over the old one; where that cannot be
/// (LockedInput::can_be_replaced) and no more than 32 MiB move, all of it is rewritten in place. When this throws, the
/// file is as it was, but for HalfChanged, and for messages that it was changed whole and something then failed. Throws
/// Failure also where the file does not hold the old bytes, and where an undo file is there: settle_change() comes
/// first.
void change_file(const LockedInput& input, std::vector<Replacement> replacements, UndoPolicy policy);

enum class Settled {
  kNothing,  ///< no change had been broken off
  kFinished, ///< the file was changed whole already
  kUndone    ///< it is as it was before that change
};

/// Finishes or undoes a change that was broken off. Throws Failure, also where another program has changed the file
/// since.
Settled settle_change(const LockedInput& input);

/// Whether settle_change() has something to do.
bool has_broken_change(const LockedInput& input);

/// Makes the file again what it was before the last change, to the bit, and removes the undo file. Throws Failure, also
/// where there is none, and where length or replaced ranges are no longer as the change left them.
void undo_change(const LockedInput& input);

} // namespace qv::tool
