// What settings need of the registry: the names of values, their bytes, and keys deleted with everything below them.
#include "kernel/metric/metric_handle.h"

#include <algorithm>
#include <exception>

namespace qv::kernel {

namespace {

/// The letter before the number in a value's name, as the accessors use it; 0: none.
WCHAR prefix_of(DWORD type) {
  switch (type) {
  case REG_DWORD: return 0;
  case REG_SZ: return 'S';
  case REG_BINARY: return 'B';
  default: return 'Z';
  }
}

} // namespace

void write_metric_name(LONG n, WCHAR prefix, WCHAR* name) {
  if (prefix != 0) *name++ = prefix;
  // The smallest number has no absolute value in 32 bits, and keeps its sign.
  uint32_t magnitude = n < 0 ? 0u - static_cast<uint32_t>(n) : static_cast<uint32_t>(n);
  if (magnitude == 0x80000000u) *name++ = '-';
  WCHAR digits[10];
  int count = 0;
  do {
    digits[count++] = static_cast<WCHAR>('0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  while (count > 0)
    *name++ = digits[--count];
  *name = 0;
}

MetricName::MetricName(LONG n, DWORD type) { write_metric_name(n, prefix_of(type), text); }

MetricRead read_metric(HKEY key, const WCHAR* name, void* buffer, DWORD capacity) {
  // For the registry a null buffer asks for the size only, and never finds the buffer too small.
  BYTE nothing = 0;
  MetricRead read{ERROR_SUCCESS, REG_NONE, capacity};
  BYTE* data = buffer ? static_cast<BYTE*>(buffer) : &nothing;
  if (!buffer) read.bytes = 0;
  read.error = RegQueryValueExW(key, name, nullptr, &read.type, data, &read.bytes);
  if (read.error != ERROR_SUCCESS && read.error != ERROR_MORE_DATA) read.bytes = 0;
  return read;
}

HRESULT write_metric(HKEY key, const WCHAR* name, DWORD type, const void* data, DWORD bytes) {
  if (!key || !name) return E_FAIL;
  return RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), bytes) == ERROR_SUCCESS ? S_OK : E_FAIL;
}

HRESULT delete_metric(HKEY key, const WCHAR* name) {
  if (!key || !name) return E_FAIL;
  return RegDeleteValueW(key, name) == ERROR_SUCCESS ? S_OK : E_FAIL;
}

} // namespace qv::kernel

using namespace qv::kernel;

HRESULT QvMetricGetName(LONG n, DWORD type, WCHAR* name) {
  if (!name) return E_POINTER;
  // Numbers are named "D7" here and "7" in the registry: clients show the former.
  write_metric_name(n, type == REG_DWORD ? WCHAR{'D'} : prefix_of(type), name);
  return S_OK;
}

namespace {

constexpr DWORD kMaxKeyNameChars = 256; ///< with the terminator

/// Finds the name of a key's first sub-key. A registry error; ERROR_NO_MORE_ITEMS when there is none.
LONG first_sub_key(HKEY root, const qv::WString& path, qv::WString& name) {
  HKEY key = nullptr;
  LONG error = RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key);
  if (error != ERROR_SUCCESS) return error;
  WCHAR text[kMaxKeyNameChars];
  DWORD length = kMaxKeyNameChars;
  error = RegEnumKeyExW(key, 0, text, &length, nullptr, nullptr, nullptr, nullptr);
  if (error == ERROR_SUCCESS) name.assign(text, length);
  RegCloseKey(key);
  return error;
}

/// Deletes a key with everything below it: goes down to a key without sub-keys, deletes it and goes back up. Stops at
/// the first key that cannot be deleted, with the registry's error.
LONG delete_tree(HKEY root, const WCHAR* top) {
  qv::WString path = top;
  const size_t top_length = path.size();
  for (;;) {
    qv::WString name;
    LONG error = first_sub_key(root, path, name);
    if (error == ERROR_SUCCESS) {
      path += WCHAR{'\\'};
      path += name;
      continue;
    }
    if (error == ERROR_NO_MORE_ITEMS) error = RegDeleteKeyW(root, path.c_str());
    if (error != ERROR_SUCCESS || path.size() <= top_length) return error;
    path.erase(std::max(path.rfind(WCHAR{'\\'}), top_length));
  }
}

} // namespace

LONG QvRegDeleteKey(HKEY root, const WCHAR* path) {
  if (!path || *path == 0) return ERROR_INVALID_PARAMETER;
  try {
    return delete_tree(root, path);
  } catch (const std::exception&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}
