#include "tools/qv/mp4/track/audio_config.h"

#include "tools/qv/mp4/codec_names.h"
#include "tools/qv/mp4/raw_boxes.h"

#include "qv/win32.h"

#include <iterator>

namespace qv::tool {

namespace {

/// Bits from the front on; 0 where they end.
class Bits {
public:
  explicit Bits(std::string_view bytes) : bytes_(bytes) {}
  uint32_t take(unsigned count) {
    uint32_t value = 0;
    for (; count > 0; --count, ++at_)
      value = value << 1 | (left() > 0 ? static_cast<BYTE>(bytes_[at_ / 8]) >> (7 - at_ % 8) & 1u : 0u);
    return value;
  }
  size_t left() const { return at_ < bytes_.size() * 8 ? bytes_.size() * 8 - at_ : 0; }

private:
  std::string_view bytes_;
  size_t at_ = 0;
};

constexpr uint32_t kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350};
constexpr uint32_t kSbr = 5; ///< audio object types
constexpr uint32_t kPs = 29;
constexpr uint32_t kLc = 2;

uint32_t take_rate(Bits& bits) {
  const uint32_t index = bits.take(4);
  if (index == 15) return bits.take(24);
  return index < std::size(kRates) ? kRates[index] : 0;
}

uint32_t take_object_type(Bits& bits) {
  const uint32_t type = bits.take(5);
  return type == 31 ? 32 + bits.take(6) : type;
}

/// What older decoders pass over: spectral band replication behind a plain AAC LC configuration.
void apply_hidden_sbr(Bits& bits, SampleFormat& format, uint32_t& type) {
  constexpr uint32_t kSbrSync = 0x2B7, kPsSync = 0x548;
  if (type != kLc || bits.take(3) != 0 || bits.left() < 16 || bits.take(11) != kSbrSync) return;
  if (take_object_type(bits) != kSbr || bits.take(1) == 0) return;
  type = kSbr;
  format.sample_rate = take_rate(bits);
  if (bits.left() >= 12 && bits.take(11) == kPsSync && bits.take(1) != 0) type = kPs;
}

/// AudioSpecificConfig: ISO/IEC 14496-3, clause 1.6.2.1.
void apply_aac(std::string_view config, SampleFormat& format) {
  Bits bits(config);
  uint32_t type = take_object_type(bits);
  const uint32_t rate = take_rate(bits);
  const uint32_t channels = bits.take(4);
  if (type == 0 || rate == 0) return;
  format.sample_rate = rate;
  if (channels != 0) format.channels = channels == 7 ? 8 : channels;
  if (type == kSbr || type == kPs)
    format.sample_rate = take_rate(bits);
  else if (channels != 0)
    apply_hidden_sbr(bits, format, type);
  if (type == kPs) format.channels = 2;
  format.codec_name = audio_object_name(type);
}

/// A descriptor of ISO/IEC 14496-1, clause 7.2.6: its payload, and those behind it.
struct Descriptor {
  uint32_t tag;
  std::string_view payload;
};

Descriptor take_descriptor(ChunkBytes& bytes) {
  const uint32_t tag = bytes.byte();
  uint32_t size = 0;
  for (int k = 0; k < 4; ++k) {
    const BYTE part = bytes.byte();
    size = size << 7 | (part & 0x7Fu);
    if (part < 0x80) break;
  }
  return {tag, bytes.take(size)};
}

void apply_esds(std::string_view payload, SampleFormat& format) {
  constexpr uint32_t kEs = 3, kDecoderConfig = 4, kDecoderInfo = 5;
  ChunkBytes box = big_endian(payload);
  box.take(4);
  const Descriptor es = take_descriptor(box);
  if (es.tag != kEs) return;
  ChunkBytes fields = big_endian(es.payload);
  fields.take(2);
  const BYTE flags = fields.byte();
  if ((flags & 0x80) != 0) fields.take(2);             // the stream that it depends on
  if ((flags & 0x40) != 0) fields.take(fields.byte()); // a URL
  if ((flags & 0x20) != 0) fields.take(2);             // the clock's stream
  const Descriptor decoder = take_descriptor(fields);
  if (decoder.tag != kDecoderConfig) return;
  ChunkBytes config = big_endian(decoder.payload);
  const uint32_t object_type = config.byte();
  config.take(1 + 3 + 4); // kind of stream, buffer size, largest bit rate
  format.bit_rate = config.word<DWORD>();
  format.codec_name = object_type_name(object_type);
  constexpr uint32_t kMpeg4Audio = 0x40, kMpeg2Main = 0x66, kMpeg2Ssr = 0x68;
  const Descriptor info = take_descriptor(config);
  const bool is_aac = object_type == kMpeg4Audio || (object_type >= kMpeg2Main && object_type <= kMpeg2Ssr);
  if (is_aac && info.tag == kDecoderInfo) apply_aac(info.payload, format);
}

/// The "magic cookie" of Apple Lossless: its published ALACMagicCookieDescription.
void apply_alac(std::string_view payload, SampleFormat& format) {
  ChunkBytes cookie = big_endian(payload);
  cookie.take(4 + 4 + 1); // version and flags, frame length, compatible version
  const BYTE bits = cookie.byte();
  cookie.take(3);
  const BYTE channels = cookie.byte();
  cookie.take(2 + 4);
  const DWORD bit_rate = cookie.word<DWORD>();
  const DWORD rate = cookie.word<DWORD>();
  if (cookie.is_short()) return;
  format.bits = bits;
  format.channels = channels;
  format.bit_rate = bit_rate;
  format.sample_rate = rate;
}

/// "dac3": ETSI TS 102 366, annex F.4. "dec3": annex F.6, the first independent substream.
void apply_ac3(std::string_view payload, SampleFormat& format) {
  constexpr uint32_t kAc3Rates[] = {48000, 44100, 32000, 0};
  constexpr uint32_t kModeChannels[] = {2, 1, 2, 3, 3, 4, 4, 5};
  const bool is_enhanced = format.codec == QvFourCC("ec-3");
  if (payload.size() < (is_enhanced ? 5u : 3u)) return;
  Bits bits(payload);
  if (is_enhanced) bits.take(16); // bit rate, number of substreams
  const uint32_t rate = kAc3Rates[bits.take(2)];
  bits.take(5); // bsid
  bits.take(is_enhanced ? 5 : 3);
  const uint32_t channels = kModeChannels[bits.take(3)];
  format.channels = channels + bits.take(1);
  if (rate != 0) format.sample_rate = rate;
}

/// "dOps": Encapsulation of Opus in ISOBMFF, clause 4.3.2. Decoders put out 48 kHz, whatever went in.
void apply_opus(std::string_view payload, SampleFormat& format) {
  if (payload.size() >= 2) format.channels = static_cast<BYTE>(payload[1]);
  format.sample_rate = 48000;
}

/// "dfLa": Encapsulation of FLAC in ISOBMFF, clause 3.3.2: a STREAMINFO block.
void apply_flac(std::string_view payload, SampleFormat& format) {
  constexpr size_t kBlock = 8; // behind version, flags and the block's header
  if (payload.size() < kBlock + 18) return;
  Bits bits(payload.substr(kBlock + 10));
  format.sample_rate = bits.take(20);
  format.channels = bits.take(3) + 1;
  format.bits = bits.take(5) + 1;
}

constexpr struct {
  fileutil::FourCC type;
  void (*apply)(std::string_view payload, SampleFormat& format);
} kConfigs[] = {
    {QvFourCC("esds"), apply_esds}, {QvFourCC("alac"), apply_alac}, {QvFourCC("dac3"), apply_ac3},
    {QvFourCC("dec3"), apply_ac3},  {QvFourCC("dOps"), apply_opus}, {QvFourCC("dfLa"), apply_flac},
};

} // namespace

