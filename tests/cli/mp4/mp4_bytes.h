// MP4 files written byte by byte for the tests, without the library.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

namespace cli_test::mp4 {

using Bytes = std::string;

inline Bytes big(uint64_t value, int bytes) {
  Bytes out;
  for (int k = bytes - 1; k >= 0; --k)
    out += static_cast<char>(value >> 8 * k);
  return out;
}
inline Bytes u8(uint64_t value) { return big(value, 1); }
inline Bytes u16(uint64_t value) { return big(value, 2); }
inline Bytes u32(uint64_t value) { return big(value, 4); }
inline Bytes u64(uint64_t value) { return big(value, 8); }
inline Bytes zeros(size_t count) { return Bytes(count, '\0'); }

inline Bytes header(const Bytes& type, uint64_t size) { return u32(size) + type; }
inline Bytes box(const Bytes& type, const Bytes& payload = "") { return header(type, 8 + payload.size()) + payload; }
/// One with a version and no flags.
inline Bytes full_box(const Bytes& type, const Bytes& payload, uint8_t version = 0) {
  return box(type, u8(version) + zeros(3) + payload);
}

inline Bytes file_type(const Bytes& major = "M4A ", const Bytes& compatible = "isom") {
  return box("ftyp", major + u32(1) + compatible);
}
inline Bytes movie_header(uint32_t timescale, uint32_t duration) {
  return full_box("mvhd", zeros(8) + u32(timescale) + u32(duration) + zeros(80));
}
inline Bytes track_header(uint32_t id, uint32_t duration) {
  return full_box("tkhd", zeros(8) + u32(id) + zeros(4) + u32(duration) + zeros(60));
}
inline Bytes media_header(uint32_t timescale, uint32_t duration, uint16_t language = 0x55C4) {
  return full_box("mdhd", zeros(8) + u32(timescale) + u32(duration) + u16(language) + zeros(2));
}
inline Bytes handler(const Bytes& type) { return full_box("hdlr", zeros(4) + type + zeros(13)); }

/// A sample entry for sound, and the list with it.
inline Bytes sound_entry(const Bytes& type, uint16_t channels, uint16_t bits, uint16_t rate, const Bytes& more = "") {
  return box(type, zeros(6) + u16(1) + zeros(8) + u16(channels) + u16(bits) + zeros(4) + u16(rate) + zeros(2) + more);
}
inline Bytes descriptions(const Bytes& entry) { return full_box("stsd", u32(1) + entry); }

/// The tables of samples that have one size and last equally long, in one chunk.
inline Bytes even_tables(uint32_t count, uint32_t size, uint32_t units, uint32_t position) {
  return full_box("stts", u32(1) + u32(count) + u32(units)) + full_box("stsc", u32(1) + u32(1) + u32(count) + u32(1)) +
         full_box("stsz", u32(size) + u32(count)) + full_box("stco", u32(1) + u32(position));
}
inline Bytes media(const Bytes& media_header, const Bytes& kind, const Bytes& tables) {
  return box("mdia", media_header + handler(kind) + box("minf", box("stbl", tables)));
}
/// Ten samples of four bytes, of which each lasts 1000 units of a 10,000th of a second.
inline Bytes plain_track(uint32_t position = 100, const Bytes& more = "") {
  return box("trak", track_header(1, 1000) + more +
                         media(media_header(10000, 10000), "soun",
                               descriptions(sound_entry("sowt", 2, 16, 44100)) + even_tables(10, 4, 1000, position)));
}
inline Bytes movie(const Bytes& boxes) { return box("moov", movie_header(1000, 1000) + boxes); }
inline Bytes plain_file(const Bytes& more_of_movie = "") {
  return file_type() + box("mdat", zeros(80)) + movie(plain_track() + more_of_movie);
}

/// "data" in an item, and the item.
inline Bytes item(const Bytes& type, uint32_t indicator, const Bytes& value) {
  return box(type, box("data", u32(indicator) + u32(0) + value));
}
inline Bytes item_list(const Bytes& items) {
  return box("udta", full_box("meta", handler("mdir") + box("ilst", items)));
}

} // namespace cli_test::mp4
