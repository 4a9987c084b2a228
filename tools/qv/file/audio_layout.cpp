#include "tools/qv/file/audio_layout.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/byte_string.h"
#include "tools/qv/metadata/info_list.h"

#include "qv/chunk_id.h"

#include <algorithm>
#include <bit>

namespace qv::tool {

namespace {

constexpr DWORD kPlainPcmBytes = 16;
/// The RIFF size stays below this, as riff_UpdateRIFFSize demands.
constexpr uint64_t kRiffSizeLimit = 0xFFFFFFF8;
/// From here on a RIFF file keeps room for what would make it an RF64 file.
constexpr uint64_t kRoomFrom = uint64_t{3} << 30;
constexpr DWORD kSizeInDs64 = 0xFFFFFFFF;
constexpr DWORD kDs64Bytes = 28;
constexpr uint64_t kIffSizeLimit = 0xFFFFFFFF;
/// The date by which AIFF-C is known, in an "FVER" chunk.
constexpr DWORD kAifcVersion = 0xA2805140;

bool is_float(const _qvwaveformat& format) { return format.FormatTag() == WAVE_FORMAT_IEEE_FLOAT; }

std::string riff_header(DWORD id, uint64_t size) { return ByteString().id(id).little(size, 4); }
std::string iff_header(DWORD id, uint64_t size) { return ByteString().id(id).big(size, 4); }

std::string wave64_header(DWORD id, uint64_t size) {
  GUID guid = QVW64_FMT;
  guid.Data1 = id;
  if (id == QVRIFF_ID_LIST) guid = QVW64_LIST;
  if (id == QVRIFF_ID_JUNK) guid = QVW64_JUNK;
  if (id == kSummaryListGuid.Data1) guid = kSummaryListGuid;
  return ByteString().raw(&guid, sizeof guid).little(size + sizeof guid + 8, 8);
}

constexpr ChunkShape kRiffShape = {8, 2, false, riff_header};
constexpr ChunkShape kWave64Shape = {24, 8, false, wave64_header};
constexpr ChunkShape kIffShape = {8, 2, true, iff_header};

std::string whole_chunk(const ChunkShape& shape, DWORD id, const std::string& data) {
  return shape.header(id, data.size()) + data + std::string(static_cast<size_t>(shape.padding(data.size())), '\0');
}

uint64_t bytes_of(const ChunkShape& shape, const CarriedChunks& chunks) {
  uint64_t bytes = 0;
  for (const auto* list : {&chunks.before_audio, &chunks.behind_audio})
    for (const CarriedChunk& chunk : *list)
      bytes += shape.bytes_of(chunk.size());
  return bytes;
}

/// The data of the "fmt " chunk.
std::string wave_format(const _qvwaveformat& format) {
  WAVEFORMATEXTENSIBLE header = {};
  format.ToWfx(&header.Format, sizeof header,
               format.channels > 2 ? QVWAVEFORMAT_COPY_EXTENSIBLE : QVWAVEFORMAT_COPY_MASK);
  size_t bytes = sizeof header;
  // Plain PCM is written without the count of extra bytes, as every reader knows it.
  if (header.Format.wFormatTag != WAVE_FORMAT_EXTENSIBLE)
    bytes = is_float(format) ? sizeof(WAVEFORMATEX) : kPlainPcmBytes;
  return ByteString().raw(&header, bytes);
}

std::string ds64(uint64_t file_bytes, uint64_t audio_bytes, uint64_t frames) {
  return ByteString().little(file_bytes - 8, 8).little(audio_bytes, 8).little(frames, 8).little(0, 4);
}

/// RIFF and RF64, which is RIFF with its sizes in a "ds64" chunk.
AudioLayout riff_layout(Container container, const _qvwaveformat& format, uint64_t frames, uint64_t carried_bytes) {
  const uint64_t audio_bytes = frames * format.blockAlign;
  std::string described = whole_chunk(kRiffShape, QVRIFF_ID_FMT, wave_format(format));
  if (is_float(format))
    described +=
        whole_chunk(kRiffShape, QVRIFF_ID_FACT, ByteString().little(std::min<uint64_t>(frames, 0xFFFFFFFF), 4));
  AudioLayout layout = {container, "", "", audio_bytes, 0};
  layout.file_bytes = 12 + described.size() + kRiffShape.bytes_of(audio_bytes) + carried_bytes;
  const bool is_rf64 = container == Container::kRf64;
  std::string sizes;
  if (is_rf64 || layout.file_bytes > kRoomFrom) {
    layout.file_bytes += kRiffShape.bytes_of(kDs64Bytes);
    sizes = is_rf64 ? whole_chunk(kRiffShape, QvFourCC("ds64"), ds64(layout.file_bytes, audio_bytes, frames))
                    : whole_chunk(kRiffShape, QVRIFF_ID_JUNK, std::string(kDs64Bytes, '\0'));
  }
  layout.front =
      riff_header(is_rf64 ? QvFourCC("RF64") : QVRIFF_ID_RIFF, is_rf64 ? kSizeInDs64 : layout.file_bytes - 8) + "WAVE" +
      sizes + described;
  layout.audio_header = riff_header(QVRIFF_ID_DATA, is_rf64 ? kSizeInDs64 : audio_bytes);
  return layout;
}

AudioLayout wave64_layout(const _qvwaveformat& format, uint64_t frames, uint64_t carried_bytes) {
  const uint64_t audio_bytes = frames * format.blockAlign;
  const std::string described = whole_chunk(kWave64Shape, QVW64_FMT.Data1, wave_format(format));
  AudioLayout layout = {Container::kWave64, "", wave64_header(QVW64_DATA.Data1, audio_bytes), audio_bytes, 0};
  layout.file_bytes = 40 + described.size() + kWave64Shape.bytes_of(audio_bytes) + carried_bytes;
  layout.front = ByteString()
                     .raw(&QVW64_RIFF, sizeof(GUID))
                     .little(layout.file_bytes, 8)
                     .raw(&QVW64_WAVE, sizeof(GUID))
                     .text(described);
  return layout;
}

/// A rate as the 80-bit number of "COMM".
std::string extended_rate(DWORD rate) {
  const int shift = std::countl_zero(uint64_t{rate});
  return ByteString().big(static_cast<uint64_t>(16383 + 63 - shift), 2).big(uint64_t{rate} << shift, 8);
}

AudioLayout aiff_layout(Container container, const _qvwaveformat& format, uint64_t frames, uint64_t carried_bytes) {
  if (is_float(format)) container = Container::kAifc;
  const bool is_aifc = container == Container::kAifc;
  const uint64_t audio_bytes = frames * format.blockAlign;
  ByteString common;
  common.big(format.channels, 2)
      .big(frames, 4)
      .big(format.BitsPerSample(), 2)
      .text(extended_rate(format.samplesPerSec));
  // The type of compression, and its name with the length in front, together of an even length.
  if (is_aifc && is_float(format))
    common.text(format.BitsPerSample() == 64 ? "fl64\x15" : "fl32\x15").text("Floating point sample");
  else if (is_aifc)
    common.text("NONE\x0E").text("not compressed").text(std::string(1, '\0'));
  std::string described = is_aifc ? whole_chunk(kIffShape, QvFourCC("FVER"), ByteString().big(kAifcVersion, 4)) : "";
  described += whole_chunk(kIffShape, QvFourCC("COMM"), common);
  // In front of the samples: their offset, and the size of blocks.
  AudioLayout layout = {container, "", ByteString().text(iff_header(QvFourCC("SSND"), audio_bytes + 8)).big(0, 8),
                        audio_bytes, 0};
  layout.file_bytes = 12 + described.size() + kIffShape.bytes_of(audio_bytes + 8) + carried_bytes;
  layout.front = iff_header(QvFourCC("FORM"), layout.file_bytes - 8) + (is_aifc ? "AIFC" : "AIFF") + described;
  return layout;
}

bool is_iff(Container container) { return container == Container::kAiff || container == Container::kAifc; }

} // namespace

const ChunkShape& chunk_shape(Container container) {
  if (container == Container::kWave64) return kWave64Shape;
  return is_iff(container) ? kIffShape : kRiffShape;
}

AudioLayout layout_of(const std::string& name, Container container, bool stays_riff, const _qvwaveformat& format,
                      uint64_t frames, const CarriedChunks& chunks) {
  if (container == Container::kFlac || container == Container::kOgg) return {container, "", "", 0, 0};
  const uint64_t carried = bytes_of(chunk_shape(container), chunks);
  if (carried > kRiffSizeLimit && container != Container::kWave64)
    throw Failure(name, "chunks of more than 4 GiB beside the audio fit a Wave64 file only");
  if (container == Container::kWave64) return wave64_layout(format, frames, carried);
  if (is_iff(container)) {
    AudioLayout layout = aiff_layout(container, format, frames, carried);
    if (layout.file_bytes - 8 > kIffSizeLimit)
      throw Failure(name, "an AIFF file of more than 4 GiB cannot be; .wav, .rf64 and .w64 can");
    return layout;
  }
  AudioLayout layout = riff_layout(container, format, frames, carried);
  if (layout.container == Container::kRf64 || layout.file_bytes - 8 < kRiffSizeLimit) return layout;
  if (stays_riff)
    throw Failure(name, result_text(QVERR_RIFF_TOOBIG) + "; a name that ends in .w64 makes a Wave64 file");
  return riff_layout(Container::kRf64, format, frames, carried);
}

} // namespace qv::tool
