// What qv info shows as text, a line each.
#include "tools/qv/command/info_report.h"
#include "tools/qv/text.h"

#include <cstdio>
#include <iostream>

namespace qv::tool {

namespace {

constexpr int kTextCapacity = 256;

std::string mask_text(DWORD mask) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", static_cast<unsigned>(mask));
  return mask == 0 ? "default" : text;
}

void print_chunk(const ChunkEntry& chunk) {
  char place[64];
  std::snprintf(place, sizeof place, " at %llu, %llu bytes", static_cast<unsigned long long>(chunk.offset),
                static_cast<unsigned long long>(chunk.size));
  const std::string type = chunk.list_type == 0 ? "" : " of type \"" + printable_code(chunk.list_type) + "\"";
  print_line("chunk", "\"" + printable_code(chunk.id) + "\"" + type + place);
}

void print_marker(const Marker& marker) {
  std::string line = std::to_string(marker.id) + " at frame " + std::to_string(marker.position);
  if (marker.length) line += ", " + std::to_string(*marker.length) + " frames long";
  if (!marker.name.empty()) line += ": " + printable(marker.name);
  if (!marker.region.empty()) line += " (region: " + printable(marker.region) + ")";
  if (!marker.note.empty()) line += " (note: " + printable(marker.note) + ")";
  print_line("marker", line);
}

void print_broadcast(const Broadcast& record, const Timecode& timecode) {
  for (int k = 0; k < kBroadcastFields; ++k) {
    const auto field = static_cast<BroadcastField>(k);
    std::string text = printable(record.text(field));
    if (field == BroadcastField::kTimeReference)
      text += " (timecode " + timecode.label + " at " + timecode.rate + " frames per second)";
    if (!text.empty()) print_line("bext", broadcast_field_name(field) + (": " + text));
  }
}

void print_sampler(const Sampler& sampler) {
  std::string line = "note " + std::to_string(sampler.note) + ", tuned by " + std::to_string(sampler.cents) + " cents";
  if (const auto& range = sampler.range)
    line += ", for notes " + std::to_string(range->low_note) + " to " + std::to_string(range->high_note) +
            " and velocities " + std::to_string(range->low_velocity) + " to " + std::to_string(range->high_velocity) +
            ", " + std::to_string(range->gain_db) + " dB";
  print_line("sampler", line);
  for (const SampleLoop& loop : sampler.loops)
    print_line("loop", loop_kind_text(loop.kind) + ", frames " + std::to_string(loop.start) + " to " +
                           std::to_string(loop.end) + ", " +
                           (loop.count == 0 ? "for ever" : std::to_string(loop.count) + " times"));
}

void print_metadata(const FileMetadata& metadata) {
  for (const InfoItem& item : metadata.texts.items)
    print_line("summary", printable_code(item.id) + ": " + printable(item.text));
  if (metadata.broadcast) print_broadcast(*metadata.broadcast, *metadata.timecode);
  for (const auto& [path, text] : metadata.ixml.fields)
    print_line("ixml", printable(path) + ": " + printable(text));
  for (const Marker& marker : metadata.markers.markers)
    print_marker(marker);
  for (const std::string& comment : metadata.markers.comments)
    print_line("comment", printable(comment));
  if (metadata.sampler) print_sampler(*metadata.sampler);
  print_id3(metadata.id3);
}

} // namespace

std::string duration_text(uint64_t duration) {
  const uint64_t milliseconds = duration / 10'000;
  char text[48];
  std::snprintf(text, sizeof text, "%02llu:%02u:%02u.%03u", static_cast<unsigned long long>(milliseconds / 3'600'000),
                static_cast<unsigned>(milliseconds / 60'000 % 60), static_cast<unsigned>(milliseconds / 1000 % 60),
                static_cast<unsigned>(milliseconds % 1000));
  return text;
}

void print_line(const char* label, const std::string& value) {
  char line[32];
  std::snprintf(line, sizeof line, "  %-14s", label);
  std::cout << line << printable(value) << "\n";
}

void print_id3(const Id3Tag& tag) {
  for (const Id3Frame& frame : tag.frames)
    print_line("id3",
               frame.id + ": " + (frame.text.empty() ? std::to_string(frame.size) + " bytes" : printable(frame.text)));
}

std::string sample_type_text(QVSAMPLETYPE type) {
  WCHAR text[kTextCapacity] = {};
  QvAudio_GetSampleTypeText(type, text, kTextCapacity);
  return utf8(text);
}

std::string loop_kind_text(LoopKind kind) {
  switch (kind) {
  case LoopKind::kForward: return "forward";
  case LoopKind::kAlternating: return "alternating";
  case LoopKind::kBackward: return "backward";
  }
  return std::to_string(static_cast<DWORD>(kind));
}

void print_info(const AudioFile& audio, const FileMetadata& metadata) {
  const _qvwaveformat& format = audio.format();
  const std::string type = format.IsCompressed() ? "none" : sample_type_text(format.sampleType);
  std::cout << printable(audio.name) << "\n";
  print_line("container", audio.container);
  print_line("format", format_text(format.FormatTag(), audio.wave_header()));
  print_line("format tag", std::to_string(format.FormatTag()));
  print_line("sample type", std::to_string(format.sampleType) + " (" + type + ")");
  print_line("sample rate", std::to_string(format.samplesPerSec) + " Hz");
  print_line("channels", std::to_string(format.channels) + ", mask " + mask_text(format.channelMask));
  print_line("bits", std::to_string(format.BitsPerSample()));
  print_line("block align", std::to_string(format.blockAlign) + " bytes");
  print_line("frames", std::to_string(audio.frames));
  print_line("duration", duration_text(duration_of(audio)));
  for (const ChunkEntry& chunk : audio.chunks)
    print_chunk(chunk);
  print_metadata(metadata);
}

} // namespace qv::tool
