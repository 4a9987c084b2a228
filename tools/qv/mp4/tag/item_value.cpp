#include "tools/qv/mp4/tag/item_value.h"

#include "tools/qv/metadata/text_encoding.h"
#include "tools/qv/mp4/codec_names.h"
#include "tools/qv/mp4/raw_boxes.h"
#include "tools/qv/text.h"

#include <bit>
#include <cstdio>

namespace qv::tool {

namespace {

/// Type indicators of values: Apple's QuickTime File Format, "Well-known types".
enum Indicator : uint32_t {
  kUntyped = 0,
  kUtf8 = 1,
  kUtf16 = 2,
  kUtf8Sorted = 4,
  kUtf16Sorted = 5,
  kGif = 12, // no longer given out, but read
  kJpeg = 13,
  kPng = 14,
  kSigned = 21,
  kUnsigned = 22,
  kFloat32 = 23,
  kFloat64 = 24,
  kBmp = 27,
};

std::string utf16_text(std::string_view bytes, ByteOrder order) {
  WString wide;
  for (size_t at = 0; at + 2 <= bytes.size(); at += 2)
    wide += static_cast<WCHAR>(word_at<WORD>(bytes, at, order));
  return utf8(wide.substr(0, wide.find(WCHAR{0})));
}

uint64_t whole_number(std::string_view bytes) {
  uint64_t value = 0;
  for (const char byte : bytes)
    value = value << 8 | static_cast<BYTE>(byte);
  return value;
}

std::string signed_text(std::string_view bytes) {
  const uint64_t value = whole_number(bytes);
  const uint64_t sign = uint64_t{1} << (8 * bytes.size() - 1);
  if ((value & sign) == 0) return std::to_string(value);
  return "-" + std::to_string(bytes.size() == 8 ? 0 - value : 2 * sign - value);
}

std::string float_text(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

/// "3/12", of "trkn" and "disk": behind a zero word a number, and of how many.
std::string pair_text(std::string_view bytes) {
  ChunkBytes words = big_endian(bytes);
  words.take(2);
  const auto number = std::to_string(words.word<WORD>());
  const WORD total = words.word<WORD>();
  return total == 0 ? number : number + "/" + std::to_string(total);
}

std::optional<std::string> untyped_text(fileutil::FourCC item, std::string_view value) {
  if (item == QvFourCC("trkn") || item == QvFourCC("disk")) return pair_text(value);
  if (item == QvFourCC("gnre") && value.size() == 2) return genre_name(static_cast<uint32_t>(whole_number(value)));
  if (value.size() == 1) return std::to_string(whole_number(value));
  return std::nullopt;
}

} // namespace

std::optional<std::string> item_text(fileutil::FourCC item, uint32_t indicator, std::string_view value) {
  switch (indicator) {
  case kUntyped: return untyped_text(item, value);
  case kUtf8:
  case kUtf8Sorted: return decode_alone(text_part(value));
  case kUtf16:
  case kUtf16Sorted: return utf16_text(value, ByteOrder::kBig);
  case kSigned: return value.empty() || value.size() > 8 ? std::nullopt : std::optional(signed_text(value));
  case kUnsigned:
    return value.empty() || value.size() > 8 ? std::nullopt : std::optional(std::to_string(whole_number(value)));
  case kFloat32:
    if (value.size() != 4) return std::nullopt;
    return float_text(std::bit_cast<float>(static_cast<uint32_t>(whole_number(value))));
  case kFloat64:
    if (value.size() != 8) return std::nullopt;
    return float_text(std::bit_cast<double>(whole_number(value)));
  default: return std::nullopt;
  }
}

bool is_picture(fileutil::FourCC item, uint32_t indicator) {
  return item == QvFourCC("covr") || indicator == kGif || indicator == kJpeg || indicator == kPng || indicator == kBmp;
}

const char* picture_type(std::string_view start) {
  constexpr struct {
    std::string_view magic;
    const char* name;
  } kTypes[] = {{"\xFF\xD8\xFF", "JPEG"}, {"\x89PNG", "PNG"}, {"BM", "BMP"}, {"GIF8", "GIF"}};
  for (const auto& type : kTypes)
    if (start.starts_with(type.magic)) return type.name;
  return "unknown";
}

std::string text_of_either(std::string_view bytes) {
  if (bytes.starts_with("\xFE\xFF")) return utf16_text(bytes.substr(2), ByteOrder::kBig);
  if (bytes.starts_with("\xFF\xFE")) return utf16_text(bytes.substr(2), ByteOrder::kLittle);
  return decode_alone(text_part(bytes));
}

} // namespace qv::tool
