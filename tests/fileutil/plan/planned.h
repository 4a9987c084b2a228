// Planning an update of a file in memory, and doing what the plan says.
#pragma once

#include "fileutil/update/update_planner.h"
#include "tests/fileutil/bytes.h"
#include "tests/fileutil/plan/movie.h"

#include "qv/result.h"

#include <gtest/gtest.h>

namespace fileutil_test {

inline std::string applied(const UpdatePlan& plan, const std::string& old) {
  std::string file;
  for (const Segment& segment : plan.segments)
    file += segment.bytes.empty() ? old.substr(segment.source, segment.length)
                                  : std::string(segment.bytes.begin(), segment.bytes.end());
  return file;
}

struct Outcome {
  HRESULT result = E_UNEXPECTED;
  UpdatePlan plan;
  std::string file; ///< the new one, where there is a plan
};

inline Outcome update(const std::string& old, const TreeChange& change, const UpdateOptions& options = {}) {
  Outcome outcome;
  std::istringstream in(old);
  outcome.result = planUpdate(in, old.size(), change, options, outcome.plan);
  outcome.file = applied(outcome.plan, old);
  if (outcome.result == S_OK) {
    EXPECT_EQ(outcome.plan.oldLength, old.size());
    EXPECT_EQ(outcome.plan.newLength, outcome.file.size());
  }
  return outcome;
}

inline IContainerBox* childOf(Boxes& list, const char (&type)[5]) {
  return dynamic_cast<IContainerBox*>(list.find(QvFourCC(type)));
}

/// The text of the item of a Movie.
inline Bytes& titleOf(Boxes& tree) {
  Boxes& metadata = childOf(childOf(childOf(tree, "moov")->children(), "udta")->children(), "meta")->children();
  Boxes& item = childOf(childOf(metadata, "ilst")->children(), "\251nam")->children();
  return dynamic_cast<IDataBox&>(*item.front()).value;
}

inline TreeChange titled(const std::string& text) {
  return [text](Boxes* tree) {
    titleOf(*tree).assign(text.begin(), text.end());
    return S_OK;
  };
}

/// The change of a Movie that makes its title that much longer, or shorter.
inline TreeChange grown(const Movie& movie, int by) {
  return titled(std::string(movie.title.size() + static_cast<size_t>(by), 'n'));
}

} // namespace fileutil_test
