#include "tools/qv/mp4/mp4_report.h"

#include "tools/qv/command/info_report.h"
#include "tools/qv/mp4/codec_names.h"
#include "tools/qv/text.h"

#include <algorithm>
#include <iostream>

namespace qv::tool {

namespace {

std::string brands_text(const Mp4Summary& summary) {
  std::string text =
      "\"" + printable_code(summary.major_brand) + "\", version " + std::to_string(summary.minor_version);
  for (size_t k = 0; k < summary.brands.size(); ++k)
    text += (k == 0 ? "; compatible: \"" : ", \"") + printable_code(summary.brands[k]) + "\"";
  return text;
}

std::string track_text(const Mp4Track& track) {
  const SampleFormat& format = track.format;
  std::string text = std::to_string(track.id) + ": " + track_kind_name(track.handler);
  if (format.codec != 0) text += ", " + format.codec_name + " (\"" + code_text(format.codec) + "\")";
  if (format.sample_rate != 0) text += ", " + std::to_string(format.sample_rate) + " Hz";
  if (format.channels != 0)
    text += ", " + std::to_string(format.channels) + (format.channels == 1 ? " channel" : " channels");
  if (format.bits != 0) text += ", " + std::to_string(format.bits) + " bits";
  if (format.width != 0) text += ", " + std::to_string(format.width) + " x " + std::to_string(format.height);
  text += ", " + duration_text(track.duration);
  if (track.bit_rate != 0) text += ", " + std::to_string(track.bit_rate) + " bit/s";
  return text + ", " + std::to_string(track.samples) + " samples, language " + track.language;
}

std::string text_line(const Mp4Text& text) {
  const std::string language = text.language.empty() || text.language == "und" ? "" : " (" + text.language + ")";
  return text.id + language + ": " + (text.text.empty() ? std::to_string(text.bytes) + " bytes" : text.text);
}

Json track_json(const Mp4Track& track) {
  const SampleFormat& format = track.format;
  Json json = Json::object({{"id", track.id},
                            {"kind", track_kind_name(track.handler)},
                            {"codec", format.codec == 0 ? "" : code_text(format.codec)},
                            {"codec_text", format.codec_name},
                            {"duration_100ns", track.duration},
                            {"bit_rate", track.bit_rate},
                            {"samples", track.samples},
                            {"timescale", track.timescale},
                            {"language", track.language}});
  if (format.sample_rate != 0) json.set("sample_rate", format.sample_rate);
  if (format.channels != 0) json.set("channels", format.channels);
  if (format.bits != 0) json.set("bits", format.bits);
  if (format.width != 0) json.set("width", format.width);
  if (format.height != 0) json.set("height", format.height);
  return json;
}

/// What other files say of their audio, of the first track with audio.
void set_audio(Json& json, const Mp4Summary& summary) {
  const auto audio = std::find_if(summary.tracks.begin(), summary.tracks.end(),
                                  [](const Mp4Track& track) { return track.handler == QvFourCC("soun"); });
  if (audio == summary.tracks.end()) return;
  json.set("format_text", audio->format.codec_name);
  json.set("sample_rate", audio->format.sample_rate);
  json.set("channels", audio->format.channels);
  json.set("bits", audio->format.bits);
}

void set_texts(Json& json, const Mp4Summary& summary) {
  Json first = Json::object({});
  Json texts = Json::array();
  for (const Mp4Text& text : summary.texts) {
    Json item = Json::object({{"id", text.id}, {"text", text.text}, {"size", text.bytes}});
    if (!text.language.empty()) item.set("language", text.language);
    texts.push_back(std::move(item));
    if (!text.text.empty() && !first.find(text.id)) first.set(text.id, text.text);
  }
  json.set("summary", std::move(first));
  json.set("texts", std::move(texts));
}

} // namespace

void print_mp4_info(const Mp4Summary& summary) {
  std::cout << printable(summary.name) << "\n";
  print_line("container", summary.container);
  if (summary.major_brand != 0) print_line("brands", brands_text(summary));
  print_line("duration", duration_text(summary.duration));
  if (summary.fragments != 0) print_line("fragments", std::to_string(summary.fragments));
  for (const Mp4Track& track : summary.tracks)
    print_line("track", track_text(track));
  for (const Mp4Text& text : summary.texts)
    print_line("summary", text_line(text));
  for (const Mp4Picture& picture : summary.pictures)
    print_line("picture", std::string(picture.type) + ", " + std::to_string(picture.bytes) + " bytes");
  for (const Mp4Chapter& chapter : summary.chapters)
    print_line("chapter", duration_text(chapter.start) + ": " + chapter.title);
  if (summary.id3) print_id3(*summary.id3);
}

Json mp4_info_json(const Mp4Summary& summary) {
  Json brands = Json::array();
  for (const fileutil::FourCC brand : summary.brands)
    brands.push_back(code_text(brand));
  Json tracks = Json::array();
  for (const Mp4Track& track : summary.tracks)
    tracks.push_back(track_json(track));
  Json pictures = Json::array();
  for (const Mp4Picture& picture : summary.pictures)
    pictures.push_back(Json::object({{"type", picture.type}, {"size", picture.bytes}}));
  Json chapters = Json::array();
  for (const Mp4Chapter& chapter : summary.chapters)
    chapters.push_back(Json::object({{"start_100ns", chapter.start}, {"title", chapter.title}}));
  Json json = Json::object({{"file", summary.name}, {"container", summary.container}});
  set_audio(json, summary);
  json.set("duration_100ns", summary.duration);
  if (summary.major_brand != 0)
    json.set("brand", Json::object({{"major", code_text(summary.major_brand)},
                                    {"version", summary.minor_version},
                                    {"compatible", brands}}));
  json.set("fragments", summary.fragments);
  json.set("tracks", std::move(tracks));
  set_texts(json, summary);
  json.set("pictures", std::move(pictures));
  json.set("chapters", std::move(chapters));
  if (summary.id3 && !summary.id3->version.empty()) json.set("id3", id3_json(*summary.id3));
  return json;
}

} // namespace qv::tool
