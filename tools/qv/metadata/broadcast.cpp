#include "tools/qv/metadata/broadcast.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace qv::tool {

namespace {

using enum BroadcastField;

enum class Kind { kText, kDate, kTime, kFrames, kVersionWord, kHex, kLoudness, kHistory };

struct Row {
  BroadcastField field;
  const char* name;
  Kind kind;
  size_t offset;
  size_t bytes;
  WORD version; ///< the first that has the field
};

constexpr Row kRows[] = {
    {kDescription, "description", Kind::kText, 0, 256, 0},
    {kOriginator, "originator", Kind::kText, 256, 32, 0},
    {kOriginatorReference, "originator-reference", Kind::kText, 288, 32, 0},
    {kOriginationDate, "origination-date", Kind::kDate, 320, 10, 0},
    {kOriginationTime, "origination-time", Kind::kTime, 330, 8, 0},
    {kTimeReference, "time-reference", Kind::kFrames, 338, 8, 0},
    {kVersion, "bext-version", Kind::kVersionWord, 346, 2, 0},
    {kUmid, "umid", Kind::kHex, 348, 64, 1},
    {kLoudnessValue, "loudness", Kind::kLoudness, 412, 2, 2},
    {kLoudnessRange, "loudness-range", Kind::kLoudness, 414, 2, 2},
    {kMaxTruePeakLevel, "max-true-peak", Kind::kLoudness, 416, 2, 2},
    {kMaxMomentaryLoudness, "max-momentary-loudness", Kind::kLoudness, 418, 2, 2},
    {kMaxShortTermLoudness, "max-short-term-loudness", Kind::kLoudness, 420, 2, 2},
    {kCodingHistory, "coding-history", Kind::kHistory, 602, 0, 0},
};
static_assert(std::size(kRows) == kBroadcastFields);

constexpr size_t kSmallest = 348; ///< the fields of version 0
constexpr size_t kFixedBytes = 602;
constexpr int16_t kNoLoudness = 0x7FFF;

const Row& row_of(BroadcastField field) { return kRows[static_cast<size_t>(field)]; }

template <class Word>
Word word_at(const std::string& data, size_t offset) {
  Word word;
  std::memcpy(&word, data.data() + offset, sizeof word);
  return word;
}

template <class Word>
void put_word(std::string& data, size_t offset, Word word) {
  std::memcpy(data.data() + offset, &word, sizeof word);
}

WORD version_of(const std::string& data) { return word_at<WORD>(data, row_of(kVersion).offset); }
void put_version(std::string& data, WORD version) { put_word(data, row_of(kVersion).offset, version); }

/// Fills a field of fixed length with bytes that fit, and zeros.
void put_bytes(std::string& data, const Row& row, std::string bytes) {
  bytes.resize(row.bytes, '\0');
  data.replace(row.offset, row.bytes, bytes);
}

/// Raises the version to that which has a field; loudness fields that it gains are not set.
void reach_version(std::string& data, WORD version) {
  if (version_of(data) >= version) return;
  put_version(data, version);
  for (const Row& row : kRows)
    if (row.kind == Kind::kLoudness && version >= row.version) put_word(data, row.offset, kNoLoudness);
}

template <class Number>
std::optional<Number> number_from(const std::string& text) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return number;
}

/// Whether a text has digits where the pattern has 9, and one of the separators that the standard allows elsewhere.
bool fits_pattern(const std::string& text, const char* pattern) {
  if (text.size() != std::strlen(pattern)) return false;
  for (size_t k = 0; k < text.size(); ++k) {
    const bool is_digit = text[k] >= '0' && text[k] <= '9';
    if (pattern[k] == '9' ? !is_digit : std::strchr("-_: .", text[k]) == nullptr) return false;
  }
  return true;
}

std::string hex_text(std::string bytes) {
  bytes.resize(bytes.find_last_not_of('\0') + 1);
  if (bytes.empty()) return {};
  bytes.resize(bytes.size() <= 32 ? 32 : 64, '\0'); // a basic UMID, or an extended one
  std::string text;
  for (const char byte : bytes) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    text += digits;
  }
  return text;
}

std::optional<std::string> bytes_from_hex(const std::string& text) {
  std::string bytes;
  for (size_t k = 0; k + 1 < text.size(); k += 2) {
    unsigned byte = 0;
    const auto [stop, error] = std::from_chars(text.data() + k, text.data() + k + 2, byte, 16);
    if (error != std::errc{} || stop != text.data() + k + 2) return std::nullopt;
    bytes += static_cast<char>(byte);
  }
  if (text.size() % 2 != 0 || (bytes.size() != 0 && bytes.size() != 32 && bytes.size() != 64)) return std::nullopt;
  return bytes;
}

std::string loudness_text(int16_t hundredths) {
  char text[16];
  std::snprintf(text, sizeof text, "%s%d.%02d", hundredths < 0 ? "-" : "", std::abs(hundredths / 100),
                std::abs(hundredths % 100));
  return hundredths == kNoLoudness ? "" : text;
}

/// The history with a line feed behind each line but the last, from one with carriage returns.
std::string history_text(const std::string& data) {
  std::string text = decode_alone(std::string_view(data).substr(kFixedBytes));
  std::erase(text, '\r');
  text.resize(text.find_last_not_of('\n') + 1);
  return text;
}

