// A summary list to and from a COM stream. What a stream claims is not known to be there: memory follows what was read.
#include "riff/summary/summary_storage.h"

#include <algorithm>

using namespace qv::riff;

namespace {

constexpr ULONGLONG kMaxBytesAtOnce = 1 << 30;
constexpr ULONGLONG kFirstItems = 16;
constexpr ULONGLONG kFirstCharacters = 2048;

/// Reads until the bytes are there: a stream may give less than it has at a time, but not nothing.
HRESULT read_all(IStream* stream, void* buffer, ULONGLONG bytes) {
  for (auto* next = static_cast<BYTE*>(buffer); bytes != 0;) {
    ULONG taken = 0;
    const HRESULT result = stream->Read(next, static_cast<ULONG>(std::min(bytes, kMaxBytesAtOnce)), &taken);
    if (FAILED(result)) return result;
    if (taken == 0) return QVERR_RIFF_READ;
    next += taken;
    bytes -= taken;
  }
  return S_OK;
}

HRESULT write_all(IStream* stream, const void* buffer, ULONGLONG bytes) {
  for (auto* next = static_cast<const BYTE*>(buffer); bytes != 0;) {
    const ULONG count = static_cast<ULONG>(std::min(bytes, kMaxBytesAtOnce));
    ULONG put = 0;
    const HRESULT result = stream->Write(next, count, &put);
    if (FAILED(result)) return result;
    if (put != count) return QVERR_RIFF_WRITE;
    next += count;
    bytes -= count;
  }
  return S_OK;
}

HRESULT write_item(IStream* stream, const _summaryitemtag& item) {
  const ULONGLONG length = item.text ? text_length(item.text) + ULONGLONG{1} : 0;
  if (length > 0xFFFFFFFF) return E_INVALIDARG;
  const DWORD header[2] = {item.id, static_cast<DWORD>(length)};
  const HRESULT result = write_all(stream, header, sizeof header);
  return FAILED(result) ? result : write_all(stream, item.text, length * sizeof(WCHAR));
}

/// Reads that many characters, in blocks that grow. `text` is the list's at every moment, so that a failure leaves
/// nothing behind.
HRESULT read_text(IStream* stream, ULONGLONG length, WCHAR*& text) {
  for (ULONGLONG have = 0; have < length;) {
    const ULONGLONG room = std::min(length, have == 0 ? kFirstCharacters : 2 * have);
    WCHAR* const larger = new_text(room);
    if (!larger) return E_OUTOFMEMORY;
    std::copy_n(text, have, larger);
    free_block(text);
    text = larger;
    const HRESULT result = read_all(stream, text + have, (room - have) * sizeof(WCHAR));
    if (FAILED(result)) return result;
    have = room;
  }
  if (length != 0) text[length - 1] = 0;
  return S_OK;
}

HRESULT read_items(IStream* stream, DWORD count, _summarylisttag& list) {
  for (ULONGLONG room = 0; list.count < count;) {
    DWORD header[2];
    HRESULT result = read_all(stream, header, sizeof header);
    if (FAILED(result)) return result;
    if (list.count == room) {
      room = std::min<ULONGLONG>(count, std::max(kFirstItems, 2 * room));
      if (!resize_array(list, room)) return E_OUTOFMEMORY;
    }
    _summaryitemtag& item = list.items[list.count++];
    item.id = header[0];
    result = read_text(stream, header[1], item.text);
    if (FAILED(result)) return result;
  }
  return S_OK;
}

} // namespace

HRESULT _summarylisttag::Persist(IStream* stream) const {
  if (!stream) return E_INVALIDARG;
  HRESULT result = write_all(stream, &count, sizeof count);
  for (DWORD index = 0; SUCCEEDED(result) && index < count; ++index)
    result = write_item(stream, items[index]);
  return result;
}

HRESULT _summarylisttag::Create(IStream* stream) {
  if (!stream) return E_INVALIDARG;
  QvSummary_Free(this);
  DWORD stored = 0;
  HRESULT result = read_all(stream, &stored, sizeof stored);
  if (SUCCEEDED(result)) result = read_items(stream, stored, *this);
  if (FAILED(result)) QvSummary_Free(this);
  return result;
}
