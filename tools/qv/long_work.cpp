#include "tools/qv/long_work.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
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

volatile std::sig_atomic_t received = 0;

void note(int signal) { received = signal; }

/// A signal that the caller had ignored (nohup, a job in the background) stays ignored.
void watch(int signal) {
#ifdef _WIN32
  if (std::signal(signal, note) == SIG_IGN) std::signal(signal, SIG_IGN);
#else
  // Without SA_RESTART: what waits, for a lock or for the reader of a pipe, then waits no longer.
  struct sigaction noting {};
  struct sigaction before {};
  noting.sa_handler = note;
  if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) sigaction(signal, &noting, nullptr);
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

void watch_interruption() {
  watch(SIGINT);
  watch(SIGTERM);
#ifdef SIGHUP
  watch(SIGHUP);
#endif
#ifdef SIGXFSZ
  // A limit on file sizes then makes a write fail, and is reported like a full disk.
  std::signal(SIGXFSZ, SIG_IGN);
#endif
}

void check_interruption() {
  if (received != 0) throw Interrupted{static_cast<int>(received)};
}

void die_of(const Interrupted& interrupted) {
  std::signal(interrupted.signal, SIG_DFL);
  std::raise(interrupted.signal);
  std::_Exit(128 + interrupted.signal);
}

} // namespace qv::tool
