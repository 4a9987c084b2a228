// Programs run as a user runs them: arguments in, exit code and both outputs back.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <sys/types.h>
#include <vector>

namespace cli_test {

using Arguments = std::vector<std::string>;
/// Both, one behind the other.
Arguments joined(Arguments first, const Arguments& rest);

struct Outcome {
  int exit_code = -1; ///< -1 when a signal ended it
  int signal = 0;
  std::string out;
  std::string error;
};

/// Starts a program and leaves it running.
class Process {
public:
  explicit Process(const Arguments& command);
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
Outcome run(const Arguments& command);
/// Runs the `qv` of this build.
Outcome run_qv(const Arguments& arguments, const Arguments& rest = {});
/// What it prints when all goes well: exit code 0, and no word on standard error. Throws otherwise.
std::string qv_says(const Arguments& arguments, const Arguments& rest = {});
/// The same with --json, read.
nlohmann::json qv_json(const Arguments& arguments);

/// One line on standard error that begins with "qv: " and the subject, gives the reason, and is all that was printed.
void expect_refused(const Outcome& outcome, int exit_code, const std::string& subject, const std::string& reason);

} // namespace cli_test
