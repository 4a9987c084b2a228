// Every kind of position in a file, moved along with what it points to.
#include "tests/fileutil/plan/planned.h"

using namespace fileutil_test;

namespace {

constexpr int kGrowth = 24;

/// A movie with the same boxes behind it, which move by kGrowth. `make` gets the distance by which they have moved.
struct Row {
  const char* what;
  std::function<Movie(uint64_t moved)> make;
};

Movie plain() { return {}; }

uint64_t mediaStart(uint64_t moved) { return plain().mediaStart() + moved; }

/// A movie of no samples of its own before fragments.
std::string fragmented(uint64_t moved, const std::string& title) {
  Movie movie = plain();
  movie.title = title;
  const std::string whole = movie.make();
  const uint64_t end = plain().make().size() + moved;
  const auto fragment = [](uint64_t base) {
    const std::string header = full("mfhd", be32(1));
    const std::string run = full("trun", be32(1) + be32(0));
    return box("moof", header + box("traf", box("tfhd", be32(1) + be32(1) + be64(base)) + run +
                                                full("saio", be32(1) + be32(77))));
  };
  const size_t length = fragment(0).size();
  const std::string media = box("mdat", "fragment");
  const uint64_t second = end + length + media.size();
  const std::string index =
      full("tfra", be32(1) + be32(0x15) + be32(2) + be32(0) + be32(end) + "112233" + be32(9) + be32(second) + "112233");
  const std::string wideIndex =
      box("tfra", be32(1 << 24) + be32(1) + be32(0) + be32(1) + be64(0) + be64(second) + "123");
  const std::string access = index + wideIndex;
  return whole + fragment(end) + media + fragment(second + length + 8) + media +
         box("mfra", access + full("mfro", be32(8 + access.size() + 16)));
}

std::string itemLocations(uint64_t moved) {
  const uint64_t at = mediaStart(moved);
  const auto item = [](int id, const std::string& rest) { return be16(static_cast<uint64_t>(id)) + be16(0) + rest; };
  // Base alone moves; offsets with a base of none; two extents behind one base.
  const std::string withBase = full("iloc", "\x44\x40" + be16(1) + item(1, be32(at) + be16(1) + be32(3) + be32(2)));
  const std::string withoutBase =
      full("iloc", std::string("\x48\0", 2) + be16(1) + item(1, be16(2) + be32(at) + be64(2) + be32(at + 9) + be64(4)));
  const std::string versionOne =
      box("iloc", be32(1 << 24) + "\x44\x40" + be16(3) + be16(1) + be16(0) + be16(0) + be32(0) + be16(2) + be32(at) +
                      be32(4) + be32(at + 5) + be32(4) + be16(2) + be16(1) + be16(0) + be32(7) + be16(1) + be32(8) +
                      be32(1) + be16(3) + be16(0) + be16(0) + be32(at) + be16(1) + be32(0) + be32(4));
  const std::string versionTwo = box("iloc", be32(2 << 24) + std::string("\x80\x80", 2) + be32(1) + be32(1) + be16(0) +
                                                 be16(0) + be64(at) + be16(1) + be64(6));
  return withBase + withoutBase + versionOne + versionTwo;
}

Movie auxiliary(uint64_t moved) {
  Movie movie = plain();
  const auto table = [&](uint64_t at) {
    return full("saio", be32(2) + be32(at) + be32(at + 4)) +
           box("saio", be32(0x01000001) + "cenc" + be32(0) + be32(1) + be64(at + 8));
  };
  movie.inTable = table(0);
  movie.inTable = table(movie.mediaStart() + moved);
  return movie;
}

TEST(Offsets, AreShiftedInEveryTable) {
  const Row rows[] = {
      {"saio", auxiliary},
      {"iloc",
       [](uint64_t moved) {
         Movie movie = plain();
         movie.behindMedia = full("meta", full("hdlr", "handler") + itemLocations(moved));
         return movie;
       }},
      {"iloc in several metas",
       [](uint64_t moved) {
         Movie movie = plain();
         movie.behindMedia = box("meco", full("meta", itemLocations(moved)));
         return movie;
       }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Movie movie = row.make(0);
    const Outcome outcome = update(movie.make(), grown(movie, kGrowth));
    Movie after = row.make(kGrowth);
    after.title = std::string(movie.title.size() + kGrowth, 'n');
    EXPECT_EQ(outcome.result, S_OK);
    EXPECT_EQ(outcome.file, after.make());
  }
}

TEST(Offsets, OfFragmentsAndTheirIndexMove) {
  const std::string old = fragmented(0, plain().title);
  const Outcome outcome = update(old, titled(std::string(plain().title.size() + kGrowth, 'n')));
  EXPECT_EQ(outcome.result, S_OK);
  EXPECT_EQ(outcome.file, fragmented(kGrowth, std::string(plain().title.size() + kGrowth, 'n')));
}

/// A free box between a fragment and its media keeps its size: the fragment counts the distance.
TEST(Offsets, MediaOfAFragmentStaysWithIt) {
  Movie movie = plain();
  const std::string fragment = box("moof", box("traf", full("tfhd", be32(1)) + full("trun", be32(1) + be32(200))));
  movie.behindMedia = fragment + box("free", std::string(100, '\0')) + box("mdat", "fragment");
  const Outcome outcome = update(movie.make(), grown(movie, kGrowth));
  Movie after = movie;
  after.title = std::string(movie.title.size() + kGrowth, 'n');
  EXPECT_EQ(outcome.file, after.make());
}

/// An index in front of the movie: from its end to the fragments, directly behind the movie, it is further than before.
TEST(Offsets, OfSegmentIndexCountFromItsEnd) {
  const auto make = [](uint64_t distance, uint64_t wideDistance, const std::string& title) {
    Movie movie{.title = title, .isMovieFirst = false};
    const auto references = be16(0) + be16(2) + be32(58) + be32(1) + be32(0) + be32(60) + be32(1) + be32(0);
    movie.behindType = full("sidx", be32(1) + be32(1000) + be32(0) + be32(distance) + references) +
                       box("sidx", be32(1 << 24) + be32(1) + be32(1000) + be64(0) + be64(wideDistance) + references);
    movie.behindMovie = box("moof", std::string(50, 'm')) + box("mdat", std::string(52, 'd'));
    return movie;
  };
  const std::string title(120, 't');
  const Movie measured = make(0, 0, title);
  const uint64_t wideEnd = measured.make().find("mdat") - 4;
  const uint64_t distance = measured.make().size() - 118 - wideEnd;
  const uint64_t wide = measured.behindType.size() - 64; // of the second index
  ASSERT_EQ(wide, 56u);
  const Movie movie = make(distance + 64, distance, title);
  const Outcome outcome = update(movie.make(), grown(movie, kGrowth));
  EXPECT_EQ(outcome.result, S_OK);
  EXPECT_EQ(outcome.file, make(distance + 64 + kGrowth, distance + kGrowth, std::string(144, 'n')).make());
}

TEST(Offsets, OfMediaInOtherFilesStay) {
  Movie movie = plain();
  const std::string elsewhere = box("dinf", full("dref", be32(1) + full("url ", "file:other")));
  const std::string here = box("dinf", full("dref", be32(1) + box("url ", be32(1))));
  const auto track = [&](const std::string& references, uint64_t offset) {
    return box("trak", box("mdia", box("minf", references + box("stbl", full("stco", be32(1) + be32(offset))))));
  };
  const auto tracks = [&](uint64_t own) {
    return track(elsewhere, 700) + track(here, own) + track(elsewhere, 1 << 30);
  };
  movie.inMovie = tracks(0);
  const uint64_t own = movie.mediaStart();
  movie.inMovie = tracks(own);
  const Outcome outcome = update(movie.make(), grown(movie, kGrowth));
  Movie after = movie;
  after.title = std::string(movie.title.size() + kGrowth, 'n');
  after.inMovie = tracks(own + kGrowth);
  EXPECT_EQ(outcome.file, after.make());
}

/// Chunk offsets of a track that is put in front of the others.
Movie withChunkAt(uint64_t offset, bool isWide = false) {
  Movie movie;
  movie.inMovie =
      box("trak",
          box("mdia", box("minf", box("stbl", full(isWide ? "co64" : "stco", be32(1) + be(offset, isWide ? 8 : 4))))));
  return movie;
}

TEST(Offsets, MoveWithTheBoxThatHoldsThem) {
  const Movie probe = withChunkAt(0);
  const uint64_t media = probe.mediaStart();
  const uint64_t end = media + Movie::payload().size();
  const struct {
    const char* what;
    uint64_t offset;
    int64_t shift; // -1: refused
  } rows[] = {{"the file's type", 0, 0},
              {"its last byte", 15, 0},
              {"the movie", 16, -1},
              {"the movie's end", media - 9, -1},
              {"the header of the media", media - 8, kGrowth},
              {"the last byte of the media", end - 1, kGrowth},
              {"the very end of the media and of the file", end, kGrowth},
              {"behind the end of the file", end + 1, -1},
              {"the end of all that can be told", 0xFFFFFFFF, -1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const Outcome outcome = update(withChunkAt(row.offset).make(), grown(probe, kGrowth));
    ASSERT_EQ(outcome.result, row.shift < 0 ? QVERR_MP4_OFFSETS : S_OK);
    if (row.shift < 0) continue;
    Movie after = withChunkAt(row.offset + static_cast<uint64_t>(row.shift));
    after.title = std::string(144, 'n');
    EXPECT_EQ(outcome.file, after.make());
  }
}

/// The same where nothing has to move: what was of no use before stays of no use.
TEST(Offsets, MayPointNowhereWhereNothingMoves) {
  Movie movie = withChunkAt(1 << 20);
  movie.room = 100;
  EXPECT_EQ(update(movie.make(), grown(movie, kGrowth)).result, S_OK);
  Movie last = withChunkAt(1 << 20);
  last.isMovieFirst = false;
  EXPECT_EQ(update(last.make(), grown(last, kGrowth)).result, S_OK);
  Movie inMovie = withChunkAt(20);
  inMovie.room = 100;
  EXPECT_EQ(update(inMovie.make(), grown(inMovie, kGrowth)).result, QVERR_MP4_OFFSETS) << "its bytes change";
}

TEST(Offsets, OfSeveralMediaBoxesMoveEachWithItsOwn) {
  // The second stays where it is: the free box in front of it takes up what the first has moved.
  const auto make = [](uint64_t room, const std::string& title) {
    Movie movie{.title = title};
    movie.behindMedia = box("free", std::string(room, '\0')) + box("mdat", "second");
    const auto tracks = [](uint64_t first, uint64_t second) {
      return box(
          "trak",
          box("mdia", box("minf", box("stbl", full("stco", be32(3) + be32(second) + be32(first) + be32(second + 6))))));
    };
    movie.inMovie = tracks(0, 0);
    const uint64_t second = movie.make().size() - 6;
    movie.inMovie = tracks(movie.mediaStart(), second);
    return movie;
  };
  const Movie movie = make(60, std::string(120, 't'));
  const Outcome outcome = update(movie.make(), grown(movie, kGrowth));
  EXPECT_EQ(outcome.result, S_OK);
  EXPECT_EQ(outcome.file, make(60 - kGrowth, std::string(144, 'n')).make());
}

} // namespace
