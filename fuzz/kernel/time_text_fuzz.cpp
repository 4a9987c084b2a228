// Hostile texts and format strings for the functions between times and texts.
//
// Input: a byte for the format, one for the flags, the position format's other fields as they stand, a time, and a
// text, a byte for each character.
// Sources: kernel/time kernel/text
#include "fuzz/require.h"

#include "qv/time.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

using fuzz::require;

namespace {

template <class Value>
Value take(const uint8_t*& data, size_t& size) {
  Value value{};
  const size_t taken = std::min(size, sizeof value);
  std::memcpy(&value, data, taken);
  data += taken;
  size -= taken;
  return value;
}

/// An end pointer stands in its text.
void require_in(const qv::WString& text, const WCHAR* end) {
  require(end >= text.c_str() && end <= text.c_str() + text.size());
}

void read(const qv::WString& text, const _qvposfmt& shown, DWORD flags) {
  const WCHAR* end = nullptr;
  const QVNANOTIME kept = QvTextToNanoTimeToken2(text.c_str(), &shown, 5, -10, 10, flags | QVTIME_VALIDATE, &end);
  require_in(text, end);
  require(kept >= -10 && kept <= 10);
  QvTextToNanoTimeToken2(text.c_str(), &shown, 5, 0, 0, flags & ~QVTIME_VALIDATE, &end);
  require_in(text, end);
  require(QvTextToTimeToken(text.c_str(), &shown, flags & 1, &end) >= 0);
  require_in(text, end);
  QvTextToHMSFToken(text.c_str(), &shown, flags & 1, &end);
  require_in(text, end);
  QvTextToMusicTimeToken(text.c_str(), &shown, flags, &end);
  require_in(text, end);
  QvTextToFeetAndFramesToken(text.c_str(), &shown, flags & 1);
  QvTextToMeasuresBeatsTicks(text.c_str(), &shown, flags & 1, static_cast<LONG>(flags), nullptr, nullptr, nullptr);

  for (DWORD format = 0; format < 8; ++format) {
    _smpteval label = {};
    label.format = format;
    QVSMPTE_TextToSMPTE(text.c_str(), &label);
    require(label.hours < 24 && label.minutes < 60 && label.seconds < 60 && label.frames < 100 && label.reserved == 0);
  }
}

void write(const qv::WString& format, const _qvposfmt& shown, QVNANOTIME time, DWORD flags) {
  WCHAR text[300];
  for (const int capacity : {1, 7, 300}) {
    const int own = QvNanoTimeToTextFormatN(text, capacity, &shown, time, format.c_str(), flags);
    require(own >= 0 && own < capacity && text[own] == 0);
    const int standard = QvNanoTimeToTextExN(text, capacity, &shown, time, flags);
    require(standard >= 0 && standard < capacity && text[standard] == 0);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const DWORD format = take<uint8_t>(data, size) % (QVPOSFMT_COUNT + 2);
  const DWORD flags = take<uint8_t>(data, size);
  _qvposfmt shown = take<_qvposfmt>(data, size);
  const auto time = take<QVNANOTIME>(data, size);
  const qv::WString text(data, data + size);
  shown.format = format;
  read(text, shown, flags);
  write(text, shown, time, flags);
  return 0;
}
