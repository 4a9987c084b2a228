// Carrying updates out, and settling those that were broken off.
#pragma once

#include "fileutil/update/held_file.h"
#include "fileutil/update/update_plan.h"

#include "qv/mp4/update.h"

namespace fileutil {

/// Makes of a held file what a plan says, in place where the plan is. E_INVALIDARG for a plan whose lengths do not add
/// up or that reaches behind the old file's end, QVERR_UNDO_STALE where the file does not have the old length; the
/// other results are those of updateFile().
QV_API HRESULT carryOut(const HeldFile& held, const UpdatePlan& plan, const UpdateOptions& options);

/// Finishes or takes back what lies beside a held file. The results are those of recoverFile().
QV_API HRESULT settle(const HeldFile& held, Recovery& what);

} // namespace fileutil
