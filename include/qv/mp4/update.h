// Changing a file's boxes without harm to its media, safe against being killed at any moment.
#pragma once

#include "qv/mp4/boxes.h"

#include <functional>

namespace fileutil {

struct UpdateOptions {
  uint64_t padding = 0;      ///< bytes of a "free" box in front of the media, where a copy is made anyway
  bool flushInPlace = false; ///< a change in place is on the disk at each step; a full copy always is
};

/// Changes a tree that was read by BoxReader::readMetaForUpdate(). A result that is not S_OK ends the update with it,
/// and nothing is written.
using TreeChange = std::function<HRESULT(Boxes* tree)>;

/// Reads the tree of a file, changes it and writes it back.
QV_API HRESULT updateFile(const WCHAR* path, const TreeChange& change, const UpdateOptions& options = {});

/// Finishes or takes back what a killed update has left.
QV_API HRESULT recoverFile(const WCHAR* path);

} // namespace fileutil
