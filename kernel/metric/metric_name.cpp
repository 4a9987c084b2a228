#include "kernel/metric/metric_handle.h"

namespace qv::kernel {

namespace {

/// A type's prefix in the names that the accessors use; 0 for none.
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
  // The absolute value in 32 bits: the smallest number has none, and keeps its sign.
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

} // namespace qv::kernel

using namespace qv::kernel;

HRESULT QvMetricGetName(LONG n, DWORD type, WCHAR* name) {
  if (!name) return E_POINTER;
  // "D" here and no letter in the accessors: both are in use, here for display.
  write_metric_name(n, type == REG_DWORD ? WCHAR{'D'} : prefix_of(type), name);
  return S_OK;
}
