// An update where all that moves is the file's end: what differs is saved beside the file, and then overwritten.
#pragma once

#include "fileutil/update/held_file.h"
#include "fileutil/update/update_plan.h"

#include "qv/undo.h"

namespace fileutil {

/// What a plan that is in place changes of the file as it is: the ranges that differ, and its end. S_OK; S_FALSE where
/// an undo file cannot hold it; QVERR_RIFF_READ.
HRESULT findDifferences(const OpenFile& file, const UpdatePlan& plan, qv::undo::FileChange& change);

/// Saves what a change replaces, makes it, and forgets what was saved. The results are those of updateFile().
HRESULT changeInPlace(const HeldFile& held, const qv::undo::FileChange& change, bool flush);

} // namespace fileutil
