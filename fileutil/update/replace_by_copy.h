// An update where the media moves: the whole new file is written beside the old one, and then over it.
#pragma once

#include "fileutil/update/sidecar.h"
#include "fileutil/update/update_plan.h"

namespace fileutil {

/// Writes the new file beside the held one, under a name of its own until it is whole and FILE.bak from then on, copies
/// it over the held one and removes it. The results are those of updateFile().
HRESULT replaceByCopy(const HeldFile& held, const UpdatePlan& plan, bool flush);

/// Settles what a process that was killed in replaceByCopy() has left. `sidecar` is open, and of State::kPreparing or
/// kCopying. `is_new` tells whether the file is the new one now, or else the old one. The results are those of
/// recoverFile().
HRESULT settleCopy(const HeldFile& held, Sidecar& sidecar, bool& is_new);

} // namespace fileutil
