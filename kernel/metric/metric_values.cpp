// Settings that are numbers, bytes or streams, and those of any type.
#include "kernel/metric/metric_handle.h"

#include <algorithm>
#include <cstring>
#include <vector>

using namespace qv::kernel;

namespace {

/// Reads a value of 4 bytes, whatever its type. False, and `value` stays, when there is none.
bool read_number(HKEY key, const WCHAR* name, DWORD& value) {
  if (!key || !name) return false;
  DWORD stored = 0;
  const MetricRead read = read_metric(key, name, &stored, sizeof stored);
  if (read.error != ERROR_SUCCESS || read.bytes != sizeof stored) return false;
  value = stored;
  return true;
}

bool read_number(HQVMETRIC handle, LONG n, DWORD& value) {
  return read_number(metric_key(handle, DefaultHandle::kAccepted), MetricName(n, REG_DWORD).text, value);
}

} // namespace

DWORD QvGetMetric(HQVMETRIC handle, LONG n) {
  DWORD value = 0;
  read_number(handle, n, value);
  return value;
}

DWORD QvGetMetricEx(HQVMETRIC handle, LONG n, LONG minimum, LONG maximum, DWORD absent) {
  DWORD value = absent;
  read_number(handle, n, value);
  if (minimum == maximum) return value;
  const auto number = static_cast<LONG>(value);
  return static_cast<DWORD>(number >= minimum ? std::min(number, maximum) : minimum);
}

BOOL QvGetMetricBool(HQVMETRIC handle, LONG n, BOOL absent) {
  DWORD value = absent != 0 ? 1 : 0;
  read_number(handle, n, value);
  return value != 0 ? TRUE : FALSE;
}

HRESULT QvSetMetric(HQVMETRIC handle, LONG n, DWORD value) {
  const MetricName name(n, REG_DWORD);
  return write_metric(metric_key(handle, DefaultHandle::kAccepted), name.text, REG_DWORD, &value, sizeof value);
}

DWORD QvGetMetricUsingName(HQVMETRIC handle, const WCHAR* name) {
  DWORD value = 0;
  read_number(metric_key(handle, DefaultHandle::kAccepted), name, value);
  return value;
}

HRESULT QvSetMetricUsingName(HQVMETRIC handle, const WCHAR* name, DWORD value) {
  return write_metric(metric_key(handle, DefaultHandle::kAccepted), name, REG_DWORD, &value, sizeof value);
}

DWORD QvGetMetricBinary(HQVMETRIC handle, LONG n, void* buffer, DWORD size) {
  DWORD bytes = 0;
  if (!buffer) return 0;
  if (QvGetMetricBinaryEx(handle, n, buffer, size, &bytes) == S_OK) return bytes;
  std::memset(buffer, 0, size);
  return 0;
}

HRESULT QvGetMetricBinaryEx(HQVMETRIC handle, LONG n, void* buffer, DWORD size, DWORD* bytes) {
  if (!bytes) return E_INVALIDARG;
  *bytes = 0;
  const HKEY key = metric_key(handle, DefaultHandle::kAccepted);
  if (!key) return QVERR_RIFF_NOTFOUND;
  if (!buffer) size = 0;
  const MetricRead read = read_metric(key, MetricName(n, REG_BINARY).text, buffer, size);
  const bool larger = read.error == ERROR_MORE_DATA && read.type == REG_BINARY;
  const DWORD filled = read.is(REG_BINARY) ? read.bytes : 0;
  if (size != 0) std::memset(static_cast<BYTE*>(buffer) + filled, 0, size - filled);
  if (larger || read.is(REG_BINARY)) *bytes = read.bytes;
  return larger ? QVERR_MOREDATA : read.is(REG_BINARY) ? S_OK : S_FALSE;
}

HRESULT QvSetMetricBinary(HQVMETRIC handle, LONG n, const void* data, DWORD size) {
  if (!data) return E_FAIL;
  const MetricName name(n, REG_BINARY);
  return write_metric(metric_key(handle, DefaultHandle::kRefused), name.text, REG_BINARY, data, size);
}

