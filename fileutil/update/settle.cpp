// What a killed update has left is finished or taken back.
#include "fileutil/update/replace_by_copy.h"
#include "fileutil/update/sidecar.h"
#include "fileutil/update/update_file.h"

namespace fileutil {

using qv::undo::FileChange;
using qv::undo::Holds;
using qv::undo::State;

namespace {

/// The file is new. One that a repair has changed can still be made old again.
HRESULT keep(Sidecar& sidecar) {
  if (sidecar.record().state == State::kBegun) return sidecar.setState(State::kDone);
  return sidecar.remove() ? S_OK : lastResult();
}

HRESULT takeBack(const HeldFile& held, Sidecar& sidecar) {
  const FileChange back = sidecar.record().change.reversed();
  const bool is_back = qv::undo::write_pieces(held.file(), back) == ERROR_SUCCESS && FlushFileBuffers(held.file());
  if (!is_back) return QVERR_MP4_HALF_WRITTEN;
  return sidecar.remove() ? S_OK : lastResult();
}

HRESULT settleChange(const HeldFile& held, Sidecar& sidecar, Recovery& what) {
  Holds holds = Holds::kForeign;
  const DWORD error = qv::undo::examine(held.file(), sidecar.record().change, holds);
  if (error != ERROR_SUCCESS) return QVERR_RIFF_READ;
  if (holds == Holds::kForeign) return QVERR_UNDO_STALE;
  what = holds == Holds::kNew ? Recovery::kFinished : Recovery::kUndone;
  if (holds == Holds::kNew) return keep(sidecar);
  if (holds == Holds::kMixed) return takeBack(held, sidecar);
  return sidecar.remove() ? S_OK : lastResult();
}

} // namespace

HRESULT settle(const HeldFile& held, Recovery& what) {
  what = Recovery::kNothing;
  Sidecar sidecar(held);
  HRESULT result = sidecar.open();
  if (result != S_OK) return result == S_FALSE ? S_OK : result;
  switch (sidecar.record().state) {
  case State::kDone: return S_OK;
  case State::kUnbegun: what = Recovery::kUndone; return sidecar.remove() ? S_OK : lastResult();
  case State::kPreparing:
  case State::kCopying: {
    bool is_new = false;
    result = settleCopy(held, sidecar, is_new);
    what = is_new ? Recovery::kFinished : Recovery::kUndone;
    break;
  }
  default: result = settleChange(held, sidecar, what);
  }
  return result;
}

} // namespace fileutil
