// Being asked to stop: SIGINT, SIGTERM and SIGHUP are noted while work is on that must be cleaned up after.
#pragma once

namespace qv::tool {

/// Thrown by check_interruption and caught in main, which then ends the program by the same signal.
struct Interrupted {
  int signal;
};

/// From here on the signals are only noted.
void watch_interruption();
/// Throws Interrupted when a signal has come.
void check_interruption();
/// Ends the program as the signal would have.
[[noreturn]] void die_of(const Interrupted& interrupted);

} // namespace qv::tool
