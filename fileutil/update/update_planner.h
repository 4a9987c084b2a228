// Planning an update: from a file, and what is to become of its tree, to where each byte of the new file comes from.
#pragma once

#include "fileutil/update/update_plan.h"

#include "qv/mp4/update.h"

#include <istream>

namespace fileutil {

/// Reads the tree of `source` by BoxReader::readMetaForUpdate(), lets `change` alter it, and plans the new file.
/// Nothing is written, and no media is read.
///
/// What the change left alone passes as bytes of the old file: boxes that the tree knows not, payloads that are passed
/// over with their own header forms, bytes behind a container's last child and behind the last box. A "free" box
/// directly before "mdat" grows and shrinks, down to 8 bytes, so that the media stays where it is; where that does not
/// do, the media moves, and every offset into the file with it. Every plan is checked before it is handed out.
///
/// `source` can be sought, and `length` is that of the file, whose first byte is at position 0; its state afterwards is
/// of no meaning. In the tree a change may replace, remove and add metadata; chunk offsets, sample tables and media are
/// not its business: a plan that alters them is refused.
///
/// - S_OK: `plan` is whole. It may say that nothing changes: one segment, the old file.
/// - QVERR_MP4_UNSAFE: writing would lose or alter what was read, or this is no MP4 file.
/// - QVERR_MP4_OFFSETS: the media would have to move, and an offset into the file cannot move along.
/// - QVERR_RIFF_READ: the source could not be read. E_OUTOFMEMORY.
/// - Any other result is the change's own.
///
/// With all but S_OK `plan` is empty.
QV_API HRESULT planUpdate(std::istream& source, uint64_t length, const TreeChange& change, const UpdateOptions& options,
                          UpdatePlan& plan);

} // namespace fileutil
