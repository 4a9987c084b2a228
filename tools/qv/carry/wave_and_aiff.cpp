// Metadata between wave files (RIFF, RF64, Wave64) and AIFF, whose other chunks say the same, and out of RIFX.
#include "tools/qv/carry/carried_metadata.h"
#include "tools/qv/carry/chunk_rules.h"
#include "tools/qv/metadata/info_list.h"
#include "tools/qv/metadata/markers.h"
#include "tools/qv/metadata/sampler.h"
#include "tools/qv/metadata/text_fields.h"
#include "tools/qv/text.h"

#include <algorithm>

namespace qv::tool {

namespace {

constexpr DWORD kWaveId3 = QvFourCC("id3 ");
constexpr DWORD kAiffId3 = QvFourCC("ID3 ");

void scale(std::vector<Marker>& markers, RateRatio rate) {
  for (Marker& marker : markers) {
    const uint64_t end = rate.scaled(marker.position + marker.length.value_or(0));
    marker.position = rate.scaled32(marker.position);
    if (marker.length) marker.length = static_cast<DWORD>(end - std::min(end, marker.position));
  }
}

void scale(Sampler& sampler, RateRatio rate) {
  for (SampleLoop& loop : sampler.loops) {
    loop.start = rate.scaled32(loop.start);
    loop.end = std::max<uint64_t>(rate.scaled32(loop.end), loop.start + 1);
  }
}

/// Both, at the new rate.
struct Positions {
  MarkerList list;
  std::optional<Sampler> sampler;
};

Positions positions_of(const AudioFile& source, RateRatio rate) {
  Positions positions;
  positions.list = read_markers(source, kMaxMarks - 4); // a sampler's loops need four
  positions.sampler = read_sampler(source, positions.list.markers);
  scale(positions.list.markers, rate);
  if (positions.sampler) scale(*positions.sampler, rate);
  return positions;
}

void add(Carried& carried, DWORD id, std::string data) {
  if (!data.empty()) add_chunk(carried.chunks.behind_audio, id, std::move(data));
}

/// Copies an ID3 tag, which both families have, and names what neither the output nor any of its chunks can say.
void take_others(Carried& carried, LeftOut& left_out, const AudioFile& source, DWORD id3_from, DWORD id3_to,
                 bool (*is_mapped)(DWORD id, const ChunkEntry& entry)) {
  for (const ChunkEntry& entry : source.chunks) {
    const DWORD id = source.kind == Container::kWave64 ? as_riff_id(entry.id) : entry.id;
    if (chunk_rule(id, entry.list_type, is_aiff(source.kind)).carry == Carry::kNever || is_mapped(id, entry)) continue;
    // Fields of iXML are texts, in whatever byte order the numbers are.
    if (id == id3_from || (source.is_big_endian && id == QvFourCC("iXML")))
      carried.chunks.behind_audio.push_back(copied_chunk(source, entry, id == id3_from ? id3_to : id));
    else
      left_out.add(named(entry, id));
  }
}

/// Numbers the markers as AIFF wants it, from 1 on, and names what it cannot say of them.
void fit_to_aiff(std::vector<Marker>& markers, LeftOut& left_out) {
  DWORD id = 0;
  for (Marker& marker : markers) {
    marker.id = ++id;
    if (marker.length) left_out.add("the lengths of regions");
    if (!marker.region.empty()) left_out.add("the texts of regions");
    if (marker.name.size() > kMaxMarkName) left_out.add("what is longer than 255 bytes of a marker's name");
    if (marker.note.size() > 0xFFFF) left_out.add("what is longer than 64 KiB of a note");
  }
}

void name_what_inst_lacks(const Sampler& sampler, LeftOut& left_out) {
  if (sampler.loops.size() > 2) left_out.add("loops behind the second");
  for (const SampleLoop& loop : sampler.loops) {
    if (loop.kind > LoopKind::kAlternating) left_out.add("that a loop is played backward");
    if (loop.count != 0) left_out.add("how often a loop is played");
  }
}

void texts_to_wave(Carried& carried, const AudioFile& source, const MarkerList& markers, Container container) {
  const InfoList list = read_info_list(source);
  if (!list.problem.empty()) carried.warnings.push_back("of its texts not all are kept: " + list.problem);
  std::vector<std::pair<DWORD, std::string>> texts;
  for (const InfoItem& item : list.items)
    texts.emplace_back(is_aiff(source.kind) ? info_id_for_aiff(item.id) : item.id, item.text);
  for (const std::string& comment : markers.comments)
    texts.emplace_back(QvFourCC("ICMT"), comment);
  add_texts(carried.chunks, texts, container);
}

// The chunks that are read into texts, markers and sampler data.

bool is_mapped_to_aiff(DWORD id, const ChunkEntry& entry) {
  const bool is_mapped_list = entry.list_type == QVSUMMARY_FORM_INFO || entry.list_type == QVRIFF_LIST_ADTL;
  return is_mapped_list || id == kSummaryListGuid.Data1 || id == QVRIFF_ID_CUE || id == QvFourCC("smpl") ||
         id == QvFourCC("inst") || id == QvFourCC("CSET");
}

bool is_mapped_to_wave(DWORD id, const ChunkEntry&) {
  return is_aiff_text(id) || id == QvFourCC("MARK") || id == QvFourCC("INST") || id == QvFourCC("COMT");
}

} // namespace

void texts_to_aiff(Carried& carried, LeftOut& left_out, const AudioFile& source) {
  const InfoList list = read_info_list(source);
  if (!list.problem.empty()) carried.warnings.push_back("of its texts not all are kept: " + list.problem);
  for (const InfoItem& item : list.items) {
    const DWORD id = aiff_id_for_info(item.id);
    if (id == 0)
      left_out.add("the text " + printable_code(item.id));
    else
      add(carried, id, item.text);
  }
}

Carried wave_to_aiff(const AudioFile& source, const AudioChange& change) {
  Carried carried;
  LeftOut left_out;
  texts_to_aiff(carried, left_out, source);
  Positions positions = positions_of(source, change.rate);
  MarkerList& list = positions.list;
  if (!list.problem.empty()) carried.warnings.push_back(list.problem);
  fit_to_aiff(list.markers, left_out);
  std::string instrument;
  if (positions.sampler) {
    name_what_inst_lacks(*positions.sampler, left_out);
    instrument = aiff_inst_data(*positions.sampler, list.markers);
  }
  if (!list.markers.empty()) add(carried, QvFourCC("MARK"), mark_data(list.markers));
  add(carried, QvFourCC("INST"), instrument);
  add(carried, QvFourCC("COMT"), comment_data(list));
  take_others(carried, left_out, source, kWaveId3, kAiffId3, is_mapped_to_aiff);
  left_out.report("left out, because AIFF has nothing like it", carried.warnings);
  return carried;
}

Carried big_endian_to_wave(const AudioFile& source, Container container, const AudioChange& change) {
  Carried carried;
  LeftOut left_out;
  const Positions positions = positions_of(source, change.rate);
  const MarkerList& list = positions.list;
  if (!list.problem.empty()) carried.warnings.push_back(list.problem);
  if (!list.markers.empty()) add(carried, QVRIFF_ID_CUE, cue_data(list.markers));
  add(carried, QVRIFF_ID_LIST, label_list_data(list.markers));
  if (positions.sampler) {
    add(carried, QvFourCC("smpl"), smpl_data(*positions.sampler, change.rate.to));
    if (positions.sampler->range) add(carried, QvFourCC("inst"), inst_data(*positions.sampler));
  }
  texts_to_wave(carried, source, list, container);
  if (is_aiff(source.kind)) {
    take_others(carried, left_out, source, kAiffId3, kWaveId3, is_mapped_to_wave);
    left_out.report("left out, because a wave file has nothing like it", carried.warnings);
  } else {
    take_others(carried, left_out, source, kWaveId3, kWaveId3, is_mapped_to_aiff);
    left_out.report("left out, because their numbers may be big-endian", carried.warnings);
  }
  return carried;
}

} // namespace qv::tool
