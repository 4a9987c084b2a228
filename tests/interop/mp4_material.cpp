#include "tests/interop/mp4_material.h"

#include <algorithm>
#include <stdexcept>

namespace interop_test {

namespace {

const char* const kTagged = "-c:a aac -metadata title='Ein Lied' -metadata artist='Größe 日本' -metadata album=Alb "
                            "-metadata comment=odd -metadata genre=Folk -metadata date=2024 -metadata track=3/12";

} // namespace

const std::vector<Mp4Recipe> kMp4Recipes = {
    {"last.m4a", "-c:a aac"},
    {"first.m4a", "-c:a aac -movflags +faststart"},
    {"reserved.mp4", "-c:a aac -moov_size 4000"},
    {"stereo.mp4", "-c:a aac -ac 2 -ar 44100 -b:a 96k -metadata:s:a:0 language=deu"},
    {"many.mp4", "-c:a aac -ac 6 -ar 32000"},
    {"fragments.mp4", "-c:a aac -movflags frag_keyframe+empty_moov -frag_duration 300000", true},
    {"frames.mp4", "-c:a aac -movflags frag_every_frame+delay_moov", true},
    {"dash.mp4", "-c:a aac -movflags dash+global_sidx -frag_duration 500000", true},
    {"cmaf.mp4", "-c:a aac -movflags cmaf+skip_trailer -frag_duration 500000", true},
    {"lossless.m4a", "-c:a alac"},
    {"lossless24.m4a", "-c:a alac -ac 2 -ar 96000 -sample_fmt s32p"},
    {"opus.mp4", "-c:a libopus -ac 2"},
    {"flac.mp4", "-c:a flac -strict -2 -ac 2"},
    {"ac3.mp4", "-c:a ac3 -ac 6"},
    {"eac3.mp4", "-c:a eac3 -ac 2"},
    {"layer3.mp4", "-c:a libmp3lame"},
    {"phone.3gp", "-c:a aac -ar 22050"},
    {"phone.3g2", "-c:a aac -ar 22050"},
    {"quick.mov", "-c:a aac -ac 2"},
    {"pcm24.mov", "-c:a pcm_s24le -ac 2"},
    {"pcm16.mov", "-c:a pcm_s16be"},
    {"float.mov", "-c:a pcm_f32le"},
    {"alaw.mov", "-c:a pcm_alaw -ar 8000"},
    {"tagged.m4a", kTagged},
    {"tagged.3gp", kTagged},
    {"tagged.mov", kTagged},
    {"keys.mov", "-c:a aac -movflags use_metadata_tags -metadata title='Ein Lied' -metadata com.example.key=v"},
    {"cover.m4a", "-i COVER -map 0:a -map 1:v -c:a aac -c:v copy -disposition:v attached_pic"},
    {"chapters.m4a", "-i CHAPTERS -map_metadata 1 -map_chapters 1 -map 0:a -c:a aac"},
    {"video.mp4", "-f lavfi -i testsrc=size=64x48:rate=10 -shortest -map 0:a -map 1:v -c:a aac -c:v mpeg4"},
};

std::string make_mp4(const ScratchFolder& folder, const Mp4Recipe& recipe) {
  std::string options = recipe.options;
  const auto put = [&](const std::string& word, const std::string& file) {
    if (const size_t at = options.find(word); at != std::string::npos) options.replace(at, word.size(), file);
  };
  if (options.find("COVER") != std::string::npos)
    shell(kFfmpeg + "-f lavfi -i color=red:size=32x16 -frames:v 1 " + folder.file("cover.png"));
  put("COVER", folder.file("cover.png"));
  put("CHAPTERS", folder.put("chapters.txt", ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=500\ntitle=Eins\n"
                                             "[CHAPTER]\nTIMEBASE=1/1000\nSTART=500\nEND=1400\ntitle=Zwei é\n"));
  std::string file = folder.file(recipe.name);
  shell(kFfmpeg + "-i " + recording("Front_Center") + " " + options + " " + file);
  return file;
}

const Mp4Recipe& mp4_recipe(const std::string& name) {
  const auto found = std::find_if(kMp4Recipes.begin(), kMp4Recipes.end(),
                                  [&](const Mp4Recipe& recipe) { return recipe.name == name; });
  if (found == kMp4Recipes.end()) throw std::runtime_error("no recipe " + name);
  return *found;
}

Json ffprobe_all(const std::string& file) {
  return Json::parse(
      shell("ffprobe -v error -of json -count_packets -show_streams -show_format -show_chapters " + file));
}

Json mediainfo_tracks(const std::string& file) {
  return Json::parse(shell("mediainfo --Output=JSON " + file))["media"]["track"];
}

} // namespace interop_test
