// The last net: faulty plans of every kind are caught by it, whoever has made them.
#include "fileutil/plan/plan_check.h"
#include "tests/fileutil/plan/planned.h"

using namespace fileutil_test;

namespace {

class InMemory : public ByteSource {
public:
  explicit InMemory(const std::string& bytes) : bytes_(bytes) {}
  uint64_t length() const override { return bytes_.size(); }
  void read(uint64_t position, std::span<uint8_t> into) const override {
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(position), into.size(), into.begin());
  }

private:
  const std::string& bytes_;
};

/// A plan that changes the movie by hand: `edit` gets the new file, of which the media is then taken from the old one.
UpdatePlan planOf(const Movie& before, const Movie& after, const std::function<void(std::string&)>& edit = nullptr) {
  const std::string old = before.make();
  std::string now = after.make();
  if (edit) edit(now);
  const auto media = static_cast<size_t>(before.mediaStart()) - 8;
  const auto mediaNow = static_cast<size_t>(after.mediaStart()) - 8;
  UpdatePlan plan{old.size(), now.size(), media == mediaNow, {}};
  plan.segments.push_back({mediaNow, 0, vector_of(now.substr(0, mediaNow))});
  plan.segments.push_back({old.size() - media, media, {}});
  return plan;
}

HRESULT checked(const UpdatePlan& plan, const Movie& before) {
  const std::string old = before.make();
  return checkPlan(plan, InMemory(old));
}

TEST(PlanCheck, LetsThroughWhatIsRight) {
  const Movie before{.room = 40};
  Movie after = before;
  EXPECT_EQ(checked(planOf(before, after), before), S_OK);
  after.title += "longer";
  UpdatePlan moved = planOf(before, after);
  EXPECT_EQ(checked(moved, before), S_OK) << "moved";
  moved.isInPlace = true;
  EXPECT_EQ(checked(moved, before), QVERR_MP4_UNSAFE) << "which is not in place";
  after.room -= 6;
  EXPECT_EQ(checked(planOf(before, after), before), S_OK) << "absorbed";
}

TEST(PlanCheck, CatchesFaultyPositions) {
  const Movie before;
  Movie after = before;
  after.title += "longer";
  const size_t table = after.make().find("stco") + 12;
  const size_t second = after.make().rfind("stco") + 12;
  const auto plus = [](size_t at, int by) {
    return [=](std::string& file) { file[at + 3] = static_cast<char>(file[at + 3] + by); };
  };
  for (const size_t at : {table, table + 12, second, second + 12})
    for (const int by : {-6, -1, 1, 6})
      EXPECT_EQ(checked(planOf(before, after, plus(at, by)), before), QVERR_MP4_OFFSETS) << at << " " << by;
  const auto hidden = [=](std::string& file) { file[second - 12] = 'x'; };
  EXPECT_EQ(checked(planOf(before, after, hidden), before), QVERR_MP4_OFFSETS) << "a table is gone";
  const auto shorter = [=](std::string& file) { file[table - 1] = 3; };
  EXPECT_EQ(checked(planOf(before, after, shorter), before), QVERR_MP4_OFFSETS) << "fewer of them";
}

TEST(PlanCheck, CatchesFaultySegments) {
  const Movie before{.room = 40};
  const UpdatePlan right = planOf(before, before);
  const uint64_t length = before.make().size();
  const std::function<void(UpdatePlan&)> faults[] = {
      [](UpdatePlan& plan) { ++plan.oldLength; },
      [](UpdatePlan& plan) { ++plan.newLength; },
      [](UpdatePlan& plan) { plan.segments.pop_back(); },
      [](UpdatePlan& plan) { plan.segments.back().source += 1; },
      [](UpdatePlan& plan) { plan.segments.back().source = ~uint64_t{0} - 3; },
      [](UpdatePlan& plan) { plan.segments.front().length -= 1; },
      [](UpdatePlan& plan) {
        plan.segments.push_back({0, 0, {}});
      },
      [](UpdatePlan& plan) { // bytes used twice
        plan.segments.push_back({8, plan.oldLength - 8, {}});
        plan.newLength += 8;
      },
      [](UpdatePlan& plan) { // the end of the media is missing
        plan.segments.back().length -= 1;
        plan.newLength -= 1;
      },
      [=](UpdatePlan& plan) { // zeros for the end of the media
        plan.segments.back().length -= 1;
        plan.segments.push_back({1, 0, Bytes(1)});
      },
      [=](UpdatePlan& plan) { // in two pieces, of which the first is longer by one
        plan.segments.insert(plan.segments.begin(), {1, 0, Bytes(1)});
        plan.newLength = length + 1;
      },
  };
  for (const auto& fault : faults) {
    UpdatePlan plan = right;
    fault(plan);
    EXPECT_NE(checked(plan, before), S_OK) << &fault - faults;
  }
}

TEST(PlanCheck, CatchesMediaThatNoReaderWouldFind) {
  const Movie before{.room = 40};
  Movie after = before;
  const auto swallowed = [](std::string& file) { // the free box claims the media, too
    file[file.find("free") - 2] = '\1';
  };
  EXPECT_EQ(checked(planOf(before, after, swallowed), before), QVERR_MP4_UNSAFE);
  const auto broken = [](std::string& file) { file[file.find("free") - 1] = '\7'; };
  EXPECT_EQ(checked(planOf(before, after, broken), before), QVERR_MP4_UNSAFE);
}

TEST(PlanCheck, CatchesFragmentsThatPart) {
  Movie before;
  before.behindMedia = box("moof", "fragment") + box("free", "room") + box("mdat", "media");
  const std::string old = before.make();
  const size_t room = old.size() - 13 - 12;
  UpdatePlan plan{old.size(), old.size() - 4, false, {}};
  plan.segments.push_back({room, 0, {}});
  plan.segments.push_back({8, 0, vector_of(box("free"))});
  plan.segments.push_back({13, old.size() - 13, {}});
  EXPECT_EQ(checkPlan(plan, InMemory(old)), QVERR_MP4_UNSAFE);
}

} // namespace
