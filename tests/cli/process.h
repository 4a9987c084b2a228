// Programs run as a user runs them: arguments in, exit code and both outputs back.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace cli_test {

struct Outcome {
  int exit_code = -1; ///< -1 when a signal ended it
  int signal = 0;
  std::string out;
  std::string error;
};

/// Starts a program and leaves it running.
class Process {
public:
  explicit Process(const std::vector<std::string>& command);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t id() const { return id_; }
  Outcome wait();

private:
  pid_t id_ = -1;
  std::string out_path_;
  std::string error_path_;
};

/// Runs a program to its end.
Outcome run(const std::vector<std::string>& command);
/// Runs the `qv` of this build.
Outcome run_qv(std::vector<std::string> arguments);

} // namespace cli_test
