// qv info and other programs agree about MP4 files.
#include "tests/interop/mp4_material.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace interop_test;

namespace {

double seconds(const Json& value) { return value.get<double>() / 1e7; }
/// Numbers are texts there.
double number(const Json& object, const char* key, double otherwise = 0) {
  return object.contains(key) ? std::stod(object[key].get<std::string>()) : otherwise;
}

/// What ffprobe calls a stream and qv a track: all but covers.
std::vector<Json> streams_of(const Json& probe) {
  std::vector<Json> streams;
  for (const Json& stream : probe["streams"])
    if (stream["disposition"].value("attached_pic", 0) == 0) streams.push_back(stream);
  return streams;
}

void expect_stream(const Mp4Recipe& recipe, const Json& track, const Json& stream) {
  EXPECT_EQ(track["codec"], stream["codec_tag_string"]);
  EXPECT_EQ(track["samples"].get<uint64_t>(), number(stream, "nb_frames", number(stream, "nb_read_packets")));
  EXPECT_EQ(track["language"], stream.contains("tags") ? stream["tags"].value("language", "und") : "und");
  // Fragments have no say in what is cut off in front; ffprobe counts that in then.
  EXPECT_NEAR(seconds(track["duration_100ns"]), number(stream, "duration"), recipe.is_fragmented ? 0.0225 : 0.0011);
  // An index makes ffprobe count the first fragment alone.
  if (recipe.name != std::string("dash.mp4") && stream.contains("bit_rate"))
    EXPECT_NEAR(track["bit_rate"].get<double>(), number(stream, "bit_rate"), 2 + number(stream, "bit_rate") / 500);
  if (stream["codec_type"] == "video") {
    EXPECT_EQ(track["width"], stream["width"]);
    EXPECT_EQ(track["height"], stream["height"]);
  }
  if (stream["codec_type"] != "audio") return;
  EXPECT_EQ(std::to_string(track["sample_rate"].get<int>()), stream["sample_rate"]);
  EXPECT_EQ(track["channels"], stream["channels"]);
  const int bits = stream["codec_name"].get<std::string>().starts_with("pcm_") ? stream["bits_per_sample"].get<int>()
                   : stream.contains("bits_per_raw_sample")
                       ? std::stoi(stream["bits_per_raw_sample"].get<std::string>())
                       : 0;
  if (track["codec"] != "alaw") EXPECT_EQ(track.value("bits", 0), bits);
}

void expect_mediainfo(const Mp4Recipe& recipe, const Json& info, const std::string& file) {
  for (const Json& track : mediainfo_tracks(file)) {
    if (track["@type"] == "General") {
      EXPECT_NEAR(seconds(info["duration_100ns"]), number(track, "Duration"), recipe.is_fragmented ? 0.0225 : 0.0011);
      EXPECT_EQ(track["CodecID"], info["brand"]["major"]);
    }
    if (track["@type"] != "Audio") continue;
    const Json& ours = info["tracks"][0];
    EXPECT_EQ(track["CodecID"].get<std::string>().substr(0, 4), ours["codec"]);
    EXPECT_EQ(number(track, "SamplingRate"), ours["sample_rate"].get<double>());
    if (track.contains("Channels")) EXPECT_EQ(number(track, "Channels"), ours["channels"].get<double>());
    if (track.contains("BitDepth")) EXPECT_EQ(number(track, "BitDepth"), ours.value("bits", 16));
    EXPECT_NEAR(number(track, "Duration"), seconds(ours["duration_100ns"]), recipe.is_fragmented ? 0.0225 : 0.0011);
    if (track.contains("BitRate"))
      EXPECT_NEAR(number(track, "BitRate"), ours["bit_rate"].get<double>(), number(track, "BitRate") / 50);
    const double frames = number(track, "Source_FrameCount", number(track, "FrameCount", -1));
    if (frames > 0) EXPECT_EQ(frames, ours["samples"].get<double>());
  }
}

TEST(Mp4Info, AgreesWithFfprobeAndMediainfo) {
  const ScratchFolder folder;
  for (const Mp4Recipe& recipe : kMp4Recipes) {
    SCOPED_TRACE(recipe.name);
    const std::string file = make_mp4(folder, recipe);
    const Json info = qv_info(file);
    const Json probe = ffprobe_all(file);
    const std::vector<Json> streams = streams_of(probe);
    ASSERT_EQ(info["tracks"].size(), streams.size());
    for (size_t k = 0; k < streams.size(); ++k)
      expect_stream(recipe, info["tracks"][k], streams[k]);
    EXPECT_NEAR(seconds(info["duration_100ns"]), number(probe["format"], "duration"),
                recipe.is_fragmented ? 0.0225 : 0.0011);
    ASSERT_EQ(info["chapters"].size(), probe["chapters"].size());
    for (size_t k = 0; k < info["chapters"].size(); ++k) {
      EXPECT_NEAR(seconds(info["chapters"][k]["start_100ns"]), number(probe["chapters"][k], "start_time"), 1e-6);
      EXPECT_EQ(info["chapters"][k]["title"], probe["chapters"][k]["tags"]["title"]);
    }
    EXPECT_EQ(info["fragments"] != 0, recipe.is_fragmented);
    expect_mediainfo(recipe, info, file);
  }
}

/// Under which names each kind of file has what ffmpeg was told.
TEST(Mp4Info, TextsAreThoseThatFfmpegWrote) {
  const struct {
    const char* recipe;
    std::vector<std::pair<std::string, std::string>> texts;
  } cases[] = {
      {"tagged.m4a",
       {{"\u00A9nam", "Ein Lied"},
        {"\u00A9ART", "Größe 日本"},
        {"\u00A9alb", "Alb"},
        {"\u00A9cmt", "odd"},
        {"\u00A9gen", "Folk"},
        {"\u00A9day", "2024"},
        {"trkn", "3/12"}}},
      {"tagged.3gp",
       {{"titl", "Ein Lied"}, {"perf", "Größe 日本"}, {"albm", "Alb"}, {"gnre", "Folk"}, {"yrrc", "2024"}}},
      {"tagged.mov", {{"\u00A9nam", "Ein Lied"}, {"\u00A9ART", "Größe 日本"}, {"\u00A9alb", "Alb"}}},
      {"keys.mov", {{"title", "Ein Lied"}, {"com.example.key", "v"}}},
  };
  const ScratchFolder folder;
  for (const auto& row : cases) {
    const Json info = qv_info(make_mp4(folder, mp4_recipe(row.recipe)));
    for (const auto& [id, text] : row.texts)
      EXPECT_EQ(info["summary"].value(id, "none"), text) << row.recipe << " " << id;
  }
}

TEST(Mp4Info, CoversAreAsLongAsTheyWere) {
  const ScratchFolder folder;
  const Json info = qv_info(make_mp4(folder, mp4_recipe("cover.m4a")));
  ASSERT_EQ(info["pictures"].size(), 1u);
  EXPECT_EQ(info["pictures"][0]["type"], "PNG");
  EXPECT_EQ(info["pictures"][0]["size"], cli_test::read_file(folder.file("cover.png")).size());
}

TEST(Mp4Info, AgreesWithMutagenAndAtomicParsley) {
  const ScratchFolder folder;
  const std::string file = make_mp4(folder, mp4_recipe("cover.m4a"));
  shell("AtomicParsley " + file +
        " --title Ä --bpm 97 --compilation true --disk 1/2 --longdesc 'long text' "
        "--rDNSatom value name=KEY domain=com.example --overWrite");
  shell("/usr/bin/python3 -c 'import mutagen.mp4 as m; f = m.MP4(\"" + file +
        "\"); f[\"----:org.test:bin\"] = [b\"one\", b\"two\"]; "
        "f[\"tmpo\"] = [98]; f[\"covr\"] += [m.MP4Cover(b\"\\xff\\xd8\\xff\" + bytes(70000), 13)]; f.save()'");
  const Json info = qv_info(file);
  const Json expected = {{"\u00A9nam", "Ä"},     {"tmpo", "98"},        {"cpil", "1"},
                         {"disk", "1/2"},        {"ldes", "long text"}, {"com.example:KEY", "value"},
                         {"org.test:bin", "one"}};
  for (const auto& [id, text] : expected.items())
    EXPECT_EQ(info["summary"].value(id, "none"), text) << id;
  ASSERT_EQ(info["pictures"].size(), 2u);
  EXPECT_EQ(info["pictures"][1], (Json{{"type", "JPEG"}, {"size", 70003}}));
  // Every text that mutagen sees, and no other.
  const Json theirs = Json::parse(shell("/usr/bin/python3 -c 'import json, mutagen.mp4 as m; f = m.MP4(\"" + file +
                                        "\"); print(json.dumps({k: len(v) if isinstance(v, list) else 1 "
                                        "for k, v in f.tags.items() if k != \"covr\"}))'"));
  size_t count = 0;
  for (const auto& [key, values] : theirs.items())
    count += values.get<size_t>();
  EXPECT_EQ(info["texts"].size(), count) << theirs;
}

} // namespace
