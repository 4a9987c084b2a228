#include "tools/qv/carry/chunk_rules.h"

#include <algorithm>
#include <span>

namespace qv::tool {

namespace {

constexpr ChunkRule kWaveRules[] = {
    // What the output makes itself, and audio.
    {QVRIFF_ID_FMT, 0, Carry::kNever, nullptr},
    {QVRIFF_ID_DATA, 0, Carry::kNever, nullptr},
    {QVRIFF_ID_FACT, 0, Carry::kNever, nullptr},
    {QvFourCC("ds64"), 0, Carry::kNever, nullptr},
    {QvFourCC("PEAK"), 0, Carry::kNever, nullptr},
    {QvFourCC("slnt"), 0, Carry::kNever, nullptr},
    {QVRIFF_ID_LIST, QvFourCC("wavl"), Carry::kNever, nullptr},
    // Padding.
    {QVRIFF_ID_JUNK, 0, Carry::kNever, nullptr},
    {QvFourCC("junk"), 0, Carry::kNever, nullptr},
    {QvFourCC("PAD "), 0, Carry::kNever, nullptr},
    {QvFourCC("FLLR"), 0, Carry::kNever, nullptr},
    {QvFourCC("filr"), 0, Carry::kNever, nullptr},
    // Positions.
    {QVRIFF_ID_CUE, 0, Carry::kMove, scale_cue},
    {QVRIFF_ID_LIST, QVRIFF_LIST_ADTL, Carry::kMove, scale_labels},
    {QvFourCC("plst"), 0, Carry::kMove, scale_playlist},
    {QvFourCC("smpl"), 0, Carry::kMove, scale_sampler},
    {QvFourCC("cart"), 0, Carry::kMove, scale_cart},
    {QvFourCC("bext"), 0, Carry::kBroadcast, nullptr},
    // What is true of these samples alone: peak envelopes, the channels and objects of the audio definition model
    // (ITU-R BS.2076), markers of RF64, check sums.
    {QvFourCC("levl"), 0, Carry::kSameAudio, nullptr},
    {QvFourCC("chna"), 0, Carry::kSameAudio, nullptr},
    {QvFourCC("axml"), 0, Carry::kSameAudio, nullptr},
    {QvFourCC("bxml"), 0, Carry::kSameAudio, nullptr},
    {QvFourCC("sxml"), 0, Carry::kSameAudio, nullptr},
    {QvFourCC("r64m"), 0, Carry::kSameAudio, nullptr},
    {QvFourCC("MD5 "), 0, Carry::kSameBytes, nullptr},
};

constexpr ChunkRule kAiffRules[] = {
    {QvFourCC("COMM"), 0, Carry::kNever, nullptr},        {QvFourCC("SSND"), 0, Carry::kNever, nullptr},
    {QvFourCC("FVER"), 0, Carry::kNever, nullptr},        {QvFourCC("PEAK"), 0, Carry::kNever, nullptr},
    {QvFourCC("FLLR"), 0, Carry::kNever, nullptr},        {QvFourCC("MARK"), 0, Carry::kMove, scale_marks},
    {QvFourCC("CHAN"), 0, Carry::kSameChannels, nullptr},
};

constexpr ChunkRule kUnknown = {0, 0, Carry::kCopy, nullptr};

} // namespace

const ChunkRule& chunk_rule(DWORD id, DWORD list_type, bool is_aiff) {
  const std::span<const ChunkRule> rules = is_aiff ? std::span(kAiffRules) : std::span<const ChunkRule>(kWaveRules);
  const auto found = std::find_if(rules.begin(), rules.end(),
                                  [=](const ChunkRule& rule) { return rule.id == id && rule.list_type == list_type; });
  return found == rules.end() ? kUnknown : *found;
}

} // namespace qv::tool
