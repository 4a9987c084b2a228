#include "tools/qv/metadata/id3_frames.h"

#include "tools/qv/metadata/chunk_bytes.h"
#include "tools/qv/metadata/text_encoding.h"
#include "tools/qv/text.h"

namespace qv::tool {

namespace {

constexpr size_t kHeaderBytes = 10;
constexpr BYTE kUnsynchronised = 0x80; ///< of the tag's flags
constexpr BYTE kExtended = 0x40;
// Of the second byte of a frame's flags: what stands before the frame's content, and how that is kept.
constexpr BYTE k23Unreadable = 0xC0; ///< compressed, encrypted
constexpr BYTE k23Grouped = 0x20;
constexpr BYTE k24Unreadable = 0x0C;
constexpr BYTE k24Grouped = 0x40;
constexpr BYTE k24Unsynchronised = 0x02;
constexpr BYTE k24HasLength = 0x01;

/// A size of four bytes with seven bits each.
uint64_t syncsafe(std::string_view bytes) {
  uint64_t size = 0;
  for (const char byte : bytes)
    size = size << 7 | (static_cast<BYTE>(byte) & 0x7F);
  return size;
}

uint64_t plain(std::string_view bytes) {
  uint64_t size = 0;
  for (const char byte : bytes)
    size = size << 8 | static_cast<BYTE>(byte);
  return size;
}

/// Without the zeros that were put behind bytes FF.
std::string resynchronised(std::string_view bytes) {
  std::string out;
  for (size_t k = 0; k < bytes.size(); ++k) {
    out += bytes[k];
    if (bytes[k] == '\xFF' && k + 1 < bytes.size() && bytes[k + 1] == 0) ++k;
  }
  return out;
}

std::string utf16_text(std::string_view bytes, ByteOrder order) {
  WString wide;
  for (size_t at = 0; at + 2 <= bytes.size(); at += 2)
    wide += static_cast<WCHAR>(word_at<WORD>(bytes, at, order));
  return utf8(wide);
}

/// One value in an encoding out of ID3's four.
std::string value_text(BYTE encoding, std::string_view bytes) {
  switch (encoding) {
  case 1:
    if (bytes.starts_with("\xFF\xFE")) return utf16_text(bytes.substr(2), ByteOrder::kLittle);
    return utf16_text(bytes.starts_with("\xFE\xFF") ? bytes.substr(2) : bytes, ByteOrder::kBig);
  case 2: return utf16_text(bytes, ByteOrder::kBig);
  case 3: return decode(bytes, CodePage::kUtf8);
  default: {
    std::string text; // Latin-1
    for (const char byte : bytes)
      text += byte == 0 ? std::string() : code_text(static_cast<BYTE>(byte)).substr(0, byte < 0 ? 2 : 1);
    return text;
  }
  }
}

/// Takes a value with its terminator off the front.
std::string take_value(BYTE encoding, std::string_view& bytes) {
  const size_t unit = encoding == 1 || encoding == 2 ? 2 : 1;
  size_t end = 0;
  while (end + unit <= bytes.size() && bytes.substr(end, unit) != std::string_view("\0\0", unit))
    end += unit;
  const std::string text = value_text(encoding, bytes.substr(0, std::min(end, bytes.size())));
  bytes.remove_prefix(std::min(end + unit, bytes.size()));
  return text;
}

/// The texts of a frame: "T..." frames, comments and lyrics behind their language, links.
std::string frame_text(const std::string& id, std::string_view content) {
  if (content.empty()) return {};
  if (id[0] == 'W' && !id.starts_with("WX")) return value_text(0, content);
  const bool has_language = id.starts_with("COM") || id == "USLT" || id == "ULT";
  if (id[0] != 'T' && !has_language) return {};
  const auto encoding = static_cast<BYTE>(content[0]);
  if (encoding > 3) return {};
  content.remove_prefix(std::min<size_t>(has_language ? 4 : 1, content.size()));
  std::string text;
  while (!content.empty()) {
    const std::string value = take_value(encoding, content);
    if (!value.empty()) text += (text.empty() ? "" : " / ") + value;
  }
  return text;
}

/// What a frame's flags leave to be read of its content; nothing of one that is compressed or encrypted.
std::string readable(std::string_view content, char version, BYTE flags) {
  if (version == 2) return std::string(content);
  if ((flags & (version == 3 ? k23Unreadable : k24Unreadable)) != 0) return {};
  size_t before = (flags & (version == 3 ? k23Grouped : k24Grouped)) != 0 ? 1 : 0;
  if (version == 4 && (flags & k24HasLength) != 0) before += 4;
  content.remove_prefix(std::min(before, content.size()));
  return version == 4 && (flags & k24Unsynchronised) != 0 ? resynchronised(content) : std::string(content);
}

bool is_frame_id(std::string_view id) {
  return std::all_of(
      id.begin(), id.end(), [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); });
}

void skip_extended_header(std::string_view& body, char version) {
  if (body.size() < 4) return;
  // The size counts its own four bytes in version 2.4 alone.
  const uint64_t size = version == 4 ? syncsafe(body.substr(0, 4)) : plain(body.substr(0, 4)) + 4;
  body.remove_prefix(static_cast<size_t>(std::min<uint64_t>(size, body.size())));
}

void read_frames(Id3Tag& tag, std::string_view body, char version) {
  const size_t id_bytes = version == 2 ? 3 : 4;
  const size_t header_bytes = version == 2 ? 6 : kHeaderBytes;
  while (body.size() >= header_bytes && is_frame_id(body.substr(0, id_bytes)) && !tag.is_cut) {
    Id3Frame frame = {std::string(body.substr(0, id_bytes)), "", 0};
    const std::string_view size = body.substr(id_bytes, id_bytes);
    frame.size = version == 4 ? syncsafe(size) : plain(size);
    const BYTE frame_flags = version == 2 ? BYTE{0} : static_cast<BYTE>(body[9]);
    body.remove_prefix(header_bytes);
    if (frame.size <= body.size())
      frame.text =
          frame_text(frame.id, readable(body.substr(0, static_cast<size_t>(frame.size)), version, frame_flags));
    else
      tag.is_cut = true;
    tag.frames.push_back(frame);
    if (tag.frames.size() == kMaxId3Frames) tag.is_cut = true;
    body.remove_prefix(static_cast<size_t>(std::min<uint64_t>(frame.size, body.size())));
  }
}

} // namespace

Id3Tag parse_id3(std::string_view data) {
  Id3Tag tag;
  if (data.size() < kHeaderBytes || !data.starts_with("ID3") || data[3] < 2 || data[3] > 4) return tag;
  const char version = data[3];
  tag.version = std::string("2.") + static_cast<char>('0' + version);
  const auto flags = static_cast<BYTE>(data[5]);
  std::string_view body = data.substr(kHeaderBytes, static_cast<size_t>(syncsafe(data.substr(6, 4))));
  const std::string whole = (flags & kUnsynchronised) != 0 && version < 4 ? resynchronised(body) : std::string();
  if (!whole.empty()) body = whole;
  if (version > 2 && (flags & kExtended) != 0) skip_extended_header(body, version);
  read_frames(tag, body, version);
  return tag;
}

} // namespace qv::tool
