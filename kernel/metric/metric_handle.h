// The record behind a settings handle, and the names and bytes of values, as all accessors use them.
#pragma once

#include "qv/metric.h"

inline constexpr DWORD QVMETRIC_PATH_CHARS = 260;

struct QVMETRIC {
  WCHAR furtherText[QVMETRIC_PATH_CHARS];
  HKEY furtherKey;                 ///< closed with the handle when set
  WCHAR path[QVMETRIC_PATH_CHARS]; ///< relative to HKEY_CURRENT_USER
  HKEY key;                        ///< null when it could not be opened
};

namespace qv::kernel {

enum class DefaultHandle { kAccepted, kRefused };

/// The open key of a handle; null for a handle without one. `rule` says what QVMETRIC_DEFAULT means.
HKEY metric_key(HQVMETRIC handle, DefaultHandle rule);

/// A value's name as the accessors use it.
struct MetricName {
  WCHAR text[QVMETRIC_NAME_CHARS];
  MetricName(LONG n, DWORD type);
};

/// Writes `prefix` (0: none) and |n|, terminated. Room for QVMETRIC_NAME_CHARS.
void write_metric_name(LONG n, WCHAR prefix, WCHAR* name);

/// What reading a value gave. ERROR_MORE_DATA: it is larger than the buffer, which may be null for a capacity of 0.
struct MetricRead {
  LONG error; ///< of the registry
  DWORD type;
  DWORD bytes; ///< stored
  bool is(DWORD wanted) const { return error == ERROR_SUCCESS && type == wanted; }
};
MetricRead read_metric(HKEY key, const WCHAR* name, void* buffer, DWORD capacity);

HRESULT write_metric(HKEY key, const WCHAR* name, DWORD type, const void* data, DWORD bytes);
HRESULT delete_metric(HKEY key, const WCHAR* name);

} // namespace qv::kernel
