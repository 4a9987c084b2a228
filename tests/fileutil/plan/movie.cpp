#include "tests/fileutil/plan/movie.h"

#include <stdexcept>

namespace fileutil_test {

namespace {

constexpr int kChunks = 4; // of a track
constexpr int kSamplesPerChunk = 2;

/// A sample of a track, other bytes and another length for each.
std::string sample(int track, int index) {
  return std::string(static_cast<size_t>(3 + 2 * track + index), static_cast<char>('A' + 16 * track + index));
}

std::string chunk(int track, int index) {
  return sample(track, kSamplesPerChunk * index) + sample(track, kSamplesPerChunk * index + 1);
}

} // namespace

std::string Movie::payload() {
  std::string bytes;
  for (int index = 0; index < kChunks; ++index)
    bytes += chunk(0, index) + chunk(1, index);
  return bytes;
}

std::string Movie::track(int number, uint64_t mediaStart) const {
  std::string offsets;
  std::string sizes;
  uint64_t position = mediaStart;
  for (int index = 0; index < kChunks; ++index) {
    const uint64_t own = position + (number == 0 ? 0 : chunk(0, index).size());
    offsets += be(own, hasWideOffsets ? 8 : 4);
    position += chunk(0, index).size() + chunk(1, index).size();
    for (int each = 0; each < kSamplesPerChunk; ++each)
      sizes += be32(sample(number, kSamplesPerChunk * index + each).size());
  }
  const std::string table = inTable + full("stts", be32(1) + be32(kChunks * kSamplesPerChunk) + be32(1024)) +
                            full("stsc", be32(1) + be32(1) + be32(kSamplesPerChunk) + be32(1)) +
                            full("stsz", be32(0) + be32(kChunks * kSamplesPerChunk) + sizes) +
                            full(hasWideOffsets ? "co64" : "stco", be32(kChunks) + offsets);
  return box("trak", inTrack + full("tkhd", std::string(80, '\1')) +
                         box("mdia", full("mdhd", std::string(20, '\2')) + box("minf", box("stbl", table))));
}

std::string Movie::movie(uint64_t mediaStart) const {
  const std::string item = box("\251nam", box("data", be32(1) + be32(0) + title));
  const std::string meta =
      full("meta", full("hdlr", be32(0) + "mdirappl" + std::string(9, '\0')) + box("ilst", item + behindTitle));
  return box("moov", inMovie + full("mvhd", std::string(96, '\3')) + track(0, mediaStart) + track(1, mediaStart) +
                         box("udta", meta + endOfUserData));
}

uint64_t Movie::mediaStart() const {
  const uint64_t before =
      box("ftyp", "M4A isom").size() + behindType.size() + room + (mediaHeader.empty() ? 8 : mediaHeader.size());
  return before + (isMovieFirst ? movie(0).size() + behindMovie.size() : 0);
}

std::string Movie::make() const {
  const std::string type = box("ftyp", "M4A isom") + behindType;
  const std::string header = mediaHeader.empty() ? be32(8 + payload().size()) + "mdat" : mediaHeader;
  const std::string free = room == 0 ? "" : box("free", std::string(room - 8, '\0'));
  const std::string media = free + header + payload() + behindMedia;
  const std::string inside = movie(mediaStart()) + behindMovie;
  return type + (isMovieFirst ? inside + media : media + inside);
}

// ---- a reader of its own -------------------------------------------------------------------------------------------

namespace {

uint64_t number(const std::string& bytes, size_t at, size_t width) {
  if (at + width > bytes.size()) throw std::runtime_error("past the end");
  uint64_t value = 0;
  for (size_t k = 0; k < width; ++k)
    value = value << 8 | static_cast<uint8_t>(bytes[at + k]);
  return value;
}

/// Payloads of the boxes of one type in a payload.
std::vector<std::string> inside(const std::string& bytes, const std::string& type) {
  std::vector<std::string> found;
  for (size_t at = 0; at + 8 <= bytes.size();) {
    const uint64_t shortSize = number(bytes, at, 4);
    const size_t header = shortSize == 1 ? 16 : 8;
    const uint64_t size = shortSize == 1 ? number(bytes, at + 8, 8) : shortSize == 0 ? bytes.size() - at : shortSize;
    if (size < header) break;
    if (bytes.compare(at + 4, 4, type) == 0) found.push_back(bytes.substr(at + header, size - header));
    if (size >= bytes.size() - at) break;
    at += size;
  }
  return found;
}

std::vector<std::string> samplesOfTrack(const std::string& file, const std::string& track) {
  const std::string table = inside(inside(inside(track, "mdia").at(0), "minf").at(0), "stbl").at(0);
  const auto wide = inside(table, "co64");
  const std::string offsets = wide.empty() ? inside(table, "stco").at(0) : wide.at(0);
  const std::string chunks = inside(table, "stsc").at(0);
  const std::string sizes = inside(table, "stsz").at(0);
  std::vector<std::string> samples;
  size_t entry = 0;
  size_t next = 0; // sample
  for (uint64_t index = 0; index < number(offsets, 4, 4); ++index) {
    while (entry + 1 < number(chunks, 4, 4) && number(chunks, 8 + 12 * (entry + 1), 4) <= index + 1)
      ++entry;
    uint64_t at = number(offsets, 8 + index * (wide.empty() ? 4 : 8), wide.empty() ? 4 : 8);
    for (uint64_t left = number(chunks, 8 + 12 * entry + 4, 4); left > 0; --left, ++next) {
      const uint64_t size = number(sizes, 4, 4) != 0 ? number(sizes, 4, 4) : number(sizes, 12 + 4 * next, 4);
      samples.push_back(at <= file.size() ? file.substr(at, size) : "outside");
      at += size;
    }
  }
  return samples;
}

} // namespace

std::vector<std::string> samplesOf(const std::string& file) {
  std::vector<std::string> samples;
  for (const std::string& movie : inside(file, "moov"))
    for (const std::string& track : inside(movie, "trak")) {
      const std::vector<std::string> own = samplesOfTrack(file, track);
      samples.insert(samples.end(), own.begin(), own.end());
    }
  return samples;
}

} // namespace fileutil_test
