#include "tools/qv/repair/format_reading.h"

#include "tools/qv/repair/common_chunk.h"
#include "tools/qv/repair/format_agreement.h"
#include "tools/qv/text.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <tuple>

namespace qv::tool {

namespace {

constexpr DWORD kRates[] = {44'100, 48'000, 96'000, 88'200,  192'000, 176'400, 32'000, 22'050, 16'000, 8'000,
                            11'025, 24'000, 12'000, 384'000, 352'800, 64'000,  37'800, 18'900, 7'350,  4'000,
                            5'512,  50'000, 47'952, 48'048,  44'056,  44'144,  6'000,  2'000};
constexpr DWORD kMaxChannels = 32;
/// How many fields may be wrong before the record is taken to say nothing.
constexpr int kMaxWrong = 3;
/// What a field of zeros or of ones counts for: it was erased, and its bits say nothing.
constexpr int kErased = 5;

struct Kind {
  WORD tag;
  WORD bits;
};
// The more usual first.
constexpr Kind kKinds[] = {
    {WAVE_FORMAT_PCM, 16}, {WAVE_FORMAT_PCM, 24},        {WAVE_FORMAT_PCM, 32}, {WAVE_FORMAT_IEEE_FLOAT, 32},
    {WAVE_FORMAT_PCM, 8},  {WAVE_FORMAT_IEEE_FLOAT, 64}, {kMuLawTag, 8},        {kALawTag, 8}};

struct Reading {
  WAVEFORMATEXTENSIBLE format = {};
  int wrong_fields = 0;
  int wrong_bits = 0;
  int strangeness = 0; ///< how far from what was asked for, and from what is usual
};

/// A record, and readings of it.
class Readings {
public:
  Readings(const WAVEFORMATEXTENSIBLE& stored, bool is_extensible, const RepairHint& hint)
      : stored_(stored), is_extensible_(is_extensible), hint_(hint), defaults_(hint.format()) {
    int place = 0;
    for (const Kind& kind : kKinds)
      add_kind(kind, ++place);
    // An unusual width stands where all else agrees with it.
    const WORD bits = stored.Format.wBitsPerSample;
    if (bits >= 1 && bits <= 64 && (bits % 8 != 0 || bits > 32)) add_kind({WAVE_FORMAT_PCM, bits}, ++place);
  }

  /// The best first; only those with as few wrong fields as it.
  std::vector<Reading> best() {
    std::vector<Reading> few;
    for (const Reading& reading : all_)
      if (reading.wrong_fields == fewest_) few.push_back(reading);
    const auto order = [&](const Reading& reading) {
      return std::make_tuple(against_hints(reading.format), reading.wrong_bits, reading.strangeness);
    };
    std::stable_sort(
        few.begin(), few.end(), [&](const Reading& a, const Reading& b) { return order(a) < order(b); });
    const auto same = [](const Reading& a, const Reading& b) {
      return std::memcmp(&a.format, &b.format, sizeof a.format) == 0;
    };
    few.erase(std::unique(few.begin(), few.end(), same), few.end());
    return few;
  }
  int fewest_wrong() const { return fewest_; }
  /// How many of the hints that were given a format is against.
  int against_hints(const WAVEFORMATEXTENSIBLE& format) const {
    const auto is_against = [](auto given, auto value) { return given && *given != value ? 1 : 0; };
    const bool is_other_type = hint_.type && (format.Format.wBitsPerSample != defaults_.wBitsPerSample ||
                                              tag_of(format) != defaults_.wFormatTag);
    return is_against(hint_.rate, format.Format.nSamplesPerSec) +
           is_against(hint_.channels, DWORD{format.Format.nChannels}) + (is_other_type ? 1 : 0);
  }

private:
  void add_kind(const Kind& kind, int place) {
    const DWORD tight = (kind.bits + 7u) / 8;
    for (DWORD channels = 1; channels <= kMaxChannels; ++channels)
      for (const DWORD bytes : {tight, DWORD{4}}) {
        if (bytes != tight && (kind.bits < 20 || kind.bits > 24 || stored_.Format.nBlockAlign != channels * bytes))
          continue;
        const DWORD align = channels * bytes;
        add(kind, channels, align, stored_.Format.nSamplesPerSec, place);
        if (hint_.rate) add(kind, channels, align, *hint_.rate, place);
        for (const DWORD rate : kRates)
          add(kind, channels, align, rate, place);
      }
  }

  template <class Value>
  static void change(Reading& reading, Value& field, Value to) {
    if (field == to) return;
    const auto all_ones = static_cast<Value>(~Value{0});
    ++reading.wrong_fields;
    reading.wrong_bits += field == 0 || field == all_ones ? kErased : std::popcount(static_cast<Value>(field ^ to));
    field = to;
  }