HRESULT QvGetMetricStream(HQVMETRIC handle, LONG n, IStream* stream) {
  if (!stream) return E_POINTER;
  DWORD bytes = 0;
  QvGetMetricBinaryEx(handle, n, nullptr, 0, &bytes);
  if (bytes == 0) return E_UNEXPECTED;
  const HGLOBAL block = GlobalAlloc(GMEM_FIXED, bytes);
  if (!block) return E_OUTOFMEMORY;
  // Another process may have replaced the value meanwhile.
  HRESULT result = QvGetMetricBinaryEx(handle, n, block, bytes, &bytes) == S_OK && bytes != 0 ? S_OK : E_UNEXPECTED;
  ULONG written = 0;
  if (SUCCEEDED(result)) result = stream->Write(block, bytes, &written);
  if (SUCCEEDED(result) && written != bytes) result = E_FAIL;
  GlobalFree(block);
  return result;
}

namespace {

/// Reads a whole stream from its start. E_FAIL when it is longer than a value can be, or the stream's own failure.
HRESULT read_whole(IStream* stream, std::vector<BYTE>& bytes) {
  HRESULT result = stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
  constexpr ULONG kBlock = 1 << 16;
  for (ULONG read = 1; SUCCEEDED(result) && read != 0;) {
    const size_t size = bytes.size();
    if (size + kBlock > 0xFFFFFFFFu) return E_FAIL;
    bytes.resize(size + kBlock);
    read = 0;
    result = stream->Read(bytes.data() + size, kBlock, &read);
    bytes.resize(size + std::min(read, kBlock));
  }
  return FAILED(result) ? result : S_OK;
}

} // namespace

HRESULT QvSetMetricStream(HQVMETRIC handle, LONG n, IStream* stream) {
  if (!stream) return E_POINTER;
  const HKEY key = metric_key(handle, DefaultHandle::kRefused);
  if (!key) return E_FAIL;
  try {
    std::vector<BYTE> bytes;
    bytes.reserve(1);
    const HRESULT result = read_whole(stream, bytes);
    if (FAILED(result)) return result;
    return write_metric(key, MetricName(n, REG_BINARY).text, REG_BINARY, bytes.data(),
                        static_cast<DWORD>(bytes.size()));
  } catch (const std::exception&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT QvGetMetricAny(HQVMETRIC handle, LONG n, DWORD* type, void* buffer, DWORD* size) {
  if (!type || !size) return E_INVALIDARG;
  const DWORD capacity = buffer ? *size : 0;
  *size = 0;
  const HKEY key = metric_key(handle, DefaultHandle::kAccepted);
  if (!key) return QVERR_RIFF_NOTFOUND;
  const MetricRead read = read_metric(key, MetricName(n, *type).text, buffer, capacity);
  if (read.error != ERROR_SUCCESS && read.error != ERROR_MORE_DATA) return S_FALSE;
  *type = read.type;
  *size = read.bytes;
  return read.error == ERROR_SUCCESS ? S_OK : QVERR_MOREDATA;
}

HRESULT QvDoesMetricExist(HQVMETRIC handle, LONG n, DWORD type) {
  const HKEY key = metric_key(handle, DefaultHandle::kAccepted);
  if (!key) return S_FALSE;
  const MetricRead read = read_metric(key, MetricName(n, type).text, nullptr, 0);
  const bool exists = read.error == ERROR_SUCCESS || read.error == ERROR_MORE_DATA;
  return exists && read.type == type ? S_OK : S_FALSE;
}

HRESULT QvDeleteMetric(HQVMETRIC handle, LONG n, DWORD type) {
  return delete_metric(metric_key(handle, DefaultHandle::kAccepted), MetricName(n, type).text);
}

HRESULT QvDeleteMetricUsingName(HQVMETRIC handle, const WCHAR* name, DWORD) {
  return delete_metric(metric_key(handle, DefaultHandle::kAccepted), name);
}
