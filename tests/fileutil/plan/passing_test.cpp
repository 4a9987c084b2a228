// What a change leaves alone is in the new file byte for byte, however it was made.
#include "tests/fileutil/plan/planned.h"

using namespace fileutil_test;

namespace {

const std::string kUnknown = box("wxyz", "anything at all");
const std::string kTag = full("ID32", be16(0x55C4) + "ID3\3" + std::string("\0\0\0\0\0\x1E", 6) + "TIT2" + be32(4) +
                                          be16(0) + std::string("\0abc", 4) + std::string(16, '\0'));

TEST(Passing, MoviesOfEveryMakeKeepAllButTheTitle) {
  const Movie rows[] = {
      {.behindType = kUnknown},
      {.room = 100, .behindMovie = box("skip", "room elsewhere") + box("free", "not zeros") + kUnknown},
      {.behindMedia = box("free", "not zeros") + box("uuid", std::string(16, 'u') + "unknown")},
      {.isMovieFirst = false, .behindMovie = box("free", "behind all") + kUnknown},
      {.behindMedia = "\1\2\3"}, // behind the last box that can be read
      {.isMovieFirst = false, .behindMovie = std::string(300, '\0')},
      {.inMovie = full("iods", "\x10\x80\x80\x80\x02\1\2") + box("free", "in the movie")},
      {.inTrack = largeBox("edts", full("elst", be32(0))), .inTable = kUnknown},
      {.behindTitle = box("\251cmt", "no data inside") + box("----", full("mean", "m") + full("name", "n")) +
                      box("covr", box("data", be32(13) + be32(7) + "picture") + box("data", be32(99) + be32(0) + "?"))},
      {.endOfUserData = be32(0)}, // as old makers end the list
      {.endOfUserData = kTag + full("titl", be16(0x15C7) + "asset") + box("meta", box("hdlr", "text alone")) + be32(0)},
      {.endOfUserData = box("name", "text alone") + box("data", "ends in something") + "cut"},
  };
  for (Movie movie : rows)
    for (const uint64_t room : {0, 50})
      for (const int growth : {-30, 30, 60}) {
        if (movie.room == 0) movie.room = room;
        const std::string old = movie.make();
        SCOPED_TRACE(old.substr(0, 80));
        const Outcome outcome = update(old, grown(movie, growth));
        ASSERT_EQ(outcome.result, S_OK);
        Movie after = movie;
        after.title = std::string(movie.title.size() + static_cast<size_t>(growth), 'n');
        if (movie.isMovieFirst && outcome.plan.isInPlace) after.room -= static_cast<uint64_t>(growth);
        EXPECT_EQ(outcome.file, after.make());
        EXPECT_EQ(samplesOf(outcome.file), samplesOf(old));
        movie.room = 0;
      }
}

TEST(Passing, MediaKeepsTheFormOfItsHeader) {
  const std::string end = Movie::payload();
  const struct {
    const char* what;
    std::string header;
  } rows[] = {{"64 bits", be32(1) + "mdat" + be64(16 + end.size())},
              {"to the end of the file", be32(0) + "mdat"},
              {"cut short", be32(1000) + "mdat"},
              {"cut short, 64 bits", be32(1) + "mdat" + be64(uint64_t{1} << 40)}};
  for (const auto& row : rows)
    for (const uint64_t room : {0, 100}) {
      SCOPED_TRACE(row.what);
      const Movie movie{.room = room, .mediaHeader = row.header};
      const Outcome outcome = update(movie.make(), grown(movie, 40));
      Movie after = movie;
      after.title = std::string(160, 'n');
      after.room = room == 0 ? 0 : 60;
      EXPECT_EQ(outcome.file, after.make());
    }
}

TEST(Passing, ChangedBoxesKeepTheFormOfTheirHeaders) {
  const auto make = [](const std::string& text) {
    return box("ftyp", "M4A isom") + largeBox("moov", box("udta", full("titl", be16(0) + text)));
  };
  const auto change = [](Boxes* tree) {
    Boxes& userData = childOf(childOf(*tree, "moov")->children(), "udta")->children();
    dynamic_cast<IThreeGPPAssetMetaBox&>(*userData.front()).text = vector_of("longer");
    return S_OK;
  };
  EXPECT_EQ(update(make("old"), change).file, make("longer"));
}

TEST(Passing, WhatIsAddedAndRemovedIsAllThatChanges) {
  const Movie movie{.inMovie = full("iods", "\1"), .endOfUserData = kUnknown + be32(0)};
  const std::string old = movie.make();
  const std::string text = full("titl", be16(0x15C7) + std::string("new\0", 4));
  const auto addition = [](Boxes* tree) {
    auto* const title = new ThreeGPPAssetMetaBox<QvFourCC("titl")>;
    title->language = 0x15C7;
    title->text = vector_of(std::string_view("new\0", 4));
    childOf(childOf(*tree, "moov")->children(), "udta")->children().push_back(title);
    return S_OK;
  };
  Movie after = movie;
  after.endOfUserData = kUnknown + text + be32(0);
  const Outcome added = update(old, addition);
  EXPECT_EQ(added.file, after.make());

  const auto removal = [](Boxes* tree) {
    Boxes& userData = childOf(childOf(*tree, "moov")->children(), "udta")->children();
    userData.erase(std::find(userData.begin(), userData.end(), userData.find(QvFourCC("titl"))));
    return S_OK;
  };
  EXPECT_EQ(update(added.file, removal).file, old);
}

TEST(Passing, FileMovesAsAWholeWhereTheMovieLosesItsUserData) {
  const Movie movie;
  const std::string old = movie.make();
  const auto removal = [](Boxes* tree) {
    Boxes& inside = childOf(*tree, "moov")->children();
    inside.erase(std::find(inside.begin(), inside.end(), inside.find(QvFourCC("udta"))));
    return S_OK;
  };
  const Outcome outcome = update(old, removal);
  EXPECT_EQ(samplesOf(outcome.file), samplesOf(old));
  EXPECT_EQ(outcome.file.find("udta"), std::string::npos);
}

/// A tag with padding cannot be written as it was read.
TEST(Passing, TagThatIsNotWrittenLosslesslyIsNotChanged) {
  const Movie movie{.endOfUserData = kTag};
  const auto change = [](Boxes* tree) {
    Boxes& userData = childOf(childOf(*tree, "moov")->children(), "udta")->children();
    dynamic_cast<ID3v2MetaBox&>(*userData.find(QvFourCC("ID32"))).tag->frames.front()->bytes.push_back('!');
    return S_OK;
  };
  EXPECT_EQ(update(movie.make(), change).result, QVERR_MP4_UNSAFE);
  EXPECT_EQ(update(movie.make(), grown(movie, 5)).result, S_OK);
}

} // namespace
