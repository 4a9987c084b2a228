#include "qv/mp4/prepare_write.h"

#include <gtest/gtest.h>

using namespace fileutil;

namespace {

/// Appends a box as if it had been read behind what is in the list.
template <class Box>
Box* append(Boxes& boxes, uint64_t size) {
  auto* const box = new Box;
  box->setPosition(boxes.empty() ? 0 : boxes.back()->position() + boxes.back()->size());
  box->setSize(size);
  boxes.push_back(box);
  return box;
}

/// Metadata of 100 bytes, a "free" box of `room` bytes unless that is 0, media, metadata.
struct Layout {
  explicit Layout(uint64_t room) {
    metadata = append<UrlBox>(boxes, 100);
    metadata->location.resize(100 - 12);
    if (room > 0) free = append<FreeBox>(boxes, room);
    media = append<MediaDataBox>(boxes, 1000);
    behind = append<UrlBox>(boxes, 12);
  }
  Boxes boxes;
  UrlBox* metadata;
  FreeBox* free = nullptr;
  MediaDataBox* media;
  UrlBox* behind;
};

TEST(PrepareWrite, LetsRoomInFrontOfTheMediaAbsorbWhatItCan) {
  for (uint64_t room : {0, 8, 9, 15, 16, 24, 64})
    for (int growth = -80; growth <= 80; ++growth) {
      SCOPED_TRACE(std::to_string(room) + " bytes of room, grown by " + std::to_string(growth));
      Layout layout(room);
      layout.metadata->location.resize(static_cast<size_t>(88 + growth));
      PrepareWrite plan(&layout.boxes);
      plan.doIt();
      const int64_t left = static_cast<int64_t>(room) - growth;
      const bool stays = room > 0 && left >= 8;
      const auto moved = static_cast<uint64_t>(stays ? 0 : growth);
      EXPECT_EQ(plan.mustCopy(), !stays);
      EXPECT_EQ(layout.media->mustCopy, !stays);
      EXPECT_EQ(plan.getMediaDataOffset(), static_cast<int64_t>(moved));
      EXPECT_EQ(layout.media->plannedPosition(), 100 + room + moved);
      EXPECT_EQ(layout.media->plannedSize(), 1000U);
      EXPECT_EQ(layout.behind->plannedPosition(), layout.behind->position() + moved);
      EXPECT_EQ(plan.currentPos(), 1112 + room + moved);
      EXPECT_EQ(plan.currentSize(), plan.currentPos());
      EXPECT_EQ(plan.back(), nullptr);
      if (layout.free != nullptr) {
        EXPECT_EQ(layout.free->plannedPosition(), static_cast<uint64_t>(100 + growth));
        EXPECT_EQ(layout.free->plannedSize(), stays ? static_cast<uint64_t>(left) : room);
      }
    }
}

TEST(PrepareWrite, KeepsAMarkThatTheMediaHas) {
  Layout layout(64);
  layout.media->mustCopy = true;
  layout.metadata->location.resize(90);
  PrepareWrite plan(&layout.boxes);
  plan.doIt();
  EXPECT_TRUE(plan.mustCopy());
  EXPECT_EQ(layout.free->plannedSize(), 64U);
  EXPECT_EQ(plan.getMediaDataOffset(), 2);
}

TEST(PrepareWrite, TakesNoRoomFromElsewhere) {
  Boxes boxes;
  auto* const movie = append<MovieBox>(boxes, 8 + 40);
  auto* const inside = append<FreeBox>(movie->children(), 40); // the last box before the media, in another list
  auto* const media = append<MediaDataBox>(boxes, 1000);
  append<FreeBox>(boxes, 64); // behind it
  PrepareWrite plan(&boxes);
  plan.doIt();
  EXPECT_TRUE(plan.mustCopy());
  EXPECT_EQ(inside->plannedSize(), 40U);
  EXPECT_EQ(media->plannedPosition(), 48U);

  Boxes apart;
  append<FreeBox>(apart, 64);
  append<UrlBox>(apart, 12); // between room and media
  append<MediaDataBox>(apart, 1000);
  PrepareWrite second(&apart);
  second.doIt();
  EXPECT_TRUE(second.mustCopy());

  Boxes outside;
  auto* const room = append<FreeBox>(outside, 64); // in front of the container of the media
  auto* const inner = append<MediaDataBox>(append<MovieBox>(outside, 8 + 1000)->children(), 1000);
  inner->setPosition(64 + 8);
  PrepareWrite third(&outside);
  third.doIt();
  EXPECT_TRUE(third.mustCopy());
  EXPECT_EQ(room->plannedSize(), 64U);
}

TEST(PrepareWrite, MarksAnUnknownBoxThatMoves) {
  for (const uint64_t grown : {0, 5}) {
    Boxes boxes;
    append<UrlBox>(boxes, 12)->location.resize(grown);
    const IBox* const unknown = append<UnknownBox>(boxes, 30);
    const IBox* const guid = append<UnknownGuidBox>(boxes, 40);
    PrepareWrite plan(&boxes);
    plan.doIt();
    EXPECT_EQ(plan.mustCopy(), grown > 0);
    EXPECT_EQ(plan.getMediaDataOffset(), 0);
    EXPECT_EQ(unknown->plannedPosition(), 12 + grown);
    EXPECT_EQ(guid->plannedPosition(), 42 + grown);
    EXPECT_EQ(guid->plannedSize(), 40U);
  }
}

TEST(PrepareWrite, PlansTheFramesOfATag) {
  Boxes boxes;
  append<UrlBox>(boxes, 12);
  auto* const box = append<ID3v2MetaBox>(boxes, 500);
  box->tag = std::make_unique<id3meta::Header_2_3_0>();
  for (const size_t size : {20, 300, 0}) {
    box->tag->frames.push_back(std::make_unique<id3meta::UnknownFrame>());
    box->tag->frames.back()->bytes.resize(size);
  }
  PrepareWrite plan(&boxes);
  plan.doIt();
  const uint64_t first = 12 + 14 + 10; // behind the box's own fields and the tag's header
  EXPECT_EQ(box->tag->frames.front()->plannedPosition, first);
  EXPECT_EQ((*std::next(box->tag->frames.begin()))->plannedPosition, first + 30);
  EXPECT_EQ(box->tag->frames.back()->plannedPosition, first + 340);
  EXPECT_EQ(box->tag->size, 350U);
  EXPECT_EQ(plan.currentPos(), first + 350);
}

/// Of several media boxes the last one decides, also over what was found before it.
TEST(PrepareWrite, LetsTheLastMediaDecide) {
  Layout layout(8);
  layout.metadata->location.resize(90); // the first media moves
  auto* const unknown = append<UnknownBox>(layout.boxes, 16);
  append<FreeBox>(layout.boxes, 64);
  auto* const last = append<MediaDataBox>(layout.boxes, 500);
  PrepareWrite plan(&layout.boxes);
  plan.doIt();
  EXPECT_TRUE(layout.media->mustCopy);
  EXPECT_NE(unknown->plannedPosition(), unknown->position());
  EXPECT_FALSE(last->mustCopy);
  EXPECT_FALSE(plan.mustCopy());
  EXPECT_EQ(plan.getMediaDataOffset(), 0);
}

} // namespace
