// The copy with the new file, beside the one that is updated.
#pragma once

#include "fileutil/update/held_file.h"
#include "fileutil/update/update_plan.h"

namespace fileutil {

/// What it is called once it is whole: FILE.bak.
qv::WString backupOf(const qv::WString& path);
/// What it is called until then; `token` makes it unlike any other file's name.
qv::WString partialOf(const qv::WString& path, uint64_t token);

/// Whether there is a file of that name: S_OK, S_FALSE for none, or the error of the system that kept that from being
/// told.
HRESULT lookFor(const qv::WString& path);

/// Writes the new file that a plan makes of `from` under a free name, for the owner of `from` alone, and tells its
/// check sum. S_OK, QVERR_RIFF_READ, QVERR_UNDO_STALE where `from` has become shorter, or an error of the system; then
/// the name may be taken.
HRESULT writeCopy(const OpenFile& from, const UpdatePlan& plan, const qv::WString& path, bool flush, uint64_t& sum);

/// Opens a copy that nobody else can have written.
OpenFile openCopy(const qv::WString& path, const OpenFile& kin);

/// Whether all of a file can be read, and has that length and check sum.
bool hasSum(const OpenFile& file, uint64_t length, uint64_t sum);

/// Copies a range of a file to the same place of another.
bool copyRange(const OpenFile& from, const OpenFile& to, uint64_t begin, uint64_t end);

} // namespace fileutil
