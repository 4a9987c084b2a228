// Updates of files that other programs have made: ffmpeg decodes the same from them, and reads the new title.
#include "fileutil/update/update_planner.h"
#include "tests/interop/material.h"

#include <fstream>
#include <gtest/gtest.h>

using namespace interop_test;
using namespace fileutil;

namespace {

struct Make {
  const char* name; ///< of the file
  std::string arguments;
  bool hasItems = true; ///< ffmpeg reads the title from an item of "ilst"; else an asset box is added
};

const std::string kSine = "-f lavfi -i sine=d=1:f=330 ";
const std::string kPicture = "-f lavfi -i testsrc=d=1:s=64x48:r=10 ";
const std::string kTitle = "-metadata title='first title' ";
const std::string kFragments = "-c:a aac -frag_duration 200000 -movflags frag_keyframe+empty_moov";

const Make kMakes[] = {
    {"last.m4a", kSine + kTitle + "-c:a aac"},
    {"first.m4a", kSine + kTitle + "-c:a aac -movflags +faststart"},
    {"lossless.m4a", kSine + kTitle + "-c:a alac -movflags +faststart"},
    {"tracks.mp4", kPicture + kSine + kTitle + "-c:v mpeg4 -c:a aac -shortest -movflags +faststart"},
    {"chapters.m4a", "-i chapters.txt " + kSine + kTitle + "-map 1 -map_metadata 0 -c:a aac -movflags +faststart"},
    {"phone.3gp", kSine + "-ar 8000 -ac 1 -c:a aac -movflags +faststart", false},
    {"film.mov", kPicture + kSine + "-c:v mpeg4 -c:a pcm_s16be -shortest -movflags +faststart", false},
    {"based.mp4", kSine + kTitle + kFragments},
    {"fragments.mp4", kSine + kTitle + kFragments + "+default_base_moof"},
    {"indexed.mp4", kSine + kTitle + kFragments + "+dash+global_sidx"},
};

Boxes& childrenOf(Boxes& list, FourCC type, IContainerBox* (*make)()) {
  IBox* box = list.find(type);
  if (box == nullptr) list.push_back(box = make());
  return dynamic_cast<IContainerBox&>(*box).children();
}

TreeChange titled(const std::string& title, bool hasItems) {
  return [=](Boxes* tree) {
    auto& movie = dynamic_cast<IContainerBox&>(*tree->find(QvFourCC("moov"))).children();
    Boxes& userData = childrenOf(
        movie, QvFourCC("udta"), []() -> IContainerBox* { return new UserDataBox; });
    if (!hasItems) {
      auto* const asset = new ThreeGPPAssetMetaBox<QvFourCC("titl")>;
      userData.push_front(asset);
      asset->text.assign(title.begin(), title.end());
      asset->text.push_back(0);
      return S_OK;
    }
    auto& meta = dynamic_cast<IContainerBox&>(*userData.find(QvFourCC("meta"))).children();
    auto& items = dynamic_cast<IContainerBox&>(*meta.find(QvFourCC("ilst"))).children();
    auto& item = dynamic_cast<IContainerBox&>(*items.find(QvFourCC("\251nam"))).children();
    dynamic_cast<IDataBox&>(*item.front()).value.assign(title.begin(), title.end());
    return S_OK;
  };
}

/// Plans the update of a file and writes what comes of it as another.
HRESULT update(const std::string& from, const std::string& to, const TreeChange& change, uint64_t padding = 0) {
  std::ifstream in(from, std::ios::binary);
  const std::string old{std::istreambuf_iterator<char>(in), {}};
  UpdatePlan plan;
  const HRESULT result = planUpdate(in, old.size(), change, {.padding = padding}, plan);
  std::ofstream out(to, std::ios::binary);
  for (const Segment& segment : plan.segments)
    if (segment.bytes.empty())
      out.write(old.data() + segment.source, static_cast<std::streamsize>(segment.length));
    else
      out.write(reinterpret_cast<const char*>(segment.bytes.data()), static_cast<std::streamsize>(segment.length));
  return result;
}

/// What ffmpeg makes of a file: a sum over all that it decodes, and the title.
struct Decoded {
  std::string sum;
  std::string title;
};

std::string line(const std::string& text, const std::string& key) {
  const size_t begin = text.find(key);
  if (begin == text.npos) return "";
  const size_t value = begin + key.size();
  return text.substr(value, text.find('\n', value) - value);
}

Decoded decoded(const std::string& file) {
  const std::string said = shell(kFfmpeg + "-i " + file + " -map 0 -f md5 pipe:1 -f ffmetadata pipe:1 2>&1");
  EXPECT_EQ(line(said, "MD5=").size(), 32u) << said;
  return {line(said, "MD5="), line(said, "\ntitle=")};
}

/// Ten makes, each with no free box and with one of 40 bytes in front of the media, and titles of five lengths.
TEST(Mp4Update, LeavesWhatIsDecodedAsItIs) {
  const ScratchFolder folder;
  std::ofstream(folder.file("chapters.txt"))
      << ";FFMETADATA1\ntitle=first title\n[CHAPTER]\nTIMEBASE=1/10\nSTART=0\n"
         "END=5\ntitle=one\n[CHAPTER]\nTIMEBASE=1/10\nSTART=5\nEND=10\ntitle=two\n";
  for (const Make& make : kMakes) {
    const std::string source = folder.file(make.name);
    shell("cd " + folder.file("") + " && " + kFfmpeg + make.arguments + " " + source);
    const std::string before = decoded(source).sum;
    const std::string roomy = folder.file(std::string("roomy_") + make.name);
    ASSERT_EQ(update(source, roomy, titled("first title, longer", make.hasItems), 40), S_OK) << make.name;
    for (const std::string& file : {source, roomy})
      for (const size_t length : {0, 10, 40, 51, 900}) {
        SCOPED_TRACE(testing::Message() << file << " title of " << length);
        const std::string title(length, 'y');
        const std::string after = folder.file(std::string("after_") + make.name);
        ASSERT_EQ(update(file, after, titled(title, make.hasItems)), S_OK);
        const Decoded now = decoded(after);
        EXPECT_EQ(now.sum, before);
        if (make.hasItems) EXPECT_EQ(now.title, title);
      }
  }
}

/// mutagen leaves free boxes inside the metadata, ours pass; then it reads what we have written.
TEST(Mp4Update, TakesTurnsWithMutagen) {
  const ScratchFolder folder;
  const std::string source = folder.file("source.m4a");
  shell(kFfmpeg + kMakes[1].arguments + " " + source);
  const std::string before = decoded(source).sum;
  const auto mutagen = [](const std::string& file, const std::string& code) {
    return shell("/usr/bin/python3 -c \"import mutagen.mp4; f = mutagen.mp4.MP4('" + file + "'); " + code + "\"");
  };
  mutagen(source, "f['\\xa9ART'] = 'an artist'; f['----:a:b'] = b'free form'; f.save(padding=lambda info: 500)");
  const std::string after = folder.file("after.m4a");
  ASSERT_EQ(update(source, after, titled("a new title", true)), S_OK);
  EXPECT_EQ(decoded(after).sum, before);
  EXPECT_EQ(mutagen(after, "print(f['\\xa9nam'][0], f['\\xa9ART'][0], f['----:a:b'][0])"),
            "a new title an artist b'free form'\n");
  mutagen(after, "f['\\xa9ART'] = 'x' * 2000; f.save()");
  EXPECT_EQ(decoded(after).sum, before);
  EXPECT_EQ(decoded(after).title, "a new title");
}

} // namespace