void apply_audio_config(std::string_view boxes, SampleFormat& format) {
  // QuickTime puts them a level deeper.
  const std::string_view deeper = find_raw(boxes, QvFourCC("wave")).value_or("");
  for (const std::string_view level : {boxes, deeper}) {
    RawBoxes walk(level);
    while (const auto box = walk.next())
      for (const auto& row : kConfigs)
        if (row.type == box->type) row.apply(box->payload, format);
  }
}

void apply_mpeg_frame(std::string_view frame, SampleFormat& format) {
  constexpr const char* kLayers[] = {nullptr, "MP3", "MP2", "MP1"};
  constexpr uint32_t kMpegRates[] = {44100, 48000, 32000, 0};
  constexpr uint32_t kRateParts[] = {4, 0, 2, 1}; // by version: 2.5, none, 2, 1
  Bits bits(frame);
  const bool is_sync = bits.take(11) == 0x7FF;
  const uint32_t part = kRateParts[bits.take(2)];
  const uint32_t layer = bits.take(2);
  bits.take(5);
  const uint32_t rate = kMpegRates[bits.take(2)];
  bits.take(2);
  if (!is_sync || part == 0 || layer == 0 || rate == 0 || bits.left() == 0) return;
  format.codec_name = kLayers[layer];
  format.sample_rate = rate / part;
  format.channels = bits.take(2) == 3 ? 1 : 2;
}

} // namespace qv::tool
