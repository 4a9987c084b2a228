// The system's calls behind files, of which the n-th fails, does half its work, or ends the process.
#pragma once

#include "platform/posix/seams.h"

#include <cerrno>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace update_test {

enum class Break {
  kNone,
  kKillBefore,
  kKillHalfWay, ///< of a write; others are done whole
  kKillAfter,
  kFail,
  kFailFromHere, ///< this call and all later ones
  kWriteHalf     ///< a write that is short, and goes on
};

/// While it lives, the n-th call is broken. Counts the calls.
class BrokenCalls {
public:
  BrokenCalls(int nth, Break how, bool counts_reads = false) {
    state = {nth, how, counts_reads, 0};
    qv::platform::set_file_calls(&kBroken);
  }
  ~BrokenCalls() { qv::platform::set_file_calls(nullptr); }
  /// Whether the n-th call has come.
  bool has_happened() const { return state.calls >= state.nth; }

private:
  struct State {
    int nth;
    Break how;
    bool counts_reads;
    int calls;
  };
  static inline State state = {};

  static Break next() {
    ++state.calls;
    if (state.how == Break::kFailFromHere) return state.calls >= state.nth ? Break::kFail : Break::kNone;
    return state.calls == state.nth ? state.how : Break::kNone;
  }

  template <class Result, class Run>
  static Result act(int error, Run run) {
    const Break how = next();
    if (how == Break::kKillBefore) raise(SIGKILL);
    if (how == Break::kFail) return errno = error, Result{-1};
    const Result result = run();
    if (how == Break::kKillAfter || how == Break::kKillHalfWay) raise(SIGKILL);
    return result;
  }

  static ssize_t write(int descriptor, const void* buffer, size_t bytes, int64_t position) {
    const bool halves =
        state.calls + 1 == state.nth && (state.how == Break::kKillHalfWay || state.how == Break::kWriteHalf);
    return act<ssize_t>(ENOSPC, [&] {
      return qv::platform::kSystemFileCalls.write(descriptor, buffer, halves ? (bytes + 1) / 2 : bytes, position);
    });
  }

  static inline const qv::platform::FileCalls kBroken = {
      .read =
          [](int descriptor, void* buffer, size_t bytes, int64_t position) {
            const auto run = [&] { return qv::platform::kSystemFileCalls.read(descriptor, buffer, bytes, position); };
            return state.counts_reads ? act<ssize_t>(EIO, run) : run();
          },
      .write = write,
      .sync =
          [](int descriptor) { return act<int>(EIO, [&] { return qv::platform::kSystemFileCalls.sync(descriptor); }); },
      .close =
          [](int descriptor) {
            const int closed = qv::platform::kSystemFileCalls.close(descriptor); // in any case
            return act<int>(EIO, [&] { return closed; });
          },
      .open =
          [](const char* path, int flags, unsigned mode) {
            return act<int>(EIO, [&] { return qv::platform::kSystemFileCalls.open(path, flags, mode); });
          },
      .cut =
          [](int descriptor, int64_t length) {
            return act<int>(EIO, [&] { return qv::platform::kSystemFileCalls.cut(descriptor, length); });
          },
      .rename =
          [](const char* from, const char* to, unsigned flags) {
            return act<int>(EIO, [&] { return qv::platform::kSystemFileCalls.rename(from, to, flags); });
          },
      .remove =
          [](const char* path) { return act<int>(EIO, [&] { return qv::platform::kSystemFileCalls.remove(path); }); }};
};

/// Runs work in a process of its own that is killed in the n-th call. Whether there was one.
inline bool is_killed(int nth, Break how, const std::function<void()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    const BrokenCalls calls(nth, how);
    work();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) == 0)) << status;
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

} // namespace update_test
