// The chunk walks behind the searches and the deletion.
#pragma once

#include "riff/file_cursor.h"

namespace qv::riff {

/// A chunk that a search found. The file is at its data, or for a list at its first sub-chunk.
struct FoundChunk {
  DWORD size = 0;      ///< as its header says; a list's includes the list type
  DWORD remaining = 0; ///< bytes of the form or list from the position on
};

/// From the file's start to the top-level chunk of that id, or the top-level "LIST" of that type. After
/// QVERR_RIFF_READ in the walk, remaining is that of the first chunk.
HRESULT find_top_level_chunk(HANDLE file, DWORD id, FoundChunk& found);
HRESULT find_top_level_list(HANDLE file, DWORD list_type, FoundChunk& found);

} // namespace qv::riff
