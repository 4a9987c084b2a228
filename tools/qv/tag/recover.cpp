#include "tools/qv/tag/recover.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/disk/locked_input.h"
#include "tools/qv/text.h"

#include "qv/mp4/update.h"
#include "qv/result.h"

namespace qv::tool {

namespace {

/// Why a change could not be settled; `beside` is the path of the file without links.
[[noreturn]] void fail(const std::string& name, const std::string& beside, HRESULT result) {
  switch (result) {
  case QVERR_UNDO_IN_THE_WAY:
    throw Failure(
        beside + ".qv-undo",
        "cannot be used: it is no undo file, damaged, of a later version, or another user can have written it");
  case QVERR_UNDO_STALE:
    throw Failure(beside + ".qv-undo", "is of a change that was broken off, but the file has been changed since, or "
                                       "the new one in its .bak is gone: nothing is done until one is removed");
  case QVERR_MP4_FOREIGN_BAK:
    throw Failure(beside + ".bak", "is not the new file that an update was broken off with: nothing is done");
  default: throw Failure(name, "could not be recovered: " + result_text(result));
  }
}

} // namespace

std::string recover_change_of(const std::string& name) {
  // A signal ends this wait, but not the library's: what is held then is let go at once.
  const std::string beside = utf8(LockedInput(name).path());
  fileutil::Recovery what = fileutil::Recovery::kNothing;
  const HRESULT result = fileutil::recoverFile(path_from(name).c_str(), &what);
  if (FAILED(result)) fail(name, beside, result);
  switch (what) {
  case fileutil::Recovery::kFinished: return "a change that was broken off is finished: the file is the new one";
  case fileutil::Recovery::kUndone: return "a change that was broken off is undone: the file is as it was before";
  default: return "no change was broken off: nothing was done";
  }
}

} // namespace qv::tool
