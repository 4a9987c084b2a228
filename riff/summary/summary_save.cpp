// A summary list into a file: a whole "LIST" chunk, whose size is written last.
#include "riff/chunk/chunk_io.h"
#include "riff/chunk/chunk_reader.h"
#include "riff/summary/summary_storage.h"

#include <algorithm>

using namespace qv::riff;

namespace {

constexpr DWORD kHeaderBytes = RiffLayout::kHeaderBytes;
constexpr DWORD kFormBytes = RiffLayout::kTypeBytes;
/// The longest list whose size, with its header, is a DWORD.
constexpr ULONGLONG kMaxListBytes = 0xFFFFFFFF - kHeaderBytes;

/// Writes the sub-chunk of items[index] and adds what it takes to list_bytes.
using ItemWriter = HRESULT (*)(HANDLE file, const _summaryitemtag& item, DWORD index, ULONGLONG& list_bytes);

bool take(ULONGLONG& list_bytes, ULONGLONG data_bytes) {
  const ULONGLONG sum = list_bytes + kHeaderBytes + padded<RiffLayout>(data_bytes);
  if (sum > kMaxListBytes) return false;
  list_bytes = sum;
  return true;
}

HRESULT write_ansi(HANDLE file, const _summaryitemtag& item, DWORD index, ULONGLONG& list_bytes) {
  const int needed = WideCharToMultiByte(CP_ACP, 0, item.text, -1, nullptr, 0, nullptr, nullptr);
  const DWORD size = static_cast<DWORD>(std::max(needed, 1));
  if (!take(list_bytes, size)) return QVERR_RIFF_TOOBIG;
  const Scratch ansi(padded<RiffLayout>(size));
  if (!ansi.get()) return E_OUTOFMEMORY;
  WideCharToMultiByte(CP_ACP, 0, item.text, -1, ansi.get(), static_cast<int>(size), nullptr, nullptr);
  if ((size & 1) != 0) ansi.get()[size] = static_cast<char>(index); // readers look at no pad byte
  const HRESULT result = riff_WriteChunkHeader(file, item.id, size);
  if (FAILED(result)) return result;
  return write_exact(file, ansi.get(), static_cast<DWORD>(padded<RiffLayout>(size))) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT write_utf16(HANDLE file, const _summaryitemtag& item, DWORD, ULONGLONG& list_bytes) {
  const ULONGLONG bytes = (text_length(item.text) + ULONGLONG{1}) * sizeof(WCHAR);
  if (!take(list_bytes, bytes)) return QVERR_RIFF_TOOBIG;
  const DWORD size = static_cast<DWORD>(bytes);
  const HRESULT result = riff_WriteChunkHeader(file, item.id, size);
  if (FAILED(result)) return result;
  return write_exact(file, item.text, size) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT write_items(HANDLE file, const _summarylisttag& list, ItemWriter write_item, ULONGLONG& list_bytes) {
  for (DWORD index = 0; index < list.count; ++index) {
    if (!list.items[index].text) continue;
    const HRESULT result = write_item(file, list.items[index], index, list_bytes);
    if (FAILED(result)) return result;
  }
  return S_OK;
}

HRESULT save(HANDLE file, const _summarylisttag* list, DWORD* written, DWORD form, ItemWriter write_item) {
  if (written) *written = 0;
  if (!list) return E_INVALIDARG;
  if (list->count == 0) return S_OK;
  HRESULT result = riff_WriteListHeader(file, form, 0);
  LONGLONG body = 0;
  if (SUCCEEDED(result) && !tell(file, body)) result = QVERR_RIFF_WRITE;
  ULONGLONG list_bytes = kFormBytes;
  if (SUCCEEDED(result)) result = write_items(file, *list, write_item, list_bytes);
  if (FAILED(result)) return result;
  const DWORD size = static_cast<DWORD>(list_bytes);
  if (!seek(file, body - kFormBytes - LONGLONG{sizeof size}) || !write_exact(file, &size, sizeof size) ||
      !seek(file, body - kFormBytes + LONGLONG{size}))
    return QVERR_RIFF_WRITE;
  if (written) *written = size + kHeaderBytes;
  return S_OK;
}

} // namespace

HRESULT QvSummary_Save(HANDLE file, const _summarylisttag* list, DWORD* written) {
  return save(file, list, written, QVSUMMARY_FORM_INFO, write_ansi);
}

HRESULT QvSummary_SaveUNFO(HANDLE file, const _summarylisttag* list, DWORD* written) {
  return save(file, list, written, QVSUMMARY_FORM_UNFO, write_utf16);
}
