// What qv info shows as JSON.
#include "tools/qv/command/info_report.h"
#include "tools/qv/text.h"

namespace qv::tool {

namespace {

Json chunk_json(const ChunkEntry& chunk) {
  Json json = Json::object({{"id", code_text(chunk.id)}, {"offset", chunk.offset}, {"size", chunk.size}});
  if (chunk.list_type != 0) json.set("list_type", code_text(chunk.list_type));
  return json;
}

Json marker_json(const Marker& marker) {
  Json json = Json::object({{"id", marker.id}, {"position", marker.position}, {"name", marker.name}});
  if (!marker.note.empty()) json.set("note", marker.note);
  if (marker.length) json.set("length", *marker.length);
  if (!marker.region.empty()) json.set("region", marker.region);
  return json;
}

Json broadcast_json(const Broadcast& record, const Timecode& timecode) {
  Json json = Json::object({});
  for (int k = 0; k < kBroadcastFields; ++k) {
    const auto field = static_cast<BroadcastField>(k);
    const std::string text = record.text(field);
    if (!text.empty() && field != BroadcastField::kTimeReference) json.set(broadcast_field_name(field), text);
  }
  json.set(broadcast_field_name(BroadcastField::kTimeReference), record.time_reference());
  json.set("timecode", timecode.label);
  json.set("timecode_rate", timecode.rate);
  return json;
}

Json sampler_json(const Sampler& sampler) {
  Json loops = Json::array();
  for (const SampleLoop& loop : sampler.loops)
    loops.push_back(Json::object(
        {{"kind", loop_kind_text(loop.kind)}, {"start", loop.start}, {"end", loop.end}, {"count", loop.count}}));
  Json json = Json::object({{"note", sampler.note}, {"cents", sampler.cents}, {"loops", loops}});
  if (!sampler.range) return json;
  json.set("low_note", sampler.range->low_note);
  json.set("high_note", sampler.range->high_note);
  json.set("low_velocity", sampler.range->low_velocity);
  json.set("high_velocity", sampler.range->high_velocity);
  json.set("gain_db", sampler.range->gain_db);
  return json;
}

/// Texts and markers, and what else the file has of such things.
void set_metadata(Json& json, const FileMetadata& metadata) {
  Json summary = Json::object({});
  Json texts = Json::array();
  for (const InfoItem& item : metadata.texts.items) {
    const std::string id = code_text(item.id);
    texts.push_back(Json::object({{"id", id}, {"text", item.text}}));
    if (!summary.find(id)) summary.set(id, item.text); // the first counts
  }
  Json markers = Json::array();
  for (const Marker& marker : metadata.markers.markers)
    markers.push_back(marker_json(marker));
  Json ixml = Json::array();
  for (const auto& [path, text] : metadata.ixml.fields)
    ixml.push_back(Json::object({{"field", path}, {"text", text}}));
  json.set("summary", std::move(summary));
  json.set("texts", std::move(texts));
  json.set("markers", std::move(markers));
  if (!metadata.markers.comments.empty()) json.set("comments", metadata.markers.comments);
  if (metadata.broadcast) json.set("bext", broadcast_json(*metadata.broadcast, *metadata.timecode));
  if (!metadata.ixml.fields.empty()) json.set("ixml", std::move(ixml));
  if (metadata.sampler) json.set("sampler", sampler_json(*metadata.sampler));
  if (!metadata.id3.version.empty()) json.set("id3", id3_json(metadata.id3));
}

} // namespace

Json id3_json(const Id3Tag& tag) {
  Json frames = Json::array();
  for (const Id3Frame& frame : tag.frames)
    frames.push_back(Json::object({{"id", frame.id}, {"size", frame.size}, {"text", frame.text}}));
  return Json::object({{"version", tag.version}, {"frames", frames}});
}

Json info_json(const AudioFile& audio, const FileMetadata& metadata) {
  const _qvwaveformat& format = audio.format();
  Json chunks = Json::array();
  for (const ChunkEntry& chunk : audio.chunks)
    chunks.push_back(chunk_json(chunk));
  Json json = Json::object({{"file", audio.name},
                            {"container", audio.container},
                            {"format_text", format_text(format.FormatTag(), audio.wave_header())},
                            {"sample_type", static_cast<uint32_t>(format.sampleType)},
                            {"sample_type_text", sample_type_text(format.sampleType)},
                            {"format_tag", format.FormatTag()},
                            {"sample_rate", format.samplesPerSec},
                            {"channels", format.channels},
                            {"channel_mask", format.channelMask},
                            {"bits", format.BitsPerSample()},
                            {"block_align", format.blockAlign},
                            {"frames", audio.frames},
                            {"duration_100ns", duration_of(audio)},
                            {"chunks", chunks}});
  set_metadata(json, metadata);
  return json;
}

} // namespace qv::tool