  void add(const Kind& kind, DWORD channels, DWORD align, DWORD rate, int place) {
    // An unusual rate stands where the byte rate says the same.
    const uint64_t byte_rate = uint64_t{rate} * align;
    const bool is_usual = std::find(std::begin(kRates), std::end(kRates), rate) != std::end(kRates);
    if (rate == 0 || byte_rate > 0xFFFFFFFF ||
        (!is_usual && byte_rate != stored_.Format.nAvgBytesPerSec && rate != hint_.rate))
      return;
    Reading reading = {stored_, 0, 0, place * 4};
    WAVEFORMATEX& format = reading.format.Format;
    change<WORD>(reading, format.wFormatTag, is_extensible_ ? WORD{WAVE_FORMAT_EXTENSIBLE} : kind.tag);
    if (is_extensible_) make_extensible(reading, kind);
    change<WORD>(reading, format.nChannels, static_cast<WORD>(channels));
    change<DWORD>(reading, format.nSamplesPerSec, rate);
    change<DWORD>(reading, format.nAvgBytesPerSec, static_cast<DWORD>(byte_rate));
    change<WORD>(reading, format.nBlockAlign, static_cast<WORD>(align));
    change<WORD>(reading, format.wBitsPerSample, static_cast<WORD>(is_extensible_ ? align / channels * 8 : kind.bits));
    reading.strangeness += (rate != defaults_.nSamplesPerSec) + (channels != defaults_.nChannels) +
                           (kind.bits != defaults_.wBitsPerSample);
    fewest_ = std::min(fewest_, reading.wrong_fields);
    if (reading.wrong_fields == fewest_) all_.push_back(reading);
  }

  static void make_extensible(Reading& reading, const Kind& kind) {
    WAVEFORMATEXTENSIBLE& whole = reading.format;
    change<DWORD>(reading, whole.SubFormat.Data1, kind.tag);
    if (strange_bytes(whole.SubFormat) != 0) ++reading.wrong_fields;
    whole.SubFormat = sub_format_of(kind.tag);
    if (whole.Samples.wValidBitsPerSample == 0 || whole.Samples.wValidBitsPerSample > (kind.bits + 7u) / 8 * 8)
      change<WORD>(reading, whole.Samples.wValidBitsPerSample, kind.bits);
  }

