#include "tools/qv/file/channel_plan.h"

#include <charconv>

namespace qv::tool {

namespace {

constexpr DWORD kMostChannels = 0xFFFF;

std::optional<DWORD> parse_number(const std::string& text) {
  uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || stop != end || number > kMostChannels) return std::nullopt;
  return number;
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
    if (!channel || plan.map.size() == kMostChannels) return std::nullopt;
    plan.map.push_back(*channel);
    start = comma + 1;
  }
  return plan;
}

} // namespace qv::tool
