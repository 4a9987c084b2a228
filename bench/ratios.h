// Benchmarks as ratios of one run.
//
// A group holds contenders that do the same work. All are timed in turn, nine times or more, and the report gives the
// median of each and how many times faster our own contender is than each of the others; a group may say how fast it
// has to be, and a reader sees at once where it is not.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

struct Contender {
  std::string name;
  std::function<void()> run;
  double least_ratio = 0.0; ///< our speed over this contender's that is asked for; 0: none
};

struct Group {
  std::string name;
  std::function<void()> ours;
  std::vector<Contender> others;
  std::function<void()> prepare = nullptr; ///< done before each run of any, not timed
};

/// Adds a group to the run.
void add(Group group);

/// Statistics over the ratios of many groups against one contender, with what is asked of them.
struct Summary {
  std::string name;
  std::string prefix; ///< of the groups' names
  std::string contender;
  double scale = 1.0; ///< ratios are multiplied by this first
  double least = 0.0; ///< asked of the smallest; 0: nothing
  double median = 0.0;
  double geometric_mean = 0.0;
};

void add(Summary summary);

/// Runs all groups whose name contains argv's filter (all without one) and prints the report. 0, or 1 when something
/// fell short.
int run_all(int argc, char** argv);

/// Keeps the compiler from dropping what was computed.
void keep(const void* memory);

} // namespace bench