  const WAVEFORMATEXTENSIBLE& stored_;
  bool is_extensible_;
  const RepairHint& hint_;
  WAVEFORMATEX defaults_;
  std::vector<Reading> all_;
  int fewest_ = 99;
};

bool looks_extensible(const std::string& record, const WAVEFORMATEXTENSIBLE& stored) {
  if (record.size() < sizeof stored) return false;
  return int{stored.Format.wFormatTag == WAVE_FORMAT_EXTENSIBLE} + int{stored.Format.cbSize == 22} +
             int{strange_bytes(stored.SubFormat) == 0} >=
         2;
}

/// What the hints say, for all that does not make sense by itself; `taken` names it.
WAVEFORMATEXTENSIBLE by_hints(const WAVEFORMATEXTENSIBLE& stored, const RepairHint& hint, std::string& taken) {
  constexpr DWORD kMinRate = 2'000;
  constexpr DWORD kMaxRate = 192'000;
  const WAVEFORMATEX wanted = hint.format();
  WAVEFORMATEXTENSIBLE whole = {};
  WAVEFORMATEX& format = whole.Format;
  format = stored.Format;
  const auto take = [&](auto& field, auto value, bool is_given, const char* option) {
    field = value;
    taken += (taken.empty() ? "" : ", ") + std::string(option) + (is_given ? "" : " as when left out");
  };
  if (format.nSamplesPerSec < kMinRate || format.nSamplesPerSec > kMaxRate)
    take(format.nSamplesPerSec, wanted.nSamplesPerSec, hint.rate.has_value(), "--rate");
  if (format.nChannels != 1 && format.nChannels != 2)
    take(format.nChannels, wanted.nChannels, hint.channels.has_value(), "--channels");
  const auto fits = [tag = format.wFormatTag, bits = format.wBitsPerSample](const Kind& kind) {
    return kind.tag == tag && kind.bits == bits && bits % 8 == 0;
  };
  if (std::none_of(std::begin(kKinds), std::end(kKinds), fits)) {
    format.wFormatTag = wanted.wFormatTag;
    take(format.wBitsPerSample, wanted.wBitsPerSample, hint.type.has_value(), "--type");
  }
  format.cbSize = 0;
  format.nBlockAlign = static_cast<WORD>(format.wBitsPerSample / 8 * format.nChannels);
  format.nAvgBytesPerSec = format.nBlockAlign * format.nSamplesPerSec;
  return whole;
}

FormatReading not_mended(FormatReading reading, const WAVEFORMATEXTENSIBLE& stored, DWORD tag) {
  const char* const name = compressed_name(tag);
  reading.is_compressed = true;
  reading.notes.push_back(name ? "a compressed format (" + std::string(name) + "), which is not mended"
                               : "a format that is not known (tag " + std::to_string(tag) + "), which is not mended");
  if (stored.Format.wBitsPerSample != 0 && agrees_as_samples(stored.Format, WAVE_FORMAT_PCM))
    reading.notes.emplace_back("its block align, byte rate and bits agree as those of PCM: --type says what it is");
  return reading;
}

void store(FormatReading& reading, const WAVEFORMATEXTENSIBLE& format, size_t bytes) {
  bytes = std::min(bytes, reading.record.size());
  reading.record.replace(0, bytes, reinterpret_cast<const char*>(&format), bytes);
  reading.block_align = std::max<DWORD>(format.Format.nBlockAlign, 1);
}

/// Nothing is known: the options rule, or what holds where they are left out.
void take_hints(FormatReading& reading, const WAVEFORMATEXTENSIBLE& stored, const RepairHint& hint) {
  std::string taken;
  const WAVEFORMATEXTENSIBLE format = by_hints(stored, hint, taken);
  reading.notes.emplace_back("the format record makes no sense");
  if (!taken.empty()) reading.notes.push_back("what it is, is taken from " + taken);
  reading.record.assign(reading.record.size(), '\0');
  store(reading, format, sizeof(WAVEFORMATEX));
}

void take_first(FormatReading& reading, const WAVEFORMATEXTENSIBLE& stored, const std::vector<Reading>& best,
                const Readings& readings) {
  const auto why = disagreement(stored);
  reading.notes.push_back("the format record does not agree with itself" + (why ? ": " + *why : std::string()));
  store(reading, best[0].format, sizeof(WAVEFORMATEXTENSIBLE));
  if (best.size() == 1) return;
  const bool is_asked_for = readings.against_hints(best[0].format) < readings.against_hints(best[1].format);
  reading.notes.push_back("it may be " + text_of(best[0].format) + ", or " + text_of(best[1].format) +
                          (best.size() > 2 ? ", or one of " + std::to_string(best.size() - 2) + " others" : "") +
                          ": the first is taken, " +
                          (is_asked_for ? "by the options" : "which changes the fewest bits"));
}

} // namespace

WAVEFORMATEXTENSIBLE loaded(const std::string& record) {
  WAVEFORMATEXTENSIBLE format = {};
  std::memcpy(&format, record.data(), std::min(record.size(), sizeof format));
  return format;
}

std::string text_of(const WAVEFORMATEXTENSIBLE& record) {
  QVWAVEFORMATBUFFER described = {};
  WAVEFORMATEXTENSIBLE whole = record;
  whole.Format.cbSize = whole.Format.wFormatTag == WAVE_FORMAT_EXTENSIBLE ? 22 : 0;
  described.format.Init(sizeof described, whole.Format);
  return format_text(described.format.FormatTag(), &whole.Format);
}

bool record_makes_sense(const HeaderLayout& layout, const std::string& record) {
  if (record.size() < layout.record_bytes) return false;
  if (layout.family == HeaderLayout::Family::kAiff) return common_makes_sense(record);
  const WAVEFORMATEXTENSIBLE stored = loaded(record);
  const DWORD tag = tag_of(stored);
  if (has_fixed_samples(tag)) return agrees_as_samples(stored.Format, tag);
  const WAVEFORMATEX& format = stored.Format;
  return compressed_name(tag) && looks_compressed(format);
}

FormatReading read_format(const std::string& record, const RepairHint& hint) {
  const WAVEFORMATEXTENSIBLE stored = loaded(record);
  const DWORD tag = tag_of(stored);
  FormatReading reading = {record, {}, std::max<DWORD>(stored.Format.nBlockAlign, 1)};
  const bool is_extensible = looks_extensible(record, stored);
  // A sub format that one damage does not make of a tag is someone's own.
  const bool is_own = is_extensible && own_bytes(stored.SubFormat) > sizeof(DWORD);
  const bool is_unknown = !has_fixed_samples(tag) && !is_extensible && looks_compressed(stored.Format);
  if (!hint.type && (compressed_name(tag) || is_own || is_unknown)) return not_mended(reading, stored, tag);
  if (has_fixed_samples(tag) && agrees_as_samples(stored.Format, tag)) {
    reading.notes.push_back("format: " + text_of(stored));
    return reading;
  }
  Readings readings(stored, is_extensible, hint);
  const std::vector<Reading> best = readings.best();
  if (best.empty() || readings.fewest_wrong() > kMaxWrong)
    take_hints(reading, stored, hint);
  else
    take_first(reading, stored, best, readings);
  return reading;
}

} // namespace qv::tool
