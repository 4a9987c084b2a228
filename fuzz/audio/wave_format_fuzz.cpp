// Header to record to header, in every copy mode and with every capacity: what is written stays inside, and what is
// read back is what was written.
// Sources: audio/*.cpp audio/*.h include/qv/audio.h
#include "fuzz/require.h"

#include "qv/audio.h"

#include <algorithm>
#include <cstring>
#include <vector>

using fuzz::require;

namespace {

/// A header as a file reader hands it over: the bytes there are, zeros to the whole of an extensible header, and as
/// many extra bytes as it claims, as far as they are there.
std::vector<uint8_t> header_from(const uint8_t* data, size_t size) {
  std::vector<uint8_t> bytes(std::max(size, sizeof(WAVEFORMATEXTENSIBLE)), 0);
  std::memcpy(bytes.data(), data, size);
  auto* header = reinterpret_cast<WAVEFORMATEX*>(bytes.data());
  const size_t there = bytes.size() - sizeof(WAVEFORMATEX);
  header->cbSize = static_cast<WORD>(std::min<size_t>(header->cbSize, there));
  return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3 || size > 4096) return 0;
  const DWORD capacity = data[0] + data[1] * 8u;
  const auto mode = static_cast<QVWAVEFORMAT_COPY_DEST>(data[2] % 5);
  const auto bytes = header_from(data + 3, size - 3);
  const auto* header = reinterpret_cast<const WAVEFORMATEX*>(bytes.data());

  // Exactly as large as said, so that the sanitizer sees the first byte outside.
  std::vector<uint32_t> memory((std::max<DWORD>(capacity, sizeof(_qvwaveformat)) + 3) / 4);
  auto* record = reinterpret_cast<_qvwaveformat*>(memory.data());
  record->Init(static_cast<DWORD>(memory.size() * 4), *header);
  require(record->cbStruct >= 32 && record->cbStruct <= 32 + 1024);
  require(*record == *record);

  std::vector<uint8_t> out(capacity);
  QvAudio_GeneralCopyWfx(reinterpret_cast<WAVEFORMATEX*>(out.data()), capacity, *record, mode);
  if (capacity >= sizeof(WAVEFORMATEX)) {
    const auto* written = reinterpret_cast<const WAVEFORMATEX*>(out.data());
    require(written->nSamplesPerSec == record->samplesPerSec && written->nChannels == record->channels);
    const bool bare = written->wFormatTag == WAVE_FORMAT_PCM || written->wFormatTag == WAVE_FORMAT_IEEE_FLOAT;
    require(bare || sizeof(WAVEFORMATEX) + written->cbSize <= capacity);
  }
  WAVEFORMATEX* copy = QvAudio_AllocAndCopyWfx(*record, mode);
  require(copy);
  // The "RA" types have no tag to be written with.
  const bool has_tag = QvAudio_FormatTagFromSampleType(record->sampleType) != 0;
  if (has_tag) require(QvAudio_GetSampleType(copy) == record->sampleType);
  WCHAR text[40];
  QvAudio_GetAttribsText(copy, text, 40);
  QvAudio_GetTagText(copy->wFormatTag, text, 40);
  QvAudio_FixBadWfx(copy);
  const HGLOBAL handle = GlobalHandle(copy);
  GlobalUnlock(handle);
  require(!GlobalFree(handle));
  return 0;
}
