// Where boxes go: every size of free box, growth and order, against movies made for the purpose.
#include "tests/fileutil/plan/planned.h"

using namespace fileutil_test;

namespace {

/// Whether there is another way than to move the media.
bool mustMove(const Movie& movie, int growth) {
  if (!movie.isMovieFirst || growth == 0) return false;
  return movie.room == 0 || static_cast<int64_t>(movie.room) - growth < 8;
}

/// The movie as it should be afterwards, made anew.
Movie expected(const Movie& movie, int growth) {
  Movie after = movie;
  after.title = std::string(movie.title.size() + static_cast<size_t>(growth), 'n');
  if (movie.isMovieFirst && movie.room > 0 && !mustMove(movie, growth)) after.room -= static_cast<uint64_t>(growth);
  return after;
}

void expectUpdate(const Movie& movie, const std::string& old, const std::vector<std::string>& samples, int growth) {
  const Outcome outcome = update(old, grown(movie, growth));
  ASSERT_EQ(outcome.result, S_OK);
  ASSERT_EQ(outcome.plan.isInPlace, !mustMove(movie, growth));
  ASSERT_EQ(outcome.file, expected(movie, growth).make());
  ASSERT_EQ(samplesOf(outcome.file), samples);
}

TEST(LayoutMatrix, MediaMovesOnlyWhereItMust) {
  for (const bool isMovieFirst : {true, false})
    for (const bool hasWideOffsets : {true, false})
      for (uint64_t room = 0; room <= 64; room = room == 0 ? 8 : room + 1) {
        const Movie movie{.room = room, .isMovieFirst = isMovieFirst, .hasWideOffsets = hasWideOffsets};
        const std::string old = movie.make();
        const std::vector<std::string> samples = samplesOf(old);
        ASSERT_EQ(samples.size(), 16u);
        for (int growth = -100; growth <= 100; ++growth) {
          SCOPED_TRACE(testing::Message()
                       << isMovieFirst << hasWideOffsets << " room " << room << " growth " << growth);
          ASSERT_NO_FATAL_FAILURE(expectUpdate(movie, old, samples, growth));
        }
      }
}

TEST(LayoutMatrix, NothingOfWhatStaysIsWritten) {
  const Movie movie{.room = 64};
  const std::string old = movie.make();
  const Outcome outcome = update(old, grown(movie, 10));
  uint64_t written = 0;
  uint64_t position = 0;
  for (const Segment& segment : outcome.plan.segments) {
    if (!segment.bytes.empty()) written += segment.length;
    position += segment.length;
  }
  // The title, headers around it, and that of the free box.
  EXPECT_LE(written, movie.title.size() + 10 + 8 * 8);
  EXPECT_EQ(update(old, titled(movie.title)).plan.segments.size(), 1u) << "nothing changes";
}

TEST(LayoutMatrix, PaddingIsLeftInFrontOfMediaThatIsCopied) {
  const struct {
    uint64_t room;
    int growth;
    uint64_t padding;
    uint64_t roomAfter;
  } rows[] = {{0, 50, 0, 0},   {0, 50, 1, 8},        {0, 50, 8, 8},    {0, 50, 4000, 4000},
              {40, 50, 0, 40}, {40, 50, 1000, 1000}, {40, 50, 20, 20}, {400, 50, 1000, 350}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.room << " " << row.padding);
    const Movie movie{.room = row.room};
    const Outcome outcome = update(movie.make(), grown(movie, row.growth), {.padding = row.padding});
    Movie after = movie;
    after.title = std::string(movie.title.size() + 50, 'n');
    after.room = row.roomAfter;
    EXPECT_EQ(outcome.file, after.make());
  }
}

} // namespace
