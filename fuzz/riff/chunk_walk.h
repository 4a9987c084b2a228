// What every walk over any bytes promises, in the containers that have lists.
#pragma once

#include "fuzz/riff/memory_file.h"
#include "tests/riff/containers.h"

namespace fuzz {

/// Memory follows what the file holds, not what it claims.
template <class C>
void read_block(const MemoryFile& file, typename C::Count size) {
  typename C::Data data = {size, nullptr};
  if (FAILED(C::read_alloc(file.handle, &data))) return;
  require(data.size <= static_cast<ULONGLONG>(file.size()) && riff_test::take(data).size() == size);
}

template <class C>
void search(const MemoryFile& file, const typename C::Id& id) {
  typename C::Count size = 0;
  typename C::Count left = 0;
  if (SUCCEEDED(C::find_from_start(file.handle, C::argument(id), &size, &left))) {
    require(file.position() >= C::kType + 2 * C::kHeader && file.position() <= file.size());
    read_block<C>(file, size);
  }
  if (SUCCEEDED(C::find_list_from_start(file.handle, C::argument(id), &size))) {
    DWORD count = 0;
    left = size;
    const LONGLONG at = file.position();
    C::count(file.handle, &count, &left);
    require(file.position() == at);
    C::seek_entry(file.handle, count, &left);
    require(file.position() >= at);
  }
}

/// Deletion takes away what it says, or nothing.
template <class C>
void remove_all(const MemoryFile& file, const typename C::Id& id, LONG is_list) {
  for (HRESULT result = S_OK; SUCCEEDED(result);) {
    const LONGLONG before = file.size();
    typename C::Count removed = 0;
    result = C::remove(file.handle, C::argument(id), &removed, is_list);
    const LONGLONG gone = before - file.size();
    require(gone >= 0 && static_cast<ULONGLONG>(gone) <= removed && (gone != 0) == SUCCEEDED(result));
  }
}

} // namespace fuzz
