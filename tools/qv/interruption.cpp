#include "tools/qv/interruption.h"

#include <csignal>
#include <cstdlib>

namespace qv::tool {

namespace {

volatile std::sig_atomic_t received = 0;

void note(int signal) { received = signal; }

void watch(int signal) {
  // What the caller had ignored (nohup, a job in the background) stays ignored.
  if (std::signal(signal, note) == SIG_IGN) std::signal(signal, SIG_IGN);
}

} // namespace

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
