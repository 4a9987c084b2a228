#include "tools/qv/file/samples/sample_conversion.h"

#include "tools/qv/failure.h"

#include <charconv>
#include <stdexcept>

namespace qv::tool {

namespace {

constexpr DWORD kMaxChannels = 0xFFFF;
constexpr size_t kPieceSamples = 2048;

std::optional<DWORD> parse_number(const std::string& text) {
  uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || stop != end || number > kMaxChannels) return std::nullopt;
  return number;
}

QVSAMPLETYPE arranged_type(const _qvwaveformat& source, const ChannelPlan& plan) {
  // An average in the source's integers would be rounded twice.
  return plan.kind == ChannelPlan::Kind::kMono ? QVSAMPLE_FLOAT64 : source.sampleType;
}

/// A header in all of the bytes that the library may look at.
WAVEFORMATEXTENSIBLE header_of(const _qvwaveformat& source, QVSAMPLETYPE type, DWORD channels) {
  WAVEFORMATEXTENSIBLE header = {};
  QvAudio_InitWfx(&header.Format, source.samplesPerSec, type, static_cast<WORD>(channels));
  return header;
}

size_t block_bytes(const WAVEFORMATEXTENSIBLE& header, DWORD frames) {
  return size_t{header.Format.nBlockAlign} * frames;
}

} // namespace

DWORD ChannelPlan::channels(DWORD source_channels) const {
  switch (kind) {
  case Kind::kCount: return count;
  case Kind::kMap: return static_cast<DWORD>(map.size());
  case Kind::kMono: return 1;
  case Kind::kKeep: break;
  }
  return source_channels;
}

std::optional<std::string> ChannelPlan::objection(DWORD source_channels) const {
  for (const DWORD channel : map)
    if (channel > source_channels)
      return "has no channel " + std::to_string(channel) + ", only " + std::to_string(source_channels);
  return std::nullopt;
}

std::optional<ChannelPlan> parse_channel_plan(const std::string& text) {
  ChannelPlan plan;
  if (text.find(',') == std::string::npos) {
    const std::optional<DWORD> count = parse_number(text);
    if (!count || *count == 0) return std::nullopt;
    plan.kind = ChannelPlan::Kind::kCount;
    plan.count = *count;
    return plan;
  }
  plan.kind = ChannelPlan::Kind::kMap;
  // A comma at the end closes the last entry: "2," is a map of one.
  for (size_t start = 0; start < text.size();) {
    const size_t comma = std::min(text.find(',', start), text.size());
    const std::optional<DWORD> channel = parse_number(text.substr(start, comma - start));
    if (!channel || plan.map.size() == kMaxChannels) return std::nullopt;
    plan.map.push_back(*channel);
    start = comma + 1;
  }
  return plan;
}

SampleConversion::SampleConversion(const _qvwaveformat& source, QVSAMPLETYPE type, const ChannelPlan& plan, float gain,
                                   DWORD block_frames)
    : plan_(plan), gain_(gain), source_(header_of(source, source.sampleType, source.channels)),
      arranged_(header_of(source, arranged_type(source, plan), plan.channels(source.channels))),
      copy_(QvAudio_GetCopyFunction2(type, arranged_type(source, plan))),
      clipping_(type, arranged_type(source, plan), gain), converted_bytes_(QvAudio_BytesFromSampleType(type)),
      arranged_bytes_(QvAudio_BytesFromSampleType(arranged_type(source, plan))) {
  if (!copy_) throw std::runtime_error("there is no conversion between the two sample types");
  input_.resize(block_bytes(source_, block_frames));
  if (plan.kind != ChannelPlan::Kind::kKeep) between_.resize(block_bytes(arranged_, block_frames));
  output_.resize(block_bytes(header_of(source, type, plan.channels(source.channels)), block_frames));
}

HRESULT SampleConversion::apply_map(const void* samples, DWORD frames) {
  HRESULT result = QvAudio_FillSilence(&arranged_.Format, between_.data(), frames);
  for (DWORD channel = 0; channel < plan_.map.size() && SUCCEEDED(result); ++channel) {
    if (plan_.map[channel] == 0) continue;
    result = QvAudio_CopyChannelToChannel(&arranged_.Format, between_.data(), channel, &source_.Format, samples,
                                          plan_.map[channel] - 1, frames);
  }
  return result;
}

const void* SampleConversion::arrange(const void* samples, DWORD frames) {
  HRESULT result = S_OK;
  switch (plan_.kind) {
  case ChannelPlan::Kind::kKeep: return samples;
  case ChannelPlan::Kind::kCount:
    result = QvAudio_ChannelChange(&arranged_.Format, between_.data(), &source_.Format, samples, frames);
    break;
  case ChannelPlan::Kind::kMono:
    result = QvAudio_ChannelChangeAvg(&arranged_.Format, between_.data(), &source_.Format, samples, frames);
    break;
  case ChannelPlan::Kind::kMap: result = apply_map(samples, frames); break;
  }
  if (FAILED(result)) throw std::runtime_error(result_text(result));
  return between_.data();
}

void SampleConversion::run(void* converted, const void* samples, DWORD frames) {
  const void* const arranged = arrange(samples, frames);
  const size_t count = size_t{frames} * arranged_.Format.nChannels;
  // What is looked at twice is so in pieces that the nearest cache holds.
  const size_t piece = clipping_.is_possible() ? kPieceSamples : count;
  for (size_t at = 0; at < count; at += piece) {
    const size_t samples_now = std::min(piece, count - at);
    BYTE* const to = static_cast<BYTE*>(converted) + at * converted_bytes_;
    const BYTE* const from = static_cast<const BYTE*>(arranged) + at * arranged_bytes_;
    copy_(to, from, static_cast<LONG>(samples_now), gain_);
    clipping_.add(to, from, samples_now);
  }
}

} // namespace qv::tool
