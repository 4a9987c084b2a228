#include "fileutil/update/replace_by_copy.h"

#include "fileutil/update/copy_file.h"

#include "qv/result.h"

#include <algorithm>
#include <random>

namespace fileutil {

using qv::undo::State;

namespace {

uint64_t newToken() {
  std::random_device random;
  return uint64_t{random()} << 32 | random();
}

/// An update by way of a copy, from its undo file on.
class Replacing {
public:
  Replacing(const HeldFile& held, Sidecar& sidecar)
      : held_(held), sidecar_(sidecar), backup_(backupOf(held.path())),
        partial_(partialOf(held.path(), sidecar.record().copy_token)) {}

  const qv::WString& backup() const { return backup_; }
  const qv::WString& partial() const { return partial_; }

  /// Makes the copy, and gives it its name. When this fails nothing but the undo file and the copy under its first name
  /// is left, unless it says QVERR_MP4_HALF_WRITTEN.
  HRESULT makeCopy(const UpdatePlan& plan, bool flush) {
    uint64_t sum = 0;
    HRESULT result = writeCopy(held_.file(), plan, partial_, flush, sum);
    if (result == S_OK) result = sidecar_.setCopySum(sum);
    if (result == S_OK) result = sidecar_.setState(State::kCopying);
    if (result != S_OK) return result;
    if (MoveFileExW(partial_.c_str(), backup_.c_str(), flush ? MOVEFILE_WRITE_THROUGH : 0)) return S_OK;
    result = GetLastError() == ERROR_ALREADY_EXISTS ? QVERR_MP4_FOREIGN_BAK : lastResult();
    // The name may have changed all the same, and only its folder have failed.
    const bool is_renamed = lookFor(partial_) == S_FALSE;
    return is_renamed && !MoveFileExW(backup_.c_str(), partial_.c_str(), 0) ? QVERR_MP4_HALF_WRITTEN : result;
  }

  /// What the copy makes longer goes first: where the disk is full, the file is still whole in front of it.
  bool appendEnd(uint64_t old_length, uint64_t new_length) {
    const OpenFile copy = openCopy(backup_, held_.file());
    return copy.isOpen() && copyRange(copy, held_.file(), old_length, new_length);
  }

  /// Cuts off what appendEnd() has written, and gives the copy up again.
  HRESULT withdraw(uint64_t old_length, bool flush, HRESULT reason) {
    const bool is_back = held_.file().cutAt(old_length) && (!flush || FlushFileBuffers(held_.file())) &&
                         MoveFileExW(backup_.c_str(), partial_.c_str(), flush ? MOVEFILE_WRITE_THROUGH : 0);
    if (!is_back) return QVERR_MP4_HALF_WRITTEN;
    giveUp();
    return reason;
  }

  /// Removes the copy and then the undo file; the file is the old one.
  bool giveUp() {
    if (sidecar_.record().state != State::kPreparing && sidecar_.setState(State::kPreparing) != S_OK) return false;
    return (DeleteFileW(partial_.c_str()) || lookFor(partial_) == S_FALSE) && sidecar_.remove();
  }

  /// Copies the copy over the file up to `length`, and removes what is no longer needed.
  HRESULT overwrite(uint64_t length, bool flush) {
    const uint64_t new_length = sidecar_.record().change.new_length;
    {
      const OpenFile copy = openCopy(backup_, held_.file());
      const bool is_written = copy.isOpen() && copyRange(copy, held_.file(), 0, length) &&
                              held_.file().cutAt(new_length) && (!flush || FlushFileBuffers(held_.file()));
      if (!is_written) return QVERR_MP4_HALF_WRITTEN;
    }
    const bool is_gone = DeleteFileW(backup_.c_str());
    if (is_gone && flush) flushFolderOf(backup_);
    return is_gone && sidecar_.remove() ? S_OK : S_FALSE;
  }

private:
  const HeldFile& held_;
  Sidecar& sidecar_;
  const qv::WString backup_, partial_;
};

} // namespace

HRESULT replaceByCopy(const HeldFile& held, const UpdatePlan& plan, bool flush) {
  HRESULT result = lookFor(backupOf(held.path()));
  if (result != S_FALSE) return result == S_OK ? QVERR_MP4_FOREIGN_BAK : result;
  Sidecar sidecar(held);
  qv::undo::Record record;
  record.state = State::kPreparing;
  record.change = {plan.oldLength, plan.newLength, {}};
  record.copy_token = newToken();
  result = sidecar.create(record, flush);
  if (result != S_OK) return result;
  Replacing replacing(held, sidecar);
  result = replacing.makeCopy(plan, flush);
  if (result != S_OK) {
    if (result != QVERR_MP4_HALF_WRITTEN) replacing.giveUp();
    return result;
  }
  if (plan.newLength > plan.oldLength && !replacing.appendEnd(plan.oldLength, plan.newLength))
    return replacing.withdraw(plan.oldLength, flush, lastResult());
  return replacing.overwrite(std::min(plan.oldLength, plan.newLength), flush);
}

HRESULT settleCopy(const HeldFile& held, Sidecar& sidecar, bool& is_new) {
  const qv::undo::Record record = sidecar.record();
  const uint64_t length = record.change.new_length;
  Replacing replacing(held, sidecar);
  const HRESULT partial = lookFor(replacing.partial());
  if (FAILED(partial)) return partial;
  is_new = record.state == State::kCopying && partial == S_FALSE;
  if (!is_new) return replacing.giveUp() ? S_OK : lastResult();
  OpenFile copy = openCopy(replacing.backup(), held.file());
  const bool is_ours = copy.isOpen() && hasSum(copy, length, record.copy_sum);
  copy.close();
  if (is_ours) return replacing.overwrite(length, true);
  if (hasSum(held.file(), length, record.copy_sum)) return sidecar.remove() ? S_OK : S_FALSE;
  return lookFor(replacing.backup()) == S_OK ? QVERR_MP4_FOREIGN_BAK : QVERR_UNDO_STALE;
}

} // namespace fileutil
