// Recursive filters over float stereo, against the filters of libavfilter.
#include "qv/filter.h"
#include "bench/audio/groups.h"
#include "bench/ratios.h"

#include <string>

namespace bench {
namespace {

constexpr DWORD kFrames = 65536;

Buffer floats() { return make_samples(QVSAMPLE_FLOAT32, size_t{kFrames} * 2); }

} // namespace

void add_filters() {
  for (const DWORD order : {2u, 8u, 15u}) {
    auto filter = std::make_shared<CQvIIR>();
    if (filter->Design(QVIIR_LOWPASS, QVIIR_BUTTERWORTH, order, 0.1, 0.0, 0.0, 2, 0) != S_OK) std::abort();
    const Buffer from = floats();
    const Buffer to = floats();
    const DWORD sections = filter->getNumBiquads();
    Group group{"filter: " + std::to_string(sections) + (sections == 1 ? " section" : " sections"),
                [=] {
                  filter->ProcessFloat(reinterpret_cast<float*>(to->data()),
                                       reinterpret_cast<const float*>(from->data()), kFrames, 0);
                },
                {}};
    // As many of theirs behind each other.
    if (Conversion theirs = avfilter_lowpass(sections, kFrames, from))
      group.others.push_back({"avfilter's lowpass", std::move(theirs), sections == 1 ? 1.5 : 2.5});
    add(std::move(group));
  }
  // Denormal input: no slower than 0.5 of normal input.
  auto filter = std::make_shared<CQvIIR>();
  if (filter->Design(QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 4, 0.1, 0.0, 0.0, 2, 0) != S_OK) std::abort();
  auto normal = std::make_shared<std::vector<double>>(kFrames * 2, 0.25);
  auto tiny = std::make_shared<std::vector<double>>(kFrames * 2, 1e-310);
  auto out = std::make_shared<std::vector<double>>(kFrames * 2);
  add({"filter: denormal input",
       [=] { filter->ProcessDouble(out->data(), tiny->data(), kFrames, 0); },
       {{"normal input", [=] { filter->ProcessDouble(out->data(), normal->data(), kFrames, 0); }, 0.5}}});
}

} // namespace bench
