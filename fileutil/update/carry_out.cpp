#include "fileutil/update/change_in_place.h"
#include "fileutil/update/replace_by_copy.h"
#include "fileutil/update/update_file.h"

namespace fileutil {

namespace {

/// Whether the plan's runs lie within the old file, stay there where it is in place, and add up to the new one.
bool isSound(const UpdatePlan& plan) {
  uint64_t at = 0;
  for (const Segment& segment : plan.segments) {
    if (segment.length > plan.newLength - at) return false;
    const bool is_range = segment.bytes.empty();
    if (is_range && (segment.source > plan.oldLength || segment.length > plan.oldLength - segment.source)) return false;
    if (is_range && plan.isInPlace && segment.source != at) return false;
    if (!is_range && segment.bytes.size() != segment.length) return false;
    at += segment.length;
  }
  return at == plan.newLength;
}

} // namespace

HRESULT carryOut(const HeldFile& held, const UpdatePlan& plan, const UpdateOptions& options) {
  if (!isSound(plan)) return E_INVALIDARG;
  uint64_t length = 0;
  if (!held.file().getLength(length)) return lastResult();
  if (length != plan.oldLength) return QVERR_UNDO_STALE;
  if (plan.isInPlace) {
    qv::undo::FileChange change;
    const HRESULT result = findDifferences(held.file(), plan, change);
    if (result != S_FALSE) return result == S_OK ? changeInPlace(held, change, options.flushInPlace) : result;
  }
  return replaceByCopy(held, plan, options.flushCopy);
}

} // namespace fileutil
