#include "tools/qv/mp4/mp4_summary.h"

#include "tools/qv/failure.h"
#include "tools/qv/mp4/box_file.h"
#include "tools/qv/mp4/codec_names.h"
#include "tools/qv/mp4/raw_boxes.h"
#include "tools/qv/mp4/tag/tag_texts.h"
#include "tools/qv/mp4/track/chapters.h"
#include "tools/qv/mp4/track/fragments.h"
#include "tools/qv/mp4/track/track_summary.h"
#include "tools/qv/text.h"

#include "qv/mp4/update.h"

#include <algorithm>

namespace qv::tool {

namespace {

using namespace fileutil;

constexpr uint64_t kMostHeaderBytes = 64 << 10;
constexpr size_t kMostTracks = 1000;

void read_brands(const Boxes& boxes, Mp4Summary& summary) {
  const auto* const brands = dynamic_cast<const FileTypeBox*>(boxes.find(QvFourCC("ftyp")));
  if (brands) {
    summary.major_brand = brands->majorBrand;
    summary.brands = brands->compatibleBrands;
    for (const uint8_t byte : brands->minorVersion)
      summary.minor_version = summary.minor_version << 8 | byte;
  }
  summary.container = container_name(summary.major_brand);
}

/// A movie under way to its summary.
class MovieReader {
public:
  MovieReader(const Mp4File& file, Boxes& boxes, Mp4Summary& summary)
      : file_(file), boxes_(boxes), summary_(summary), movie_(boxes.find(QvFourCC("moov"))),
        times_(parse_media_times(payload_of({QvFourCC("mvhd")}))), fragments_(payload_of({QvFourCC("mvex")})) {}

  void read() {
    for (IBox* const box : boxes_)
      if (box->type() == QvFourCC("moof")) fragments_.add(file_, *box);
    summary_.fragments = fragments_.count();
    if (!movie_) return read_fragments_alone();
    read_tracks();
    read_chapters();
    summary_.duration =
        duration_from_units(times_.units != 0 ? times_.units : fragments_.movie_units(), times_.timescale);
    if (summary_.duration != 0) return;
    for (const Mp4Track& track : summary_.tracks)
      summary_.duration = std::max(summary_.duration, track.duration);
  }

private:
  std::string payload_of(std::initializer_list<FourCC> path) const {
    const IBox* const box = movie_ ? box_at(*movie_, path) : nullptr;
    return box ? file_.payload(*box, kMostHeaderBytes) : std::string();
  }

  void read_tracks() {
    const auto* const movie = dynamic_cast<const IContainerBox*>(movie_);
    if (!movie) return;
    for (const IBox* const box : movie->children()) {
      if (box->type() != QvFourCC("trak") || traks_.size() == kMostTracks) continue;
      Mp4Track track = read_track(file_, *box, summary_.warnings);
      const FragmentSum more = fragments_.of_track(track.id);
      track.samples += more.samples;
      track.bytes += more.bytes;
      if (more.media_units != 0) track.media_units = std::max(track.media_units, more.media_units);
      finish_track(file_, *box, times_.timescale, track);
      traks_.push_back(box);
      summary_.tracks.push_back(std::move(track));
    }
  }

  /// A segment of a stream: what its tracks are is said elsewhere.
  void read_fragments_alone() {
    summary_.warnings.emplace_back("it has fragments of a movie, but no \"moov\" box that describes their tracks");
    for (const auto& [id, sum] : fragments_.tracks()) {
      Mp4Track track;
      track.id = id;
      track.samples = sum.samples;
      track.bytes = sum.bytes;
      summary_.tracks.push_back(std::move(track));
    }
  }

  void read_chapters() {
    for (const Mp4Track& track : summary_.tracks)
      for (const uint32_t id : track.chapter_tracks)
        if (summary_.chapters.empty()) read_chapter_track(id);
    if (!summary_.chapters.empty()) return;
    summary_.chapters = listed_chapters(payload_of({QvFourCC("udta"), QvFourCC("chpl")}));
  }

  void read_chapter_track(uint32_t id) {
    for (size_t k = 0; k < traks_.size(); ++k) {
      const Mp4Track& track = summary_.tracks[k];
      if (track.id != id || track.handler == QvFourCC("vide")) continue; // that would be pictures for them
      summary_.chapters = track_chapters(file_, *traks_[k], track.timescale);
      return;
    }
  }

  const Mp4File& file_;
  Boxes& boxes_;
  Mp4Summary& summary_;
  const IBox* movie_;
  MediaTimes times_;
  Fragments fragments_;
  std::vector<const IBox*> traks_;
};

} // namespace

uint64_t duration_from_units(uint64_t units, uint32_t timescale) {
  constexpr uint64_t kPerSecond = 10'000'000;
  if (timescale == 0 || units / timescale >= UINT64_MAX / kPerSecond) return 0;
  return units / timescale * kPerSecond + units % timescale * kPerSecond / timescale;
}

Mp4Summary read_mp4_summary(const std::string& name) {
  const Mp4File file(name);
  const Mp4File::Tree tree = file.read_tree();
  Boxes& boxes = *tree.boxes;
  if (!boxes.find(QvFourCC("moov")) && !boxes.find(QvFourCC("moof")))
    throw Failure(name, "the file has no \"moov\" box: nothing describes its tracks");
  Mp4Summary summary;
  summary.name = name;
  read_brands(boxes, summary);
  MovieReader(file, boxes, summary).read();
  read_tags(file, boxes, summary);
  for (std::string& problem : damage_of(boxes))
    summary.warnings.push_back(std::move(problem));
  if (fileutil::hasBrokenUpdate(path_from(name).c_str()))
    summary.warnings.emplace_back("an update of it was broken off; \"qv tag --recover\" finishes it or takes it back");
  if (!tree.is_whole) summary.warnings.emplace_back("it has more boxes than are looked at");
  return summary;
}

} // namespace qv::tool
