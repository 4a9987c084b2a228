#include "tools/qv/mp4/track/track_summary.h"

#include "tools/qv/mp4/codec_names.h"
#include "tools/qv/mp4/raw_boxes.h"
#include "tools/qv/mp4/track/audio_config.h"
#include "tools/qv/mp4/track/sample_bytes.h"

#include <algorithm>
#include <limits>

namespace qv::tool {

namespace {

using fileutil::FourCC;
using fileutil::IBox;

constexpr uint64_t kMostSmallBox = 64 << 10;
constexpr uint32_t kMpegAudio = 0x6B; ///< an object type indication

std::string payload_at(const Mp4File& file, const IBox& parent, std::initializer_list<FourCC> path,
                       uint64_t limit = kMostSmallBox) {
  const IBox* const box = box_at(parent, path);
  return box ? file.payload(*box, limit) : std::string();
}

uint32_t parse_track_id(std::string_view tkhd) {
  ChunkBytes fields = big_endian(tkhd);
  const bool is_long = fields.byte() == 1;
  fields.take(3 + (is_long ? 16 : 8));
  return fields.word<DWORD>();
}

FourCC parse_handler(std::string_view hdlr) {
  ChunkBytes fields = big_endian(hdlr);
  fields.take(8);
  return take_code(fields);
}

/// The ids of the tracks that hold this one's chapters: "chap" in "tref".
std::vector<uint32_t> parse_chapter_tracks(std::string_view tref) {
  std::vector<uint32_t> ids;
  ChunkBytes list = big_endian(find_raw(tref, QvFourCC("chap")).value_or(""));
  while (list.rest().size() >= 4)
    ids.push_back(list.word<DWORD>());
  return ids;
}

/// What the edits of a track present, in units of the movie's timescale; nothing where there are none, or one, of a
/// length of 0, goes on to the media's end: `skipped` are the media's units in front of that.
std::optional<uint64_t> parse_edits(std::string_view elst, uint64_t& skipped) {
  ChunkBytes fields = big_endian(elst);
  const bool is_long = fields.byte() == 1;
  fields.take(3);
  uint64_t count = fields.word<DWORD>();
  std::optional<uint64_t> presented;
  for (; count > 0; --count) {
    const uint64_t units = is_long ? fields.word<uint64_t>() : fields.word<DWORD>();
    const int64_t start =
        is_long ? static_cast<int64_t>(fields.word<uint64_t>()) : static_cast<int32_t>(fields.word<DWORD>());
    fields.take(4);
    if (fields.is_short()) break;
    if (start < 0) continue; // nothing is presented
    if (units == 0) {
      skipped = static_cast<uint64_t>(start);
      return std::nullopt;
    }
    presented = presented.value_or(0) + units;
  }
  return presented;
}

} // namespace

MediaTimes parse_media_times(std::string_view payload) {
  ChunkBytes fields = big_endian(payload);
  const bool is_long = fields.byte() == 1;
  fields.take(3 + (is_long ? 16 : 8));
  MediaTimes times;
  times.timescale = fields.word<DWORD>();
  times.units = is_long ? fields.word<uint64_t>() : fields.word<DWORD>();
  times.language = fields.word<WORD>();
  const uint64_t unknown = is_long ? std::numeric_limits<uint64_t>::max() : std::numeric_limits<DWORD>::max();
  if (times.units == unknown) times.units = 0;
  return times;
}

const IBox* box_at(const IBox& parent, std::initializer_list<FourCC> path) {
  const IBox* box = &parent;
  for (const FourCC type : path) {
    const auto* const container = dynamic_cast<const fileutil::IContainerBox*>(box);
    box = container ? container->children().find(type) : nullptr;
    if (!box) return nullptr;
  }
  return box;
}

Mp4Track read_track(const Mp4File& file, const IBox& trak, std::vector<std::string>& warnings) {
  Mp4Track track;
  track.id = parse_track_id(payload_at(file, trak, {QvFourCC("tkhd")}));
  const MediaTimes times = parse_media_times(payload_at(file, trak, {QvFourCC("mdia"), QvFourCC("mdhd")}));
  track.timescale = times.timescale;
  track.media_units = times.units;
  track.language = language_code(times.language);
  track.handler = parse_handler(payload_at(file, trak, {QvFourCC("mdia"), QvFourCC("hdlr")}));
  track.chapter_tracks = parse_chapter_tracks(payload_at(file, trak, {QvFourCC("tref")}));
  const IBox* const table = box_at(trak, {QvFourCC("mdia"), QvFourCC("minf"), QvFourCC("stbl")});
  if (!table) {
    warnings.push_back("track " + std::to_string(track.id) + " has no table of samples");
    return track;
  }
  track.format = parse_sample_format(payload_at(file, *table, {QvFourCC("stsd")}), track.handler);
  if (track.format.codec_name == object_type_name(kMpegAudio) || track.format.codec == QvFourCC(".mp3"))
    for (const SamplePlace& first : sample_places(file, *table, 1))
      apply_mpeg_frame(file.bytes_at(first.position, 4), track.format);
  const SampleBytes samples = count_samples(file, *table);
  track.samples = samples.count;
  track.bytes = samples.bytes;
  for (const std::string& problem : samples.problems)
    warnings.push_back("track " + std::to_string(track.id) + ": " + problem);
  return track;
}

void finish_track(const Mp4File& file, const IBox& trak, uint32_t movie_timescale, Mp4Track& track) {
  uint64_t skipped = 0;
  const IBox* const edits = box_at(trak, {QvFourCC("edts")});
  const std::string bytes = edits ? file.payload(*edits, kMostSmallBox) : std::string();
  const auto presented = parse_edits(find_raw(bytes, QvFourCC("elst")).value_or(""), skipped);
  const uint64_t units = track.media_units - std::min(skipped, track.media_units);
  track.duration =
      presented ? duration_from_units(*presented, movie_timescale) : duration_from_units(units, track.timescale);
  const double seconds = static_cast<double>(duration_from_units(track.media_units, track.timescale)) / 1e7;
  const double bit_rate = seconds > 0 ? static_cast<double>(track.bytes) * 8 / seconds : 0;
  track.bit_rate = bit_rate >= 1 && bit_rate < 4294967296.0 ? static_cast<uint32_t>(bit_rate) : track.format.bit_rate;
}

} // namespace qv::tool
