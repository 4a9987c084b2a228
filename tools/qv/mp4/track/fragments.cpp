#include "tools/qv/mp4/track/fragments.h"

#include "tools/qv/mp4/raw_boxes.h"

namespace qv::tool {

namespace {

/// Of a fragment: a minute of video has a hundredth of it.
constexpr uint64_t kMostFragmentBytes = 4 << 20;
constexpr size_t kMostTracks = 1024;

uint32_t take_flags(ChunkBytes& fields) { return fields.word<DWORD>() & 0xFFFFFF; }

uint64_t parse_mehd(std::string_view payload) {
  ChunkBytes fields = big_endian(payload);
  const bool is_long = fields.byte() == 1;
  fields.take(3);
  return is_long ? fields.word<uint64_t>() : fields.word<DWORD>();
}

struct TrackFragment {
  uint32_t id = 0;
  bool has_duration = false;
  bool has_bytes = false;
  FragmentDefaults defaults;
};

TrackFragment parse_tfhd(std::string_view payload) {
  ChunkBytes fields = big_endian(payload);
  const uint32_t flags = take_flags(fields);
  TrackFragment track;
  track.id = fields.word<DWORD>();
  if ((flags & 0x1) != 0) fields.take(8); // base data offset
  if ((flags & 0x2) != 0) fields.take(4); // sample description
  track.has_duration = (flags & 0x8) != 0;
  track.has_bytes = (flags & 0x10) != 0;
  if (track.has_duration) track.defaults.sample_duration = fields.word<DWORD>();
  if (track.has_bytes) track.defaults.sample_bytes = fields.word<DWORD>();
  return track;
}

/// A count that the bytes behind it do not hold is no reason to go round that often.
void add_run(std::string_view trun, const FragmentDefaults& defaults, FragmentSum& sum) {
  ChunkBytes fields = big_endian(trun);
  const uint32_t flags = take_flags(fields);
  const uint64_t count = fields.word<DWORD>();
  if ((flags & 0x1) != 0) fields.take(4); // data offset
  if ((flags & 0x4) != 0) fields.take(4); // flags of the first sample
  const bool has_duration = (flags & 0x100) != 0, has_bytes = (flags & 0x200) != 0;
  sum.samples += count;
  if (!has_duration) sum.media_units += count * defaults.sample_duration;
  if (!has_bytes) sum.bytes += count * defaults.sample_bytes;
  const size_t more = ((flags & 0x400) != 0 ? 4 : 0) + ((flags & 0x800) != 0 ? 4 : 0);
  if (!has_duration && !has_bytes) return;
  for (uint64_t k = 0; k < count && !fields.is_short(); ++k) {
    if (has_duration) sum.media_units += fields.word<DWORD>();
    if (has_bytes) sum.bytes += fields.word<DWORD>();
    fields.take(more);
  }
}

} // namespace

Fragments::Fragments(std::string_view mvex) {
  RawBoxes boxes(mvex);
  while (const auto box = boxes.next()) {
    if (box->type == QvFourCC("mehd")) movie_units_ = parse_mehd(box->payload);
    if (box->type != QvFourCC("trex")) continue;
    ChunkBytes fields = big_endian(box->payload);
    fields.take(4);
    const DWORD id = fields.word<DWORD>();
    fields.take(4);
    const DWORD duration = fields.word<DWORD>();
    defaults_[id] = {duration, fields.word<DWORD>()};
  }
}

void Fragments::add(const Mp4File& file, const fileutil::IBox& moof) {
  ++count_;
  const std::string payload = file.payload(moof, kMostFragmentBytes);
  RawBoxes boxes(payload);
  while (const auto box = boxes.next())
    if (box->type == QvFourCC("traf")) add_track(box->payload);
}

void Fragments::add_track(std::string_view traf) {
  const auto header = find_raw(traf, QvFourCC("tfhd"));
  if (!header) return;
  TrackFragment track = parse_tfhd(*header);
  const auto stored = defaults_.find(track.id);
  const FragmentDefaults defaults = stored == defaults_.end() ? FragmentDefaults() : stored->second;
  if (!track.has_duration) track.defaults.sample_duration = defaults.sample_duration;
  if (!track.has_bytes) track.defaults.sample_bytes = defaults.sample_bytes;
  if (sums_.size() >= kMostTracks && !sums_.contains(track.id)) return;
  RawBoxes boxes(traf);
  while (const auto box = boxes.next())
    if (box->type == QvFourCC("trun")) add_run(box->payload, track.defaults, sums_[track.id]);
}

FragmentSum Fragments::of_track(uint32_t id) const {
  const auto found = sums_.find(id);
  return found == sums_.end() ? FragmentSum() : found->second;
}

} // namespace qv::tool
