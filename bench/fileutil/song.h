// M4A files with the tables that their length asks for. Media is a hole in the file: nobody here reads it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace bench {

/// A box as its bytes.
std::string mp4_box(const std::string& type, const std::string& payload);
/// A number of `width` bytes, the high one first.
std::string big_endian(uint64_t number, int width);
/// "ftyp" of an M4A file.
std::string mp4_file_type();
/// "moov" of one AAC track with that many samples in chunks of 21, the first of which begins at `media`, with eight
/// items of metadata behind the track.
std::string mp4_movie(uint32_t samples, uint32_t sample_bytes, uint64_t media);

struct Song {
  std::filesystem::path path;
  uint64_t movie;     ///< where "moov" begins
  uint64_t user_data; ///< where "udta" begins in it
};

/// A file of about that many bytes, with `moov` in front of the media, where there is a "free" box too, or behind it.
Song write_song(const std::filesystem::path& path, uint64_t media_bytes, bool movie_first);

} // namespace bench
