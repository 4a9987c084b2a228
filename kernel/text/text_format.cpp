#include "kernel/text/printf_formatter.h"

#include "qv/text.h"

#include <climits>

int QvPrintF(WCHAR* dst, const WCHAR* format, ...) {
  va_list list;
  va_start(list, format);
  const int count = QvCchVPrintF(dst, INT_MAX, format, list);
  va_end(list);
  return count;
}

int QvCchPrintF(WCHAR* dst, int capacity, const WCHAR* format, ...) {
  va_list list;
  va_start(list, format);
  const int count = QvCchVPrintF(dst, capacity, format, list);
  va_end(list);
  return count;
}

int QvCchVPrintF(WCHAR* dst, int capacity, const WCHAR* format, va_list list) {
  using namespace qv::kernel;
  if (!dst || capacity < 1) return 0;
  Sink sink(dst, static_cast<size_t>(capacity) - 1);
  Arguments arguments(list);
  TextFormatter formatter(sink, arguments);
  if (format) formatter.write(format);
  return sink.finish();
}
