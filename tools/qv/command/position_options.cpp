#include "tools/qv/command/position_options.h"

#include "tools/qv/failure.h"
#include "tools/qv/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>

namespace qv::tool {

namespace {

std::string lower_case(std::string text) {
  for (char& character : text)
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  return text;
}

#define QV_POSITION_NAME(code, name, long_text, short_text, smpte) #name,
constexpr const char* kNames[QVPOSFMT_COUNT] = {QV_POSFMT_TABLE(QV_POSITION_NAME)};
#undef QV_POSITION_NAME

/// The whole of `text` as a number; nothing where it is none.
template <class Value>
std::optional<Value> number_from(std::string_view text) {
  Value value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

/// A rate from "29.97" or "30000/1001"; nothing where it is no number above 0.
std::optional<double> rate_from(const std::string& text) {
  const size_t slash = text.find('/');
  const std::optional<double> numerator = number_from<double>(std::string_view(text).substr(0, slash));
  const std::optional<double> denominator =
      slash == std::string::npos ? 1.0 : number_from<double>(std::string_view(text).substr(slash + 1));
  if (!numerator || !denominator) return std::nullopt;
  const double rate = *numerator / *denominator;
  return std::isfinite(rate) && rate > 0.0 ? std::optional(rate) : std::nullopt;
}

/// Whether nothing but white space is left of a text: digits that were not read would be lost without a word.
bool is_white(const WCHAR* text) {
  for (; *text != 0; ++text)
    if (*text != QV_TEXT(' ') && *text != QV_TEXT('\t')) return false;
  return true;
}

} // namespace

std::string position_format_name(DWORD code) {
  return code < QVPOSFMT_COUNT ? lower_case(kNames[code]) : std::to_string(code);
}

void PositionOptions::read_frame_rate(const std::string& text) {
  const std::optional<double> rate = rate_from(text);
  if (!rate) throw WrongUsage("--fps", text + " is no rate above 0");
  frame_rate = *rate;
}

void PositionOptions::read_meter(const std::string& text) {
  const size_t slash = std::min(text.find('/'), text.size());
  const auto beats = number_from<WORD>(std::string_view(text).substr(0, slash));
  const auto unit = number_from<WORD>(std::string_view(text).substr(std::min(slash + 1, text.size())));
  if (!beats || !unit || *beats == 0 || *unit == 0) throw WrongUsage("--meter", text + " is no meter such as 6/8");
  beats_per_measure = *beats;
  beat_unit = *unit;
}

void PositionOptions::add_to(const Command& command) {
  command
      .option(
          "--fps", [this](const std::string& text) { read_frame_rate(text); },
          "Frames per second, a number or a ratio such as 30000/1001")
      .default_text("25");
  command.option("--tempo", tempo, "Beats per minute").above_zero().shows_default();
  command
      .option(
          "--meter", [this](const std::string& text) { read_meter(text); }, "Beats per measure and their note value")
      .default_text("4/4");
  command.option("--tpb", ticks_per_beat, "Ticks per quarter note").between(1, INT32_MAX).shows_default();
  command.option("--rate", sample_rate, "Samples per second").between(1, INT32_MAX).shows_default();
  command.option("--offset", offset, "The position that counts as 0, in units of 100 ns").shows_default();
}

_qvposfmt PositionOptions::shown_as(DWORD format) const {
  return {format, sample_rate, frame_rate, tempo, offset, beat_unit, beats_per_measure, ticks_per_beat};
}

DWORD position_format_from(const std::string& text, const std::string& option) {
  for (DWORD code = 0; code < QVPOSFMT_COUNT; ++code)
    if (text == position_format_name(code) || text == std::to_string(code)) return code;
  throw WrongUsage(option, "unknown format " + text);
}

void add_format_option(const Command& command, const std::string& option, DWORD& format,
                       const std::string& description) {
  command
      .option(
          option, [&format, option](const std::string& text) { format = position_format_from(text, option); },
          description)
      .type_name("FORMAT");
}

QVNANOTIME position_from(const std::string& text, const _qvposfmt& shown, DWORD flags) {
  const std::optional<WString> wide_text = utf16(text);
  const WCHAR* end = nullptr;
  const QVNANOTIME time =
      wide_text ? QvTextToNanoTimeToken2(wide_text->c_str(), &shown, 0, 0, 0, flags, &end) : QVNANOTIME{0};
  const auto is_digit = [](WCHAR character) { return character >= QV_TEXT('0') && character <= QV_TEXT('9'); };
  const bool was_read = wide_text && std::any_of(wide_text->c_str(), end, is_digit);
  if (!was_read || !is_white(end))
    throw Failure("\"" + text + "\"", "is no position in format " + position_format_name(shown.format));
  return time;
}

std::string text_of(QVNANOTIME time, const _qvposfmt& shown, DWORD flags) {
  std::array<WCHAR, 512> text;
  QvNanoTimeToTextExN(text.data(), static_cast<int>(text.size()), &shown, time, flags);
  return utf8(text.data());
}

} // namespace qv::tool
