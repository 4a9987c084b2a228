// Settings that are texts or lists of texts. A stored text may lack its terminator, or half of its last character.
#include "kernel/metric/metric_handle.h"

#include <algorithm>
#include <cstring>

using namespace qv::kernel;

namespace {

/// Reads a value of `type` into a buffer of `capacity` characters, of which the last `terminators` stay zero, and
/// zeroes the rest. Returns the bytes stored; 0, with a zeroed buffer, when there is no such value or it is larger.
DWORD read_characters(HKEY key, LONG n, DWORD type, WCHAR* buffer, DWORD capacity, DWORD terminators) {
  if (!buffer || capacity == 0) return 0;
  const uint64_t room = uint64_t{capacity} * sizeof(WCHAR);
  MetricRead read{ERROR_FILE_NOT_FOUND, REG_NONE, 0};
  if (key)
    read = read_metric(key, MetricName(n, type).text, buffer, static_cast<DWORD>(std::min<uint64_t>(room, 0xFFFFFFFE)));
  const DWORD bytes = read.is(type) ? read.bytes : 0;
  // The division drops an odd byte at the end.
  const DWORD characters =
      std::min(bytes / static_cast<DWORD>(sizeof(WCHAR)), capacity - std::min(capacity, terminators));
  std::fill(buffer + characters, buffer + capacity, WCHAR{0});
  return bytes;
}

DWORD copy_default(const WCHAR* text, WCHAR* buffer, DWORD capacity) {
  if (!text || !buffer || capacity == 0) return 0;
  DWORD length = 0;
  for (; length + 1 < capacity && text[length] != 0; ++length)
    buffer[length] = text[length];
  buffer[length] = 0;
  return length;
}

} // namespace

DWORD QvGetMetricStringEx(HQVMETRIC handle, LONG n, WCHAR* buffer, DWORD capacity, const WCHAR* absent,
                          BOOL keepEmpty) {
  const HKEY key = metric_key(handle, DefaultHandle::kAccepted);
  const DWORD bytes = read_characters(key, n, REG_SZ, buffer, capacity, 1);
  if (bytes > sizeof(WCHAR)) return bytes / static_cast<DWORD>(sizeof(WCHAR)) - 1;
  if (bytes == sizeof(WCHAR) && keepEmpty != 0) {
    buffer[0] = 0;
    return 0;
  }
  return copy_default(absent, buffer, capacity);
}

HRESULT QvSetMetricString(HQVMETRIC handle, LONG n, const WCHAR* text) {
  if (!text) return E_FAIL;
  const size_t bytes = (std::char_traits<WCHAR>::length(text) + 1) * sizeof(WCHAR);
  if (bytes > 0xFFFFFFFF) return E_FAIL;
  const HKEY key = metric_key(handle, DefaultHandle::kRefused);
  return write_metric(key, MetricName(n, REG_SZ).text, REG_SZ, text, static_cast<DWORD>(bytes));
}

DWORD QvGetMetricMultiStringEx(HQVMETRIC handle, LONG n, WCHAR* buffer, DWORD capacity) {
  const HKEY key = metric_key(handle, DefaultHandle::kAccepted);
  const DWORD bytes = read_characters(key, n, REG_MULTI_SZ, buffer, capacity, 2);
  return bytes > sizeof(WCHAR) ? bytes / static_cast<DWORD>(sizeof(WCHAR)) - 1 : 0;
}

HRESULT QvSetMetricMultiString(HQVMETRIC handle, LONG n, const WCHAR* texts, DWORD count) {
  if (!texts || count > 0xFFFFFFFF / sizeof(WCHAR)) return E_FAIL;
  const HKEY key = metric_key(handle, DefaultHandle::kRefused);
  return write_metric(key, MetricName(n, REG_MULTI_SZ).text, REG_MULTI_SZ, texts,
                      count * static_cast<DWORD>(sizeof(WCHAR)));
}
