#include "bench/ratios.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>

namespace bench {
namespace {

std::vector<Group>& groups() {
  static std::vector<Group> all;
  return all;
}

std::vector<Summary>& summaries() {
  static std::vector<Summary> all;
  return all;
}

constexpr const char* kOurs = "qv";
constexpr int kRepetitions = 9;

/// Takes the medians out of the library's reports.
class MedianCollector final : public benchmark::BenchmarkReporter {
public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs)
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
        nanoseconds[run.run_name.function_name] = run.GetAdjustedRealTime();
  }
  std::map<std::string, double> nanoseconds;
};

std::string full_name(const Group& group, const std::string& contender) { return group.name + "/" + contender; }

void register_contender(const Group& group, const std::string& name, const std::function<void()>& run) {
  benchmark::RegisterBenchmark(
      full_name(group, name).c_str(),
      [run, prepare = group.prepare](benchmark::State& state) {
        for (auto unused : state) {
          (void)unused;
          if (prepare) {
            state.PauseTiming();
            prepare();
            state.ResumeTiming();
          }
          run();
          benchmark::ClobberMemory();
        }
      })
      ->UseRealTime()
      ->Repetitions(kRepetitions)
      ->ReportAggregatesOnly(true)
      ->MinTime(0.005);
}

const char* verdict(double value, double asked) { return asked == 0.0 ? "" : value >= asked ? "ok" : "SHORT"; }

bool report_value(const char* what, double value, double asked) {
  if (asked == 0.0) return true;
  std::printf("  %-16s %7.2f  asked %5.2f  %s\n", what, value, asked, verdict(value, asked));
  return value >= asked;
}

bool report_summary(const Summary& summary, const std::map<std::string, double>& times) {
  std::vector<std::pair<double, std::string>> ratios;
  double logarithms = 0.0;
  for (const Group& group : groups()) {
    const auto ours = times.find(full_name(group, kOurs));
    const auto other = times.find(full_name(group, summary.contender));
    if (group.name.rfind(summary.prefix, 0) != 0 || ours == times.end() || other == times.end()) continue;
    ratios.emplace_back(other->second / ours->second * summary.scale, group.name);
    logarithms += std::log(ratios.back().first);
  }
  if (ratios.empty()) return true;
  std::sort(ratios.begin(), ratios.end());
  std::printf("%s, %zu groups\n", summary.name.c_str(), ratios.size());
  const auto count = static_cast<double>(ratios.size());
  bool good = report_value("smallest", ratios.front().first, summary.least);
  good &= report_value("median", ratios[ratios.size() / 2].first, summary.median);
  good &= report_value("geometric mean", std::exp(logarithms / count), summary.geometric_mean);
  std::printf("  slowest:");
  for (size_t i = 0; i < std::min<size_t>(6, ratios.size()); ++i)
    std::printf(" %s %.2f", ratios[i].second.c_str() + summary.prefix.size(), ratios[i].first);
  std::printf("\n");
  return good;
}

bool report_groups(const std::map<std::string, double>& times) {
  bool good = true;
  for (const Group& group : groups()) {
    const auto ours = times.find(full_name(group, kOurs));
    if (ours == times.end()) continue;
    std::printf("%-44s %12.0f ns\n", group.name.c_str(), ours->second);
    for (const Contender& other : group.others) {
      const auto theirs = times.find(full_name(group, other.name));
      if (theirs == times.end()) continue;
      const double ratio = theirs->second / ours->second;
      std::printf("  over %-40s %7.2f", other.name.c_str(), ratio);
      if (other.least_ratio != 0.0)
        std::printf("  asked %5.2f  %s", other.least_ratio, verdict(ratio, other.least_ratio));
      std::printf("\n");
      good &= ratio >= other.least_ratio;
    }
  }
  return good;
}

} // namespace

void add(Group group) { groups().push_back(std::move(group)); }

void add(Summary summary) { summaries().push_back(std::move(summary)); }

void keep(const void* memory) { benchmark::DoNotOptimize(memory); }

int run_all(int argc, char** argv) {
  // Contenders take turns within a run, so that a change of the machine's mood hits all alike.
  char interleave[] = "--benchmark_enable_random_interleaving=true";
  char* arguments[] = {argv[0], interleave};
  int count = 2;
  benchmark::Initialize(&count, arguments);
  const std::string filter = argc > 1 ? argv[1] : "";
  MedianCollector collector;
  for (const Group& group : groups()) {
    if (group.name.find(filter) == std::string::npos) continue;
    benchmark::ClearRegisteredBenchmarks();
    register_contender(group, kOurs, group.ours);
    for (const Contender& other : group.others)
      register_contender(group, other.name, other.run);
    benchmark::RunSpecifiedBenchmarks(&collector);
  }
  bool good = report_groups(collector.nanoseconds);
  for (const Summary& summary : summaries())
    good &= report_summary(summary, collector.nanoseconds);
  return good ? 0 : 1;
}

} // namespace bench
