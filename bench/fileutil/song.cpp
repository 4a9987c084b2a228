#include "bench/fileutil/song.h"

#include <fstream>

namespace bench {
namespace {

constexpr uint32_t kSampleBytes = 600; // AAC of 200 kbit/s
constexpr uint32_t kSamplesPerChunk = 21;

std::string full(const std::string& type, const std::string& payload) {
  return mp4_box(type, std::string(4, '\0') + payload);
}
std::string word(uint64_t number) { return big_endian(number, 4); }

std::string sample_table(uint32_t samples, uint32_t sample_bytes, uint64_t media) {
  const std::string entry = std::string(6, '\0') + big_endian(1, 2) + std::string(8, '\0') + big_endian(2, 2) +
                            big_endian(16, 2) + word(0) + word(44100u << 16);
  const uint32_t chunks = (samples + kSamplesPerChunk - 1) / kSamplesPerChunk;
  std::string sizes = word(0) + word(samples);
  for (uint32_t k = 0; k < samples; ++k)
    sizes += word(sample_bytes);
  std::string offsets = word(chunks);
  for (uint32_t k = 0; k < chunks; ++k)
    offsets += word(media + uint64_t{k} * kSamplesPerChunk * sample_bytes);
  return mp4_box("stbl", full("stsd", word(1) + mp4_box("mp4a", entry)) +
                             full("stts", word(1) + word(samples) + word(1024)) +
                             full("stsc", word(1) + word(1) + word(kSamplesPerChunk) + word(1)) + full("stsz", sizes) +
                             full("stco", offsets));
}

std::string user_data() {
  std::string items;
  for (const char* type : {"\251nam", "\251ART", "aART", "\251alb", "\251gen", "\251day", "\251cmt", "\251too"})
    items += mp4_box(type, mp4_box("data", word(1) + word(0) + "a text of some length"));
  return mp4_box("udta",
                 full("meta", full("hdlr", word(0) + "mdirappl" + std::string(9, '\0')) + mp4_box("ilst", items)));
}

} // namespace

std::string big_endian(uint64_t number, int width) {
  std::string bytes;
  for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
    bytes += static_cast<char>(number >> shift & 0xFF);
  return bytes;
}

std::string mp4_box(const std::string& type, const std::string& payload) {
  return word(8 + payload.size()) + type + payload;
}

std::string mp4_file_type() { return mp4_box("ftyp", "M4A " + word(0x200) + "M4A mp42isom"); }

std::string mp4_movie(uint32_t samples, uint32_t sample_bytes, uint64_t media) {
  const std::string minf = mp4_box("minf", full("smhd", word(0)) + sample_table(samples, sample_bytes, media));
  const std::string mdia =
      mp4_box("mdia", full("mdhd", std::string(8, '\0') + word(44100) + word(samples * 1024) + word(0)) +
                          full("hdlr", word(0) + "soun" + std::string(13, '\0')) + minf);
  const std::string trak = mp4_box("trak", full("tkhd", std::string(80, '\0')) + mdia);
  return mp4_box("moov", full("mvhd", std::string(96, '\0')) + trak + user_data());
}

Song write_song(const std::filesystem::path& path, uint64_t media_bytes, bool movie_first) {
  const std::string type = mp4_file_type();
  const auto samples = static_cast<uint32_t>(media_bytes / kSampleBytes);
  const uint64_t movie_bytes = mp4_movie(samples, kSampleBytes, 0).size();
  const std::string room = movie_first ? mp4_box("free", std::string(2000, '\0')) : "";
  const uint64_t media = type.size() + room.size() + (movie_first ? movie_bytes : 0) + 8;
  const std::string movie = mp4_movie(samples, kSampleBytes, media);
  const std::string header = word(8 + media_bytes) + "mdat";
  std::ofstream out(path, std::ios::binary);
  out << type << (movie_first ? movie : "") << room << header;
  out.seekp(static_cast<std::streamoff>(media + media_bytes));
  out << (movie_first ? "" : movie);
  out.close();
  std::filesystem::resize_file(path, media + media_bytes + (movie_first ? 0 : movie_bytes));
  const uint64_t at = movie_first ? type.size() : media + media_bytes;
  return {path, at, at + movie_bytes - user_data().size()};
}

} // namespace bench
