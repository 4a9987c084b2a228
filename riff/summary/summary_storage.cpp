#include "riff/summary/summary_storage.h"

#include <algorithm>
#include <cstring>

namespace qv::riff {

namespace {

/// MultiByteToWideChar counts in signed 32 bits.
constexpr ULONGLONG kMaxCharacters = 0x7FFFFFFF;

} // namespace

void* new_block(ULONGLONG bytes) {
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
  if (!block) return nullptr;
  void* const memory = GlobalLock(block);
  if (!memory) GlobalFree(block);
  return memory;
}

void free_block(void* memory) {
  if (!memory) return;
  const HGLOBAL block = GlobalHandle(memory);
  GlobalUnlock(block);
  GlobalFree(block);
}

WCHAR* new_text(ULONGLONG characters) { return static_cast<WCHAR*>(new_block(characters * sizeof(WCHAR))); }

WCHAR* copy_text(const WCHAR* text) {
  const SIZE_T characters = text_length(text) + 1;
  WCHAR* const copy = new_text(characters);
  if (copy) std::copy_n(text, characters, copy);
  return copy;
}

bool resize_array(_summarylisttag& list, ULONGLONG capacity) {
  auto* const items = static_cast<_summaryitemtag*>(new_block(capacity * sizeof(_summaryitemtag)));
  if (!items) return false;
  std::copy_n(list.items, list.count, items);
  free_block(list.items);
  list.items = items;
  return true;
}

DWORD find_item(const _summarylisttag& list, DWORD id, DWORD count) {
  DWORD index = 0;
  while (index < count && list.items[index].id != id)
    ++index;
  return index;
}

void convert_ansi(const char* ansi, WCHAR* text, ULONGLONG capacity) {
  const ULONGLONG bytes = std::strlen(ansi) + 1;
  if (bytes == 1 ||
      !MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, ansi, static_cast<int>(std::min(bytes, kMaxCharacters)), text,
                           static_cast<int>(std::min(capacity, kMaxCharacters))))
    text[0] = 0;
  text[capacity - 1] = 0;
}

} // namespace qv::riff
