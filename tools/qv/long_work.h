// What work that takes its time owes to its user: a progress bar, and an end that leaves nothing behind when a signal
// asks for it.
#pragma once

#include <cstdint>
#include <string>

namespace qv::tool {

/// A progress bar on standard error, when that is a terminal.
class Progress {
public:
  Progress(std::string label, uint64_t total);
  /// Takes the bar away.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void advance(uint64_t amount);

private:
  std::string label_;
  uint64_t total_;
  uint64_t done_ = 0;
  int shown_percent_ = -1;
  bool visible_;
};

/// Thrown by check_interruption and caught in main, which then ends the program by the same signal.
struct Interrupted {
  int signal;
};

/// From here on SIGINT, SIGTERM and SIGHUP are only noted. OutputFile and LockedInput call it.
void watch_interruption();
/// Throws Interrupted when a signal has come.
void check_interruption();
/// Ends the program as the signal would have.
[[noreturn]] void die_of(const Interrupted& interrupted);

} // namespace qv::tool
