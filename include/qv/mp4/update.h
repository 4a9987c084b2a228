// Changing a file's boxes without harm to its media, safe against being killed at any moment.
//
//     fileutil::updateFile(QV_TEXT("song.m4a"), [](fileutil::Boxes* tree) { ...; return S_OK; });
//
// Whenever the process ends, the user holds the old file whole, or the new one whole, or what the next update or
// recoverFile() makes one of them from. Where the media stays in its place, the bytes that are to be overwritten are
// saved in FILE.qv-undo first, the undo file of docs/decisions/0010; where it moves, the whole new file is written to
// FILE.bak and then over FILE (docs/decisions/0011). Both are gone at the end. A file keeps its owner, permissions and
// extended attributes, its other names, and the symbolic links that lead to it: it is written, never replaced.
//
// Any thread may call any of these. Processes and threads that update one file take turns: the second waits.
#pragma once

#include "qv/mp4/boxes.h"
#include "qv/result.h"

#include <functional>

namespace fileutil {

struct UpdateOptions {
  uint64_t padding = 0;      ///< bytes of a "free" box in front of the media, where a copy is made anyway
  bool flushInPlace = false; ///< safe against loss of power too, where a file is changed in place: slower
  bool flushCopy = true;     ///< the same where a copy is made
};

/// Changes a tree that was read by BoxReader::readMetaForUpdate(). A result that is not S_OK ends the update with it,
/// and nothing is written.
using TreeChange = std::function<HRESULT(Boxes* tree)>;

/// Reads the tree of a file, changes it and writes it back, once it has settled what a killed update has left.
///
/// - S_OK: the file is updated, or the change changed nothing and nothing was written.
/// - S_FALSE: the file is updated, but what lies beside it could not be removed; recoverFile() does so later.
/// - QVERR_MP4_HALF_WRITTEN: writing failed half-way, and so did taking it back. FILE.qv-undo, and FILE.bak where there
///   is a copy, stay: recoverFile() finishes it or takes it back once the file can be written.
/// - QVERR_MP4_UNSAFE, QVERR_MP4_OFFSETS: the update is refused, as writing the tree would do harm.
/// - QVERR_MP4_FOREIGN_BAK: FILE.bak is there and is not of an update; it stays.
/// - QVERR_UNDO_IN_THE_WAY: FILE.qv-undo is there and cannot be used: it is of a repair that can be undone, no undo
///   file, damaged, of a later version, or another user can have written it. It stays.
/// - QVERR_UNDO_STALE: another program has changed the file, since an update of it was broken off or just now.
/// - QVERR_RIFF_READ: the file could not be read. E_OUTOFMEMORY, E_INVALIDARG (no path, no change).
/// - An error of the system (0x80070000 | error), as ERROR_ACCESS_DENIED where the file or its folder cannot be written
///   and ERROR_DISK_FULL.
/// - Any other result is the change's own.
///
/// With all but S_OK, S_FALSE and QVERR_MP4_HALF_WRITTEN the file is as it was, and nothing new lies beside it (an
/// error of the system may keep that from being removed: then the next update does so).
QV_API HRESULT updateFile(const WCHAR* path, const TreeChange& change, const UpdateOptions& options = {});

enum class Recovery {
  kNothing,  ///< no update had been broken off
  kFinished, ///< the file is the new one now, or was so already
  kUndone    ///< the file is as it was before the update
};

/// Finishes or takes back what a killed update has left, and flushes it. `what`, which is optional, tells which. A
/// change in place that qv repair has begun is settled as well.
///
/// S_OK, also where there was nothing to do; otherwise the results of updateFile() that concern files. QVERR_UNDO_STALE
/// also where FILE.bak is gone before it was copied whole.
QV_API HRESULT recoverFile(const WCHAR* path, Recovery* what = nullptr);

/// Whether an update of a file was broken off, so that what is read from it may be neither old nor new: a reader warns,
/// and writes nothing. False while the update goes on, and where that cannot be told. Costs a few system calls.
QV_API bool hasBrokenUpdate(const WCHAR* path);

} // namespace fileutil