/// Puts lines into the history. Its length stays where they fit.
void put_history(std::string& data, const std::string& lines) {
  std::string stored;
  for (size_t at = 0; at < lines.size();) {
    const size_t end = std::min(lines.find('\n', at), lines.size());
    stored += lines.substr(at, end - at) + "\r\n";
    at = end + 1;
  }
  stored.resize(std::max(stored.size(), data.size() - kFixedBytes), '\0');
  data.replace(kFixedBytes, std::string::npos, stored);
}

// Each of the following sets a field from a text, or clears it where that is empty. Returns why not, or "".

std::string put_frames(std::string& data, const Row& row, const std::string& text) {
  const std::optional<uint64_t> frames = text.empty() ? 0 : number_from<uint64_t>(text);
  if (!frames) return "is a number of frames";
  put_word(data, row.offset, *frames);
  return {};
}

std::string put_umid(std::string& data, const Row& row, const std::string& text) {
  const std::optional<std::string> bytes = bytes_from_hex(text);
  if (!bytes) return "has 32 or 64 bytes, each as two hexadecimal digits";
  if (!bytes->empty()) reach_version(data, row.version);
  if (version_of(data) >= row.version) put_bytes(data, row, *bytes);
  return {};
}

std::string put_loudness(std::string& data, const Row& row, const std::string& text) {
  const std::optional<double> level = text.empty() ? kNoLoudness / 100.0 : number_from<double>(text);
  if (!level || !(std::abs(*level) <= kNoLoudness / 100.0)) return "is a number of dB between -327.67 and 327.67";
  if (!text.empty()) reach_version(data, row.version);
  if (version_of(data) >= row.version) put_word(data, row.offset, static_cast<int16_t>(std::lround(*level * 100)));
  return {};
}

std::string put_text(std::string& data, const Row& row, const std::string& text, CodePage page) {
  const std::optional<std::string> bytes = encode(text, page);
  if (!bytes) return is_utf8(text) ? std::string(page_name(page)) + " lacks a character of the text" : "is not UTF-8";
  if (row.kind == Kind::kDate && !text.empty() && !fits_pattern(text, "9999-99-99")) return "is a date as 2024-12-31";
  if (row.kind == Kind::kTime && !text.empty() && !fits_pattern(text, "99:99:99")) return "is a time as 23:59:59";
  if (row.kind == Kind::kHistory) {
    put_history(data, *bytes);
    return {};
  }
  if (bytes->size() > row.bytes)
    return "holds " + std::to_string(row.bytes) + " bytes, the text has " + std::to_string(bytes->size());
  put_bytes(data, row, *bytes);
  return {};
}

} // namespace

Broadcast::Broadcast() : data_(kFixedBytes, '\0') { put_version(data_, 1); }

std::optional<Broadcast> Broadcast::parsed(std::string_view data) {
  if (data.size() < kSmallest) return std::nullopt;
  std::optional<Broadcast> broadcast(std::in_place);
  broadcast->data_ = data;
  if (data.size() < kFixedBytes) broadcast->data_.append(kFixedBytes - data.size(), '\0');
  return broadcast;
}

std::string Broadcast::text(BroadcastField field) const {
  const Row& row = row_of(field);
  if (version() < row.version) return {};
  switch (row.kind) {
  case Kind::kFrames: return std::to_string(time_reference());
  case Kind::kVersionWord: return std::to_string(version());
  case Kind::kHex: return hex_text(data_.substr(row.offset, row.bytes));
  case Kind::kLoudness: return loudness_text(word_at<int16_t>(data_, row.offset));
  case Kind::kHistory: return history_text(data_);
  case Kind::kText:
  case Kind::kDate:
  case Kind::kTime: break;
  }
  return decode_alone(std::string_view(data_).substr(row.offset, row.bytes));
}

std::string Broadcast::set_text(BroadcastField field, const std::string& text, CodePage page) {
  const Row& row = row_of(field);
  switch (row.kind) {
  case Kind::kVersionWord: return "follows from the other fields";
  case Kind::kFrames: return put_frames(data_, row, text);
  case Kind::kHex: return put_umid(data_, row, text);
  case Kind::kLoudness: return put_loudness(data_, row, text);
  case Kind::kHistory:
  case Kind::kText:
  case Kind::kDate:
  case Kind::kTime: break;
  }
  return put_text(data_, row, text, page);
}

WORD Broadcast::version() const { return version_of(data_); }
uint64_t Broadcast::time_reference() const { return word_at<uint64_t>(data_, row_of(kTimeReference).offset); }
void Broadcast::set_time_reference(uint64_t frames) { put_word(data_, row_of(kTimeReference).offset, frames); }

bool Broadcast::has_loudness() const {
  return std::any_of(
      std::begin(kRows), std::end(kRows),
      [this](const Row& row) { return row.kind == Kind::kLoudness && !text(row.field).empty(); });
}

void Broadcast::drop_loudness() {
  for (const Row& row : kRows)
    if (row.kind == Kind::kLoudness && version() >= row.version) put_word(data_, row.offset, kNoLoudness);
}

void Broadcast::add_history(const std::string& line) {
  std::string stored = data_.substr(kFixedBytes);
  stored.resize(std::min(stored.size(), stored.find('\0')));
  std::erase(stored, '\r');
  stored.resize(stored.find_last_not_of('\n') + 1);
  put_history(data_, stored.empty() ? line : stored + "\n" + line);
}

const char* broadcast_field_name(BroadcastField field) { return row_of(field).name; }

std::optional<BroadcastField> broadcast_field_named(const std::string& name) {
  for (const Row& row : kRows)
    if (row.name == name) return row.field;
  return std::nullopt;
}

} // namespace qv::tool
