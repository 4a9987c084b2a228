// The "bext" chunk of broadcast wave files (EBU Tech 3285, versions 0 to 2) as a record of fields. What is not set
// stays as it is in the chunk, to the byte.
#pragma once

#include "tools/qv/metadata/text_encoding.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qv::tool {

enum class BroadcastField {
  kDescription,
  kOriginator,
  kOriginatorReference,
  kOriginationDate,
  kOriginationTime,
  kTimeReference, ///< frames since midnight
  kVersion,       ///< is not set by hand
  kUmid,          ///< 64 bytes in hexadecimal
  kLoudnessValue, ///< this and the following in LU and its kin, with two decimals
  kLoudnessRange,
  kMaxTruePeakLevel,
  kMaxMomentaryLoudness,
  kMaxShortTermLoudness,
  kCodingHistory
};
inline constexpr int kBroadcastFields = static_cast<int>(BroadcastField::kCodingHistory) + 1;

class Broadcast {
public:
  /// A chunk of version 1 with nothing in it.
  Broadcast();
  /// From a chunk's data; nothing when they end before the version. Missing fields behind it are zero.
  static std::optional<Broadcast> parsed(std::string_view data);

  /// A field as UTF-8 text; empty where it is not set, or the version has no such field.
  std::string text(BroadcastField field) const;
  /// Sets a field from UTF-8 text, stored in `page`; an empty text clears it. Returns why not, or "".
  std::string set_text(BroadcastField field, const std::string& text, CodePage page);

  WORD version() const;
  uint64_t time_reference() const;
  void set_time_reference(uint64_t frames);
  bool has_loudness() const;
  /// Marks the loudness fields as not set, when samples change.
  void drop_loudness();
  /// Adds a line to the coding history, as "A=PCM,F=48000,W=16,M=mono".
  void add_history(const std::string& line);

  /// The data of the chunk, of 602 bytes at least.
  const std::string& data() const { return data_; }

private:
  std::string data_;
};

/// "description", "time-reference", ...: as it is called on the command line.
const char* broadcast_field_name(BroadcastField field);
std::optional<BroadcastField> broadcast_field_named(const std::string& name);

} // namespace qv::tool
