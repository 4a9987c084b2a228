#include "tools/qv/progress.h"

#include <cstdio>
#include <utility>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace qv::tool {

namespace {

constexpr int kBarWidth = 40;

bool error_is_terminal() {
#ifdef _WIN32
  return _isatty(_fileno(stderr)) != 0;
#else
  return isatty(STDERR_FILENO) != 0;
#endif
}

} // namespace

Progress::Progress(std::string label, uint64_t total)
    : label_(std::move(label)), total_(total), visible_(total > 0 && error_is_terminal()) {}

Progress::~Progress() {
  if (shown_percent_ >= 0) std::fputs("\r\x1B[K", stderr);
}

void Progress::advance(uint64_t amount) {
  done_ += amount;
  if (!visible_) return;
  const int percent = static_cast<int>(static_cast<double>(done_) * 100.0 / static_cast<double>(total_));
  if (percent == shown_percent_) return;
  shown_percent_ = percent;
  const int filled = percent * kBarWidth / 100;
  const std::string bar =
      std::string(static_cast<size_t>(filled), '#') + std::string(static_cast<size_t>(kBarWidth - filled), ' ');
  std::fprintf(stderr, "\r%s [%s] %3d %%", label_.c_str(), bar.c_str(), percent);
  std::fflush(stderr);
}

} // namespace qv::tool
