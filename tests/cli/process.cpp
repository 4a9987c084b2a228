#include "tests/cli/process.h"

#include "tests/cli/scratch_folder.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace cli_test {

namespace {

std::string capture_file() {
  std::string path = (std::filesystem::temp_directory_path() / "qv-cli-XXXXXX").string();
  const int descriptor = mkstemp(path.data());
  if (descriptor < 0) throw std::runtime_error("no file for a program's output");
  close(descriptor);
  return path;
}

std::string take(const std::string& path) {
  std::string text = read_file(path);
  std::filesystem::remove(path);
  return text;
}

} // namespace

Arguments joined(Arguments first, const Arguments& rest) {
  first.insert(first.end(), rest.begin(), rest.end());
  return first;
}

Process::Process(const Arguments& command) : out_path_(capture_file()), error_path_(capture_file()) {
  std::vector<char*> words;
  for (const std::string& word : command)
    words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out_path_.c_str(), O_WRONLY | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, error_path_.c_str(), O_WRONLY | O_TRUNC, 0600);
  // What ignores signals itself (nohup, a shell's job in the background) does not hand that on.
  sigset_t defaults;
  sigemptyset(&defaults);
  for (const int signal : {SIGHUP, SIGINT, SIGTERM})
    sigaddset(&defaults, signal);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  const int failed = posix_spawnp(&id_, words[0], &actions, &attributes, words.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) throw std::runtime_error("could not start " + command[0]);
}

Process::~Process() {
  if (id_ > 0) wait();
}

Outcome Process::wait() {
  int status = 0;
  while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
  }
  id_ = -1;
  Outcome outcome;
  if (WIFEXITED(status)) outcome.exit_code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
  outcome.out = take(out_path_);
  outcome.error = take(error_path_);
  return outcome;
}

Outcome run(const Arguments& command) { return Process(command).wait(); }

Outcome run_qv(const Arguments& arguments, const Arguments& rest) {
  return run(joined(joined({QV_PROGRAM}, arguments), rest));
}

std::string qv_says(const Arguments& arguments, const Arguments& rest) {
  const Outcome outcome = run_qv(arguments, rest);
  if (outcome.exit_code != 0 || !outcome.error.empty())
    throw std::runtime_error(testing::PrintToString(joined(arguments, rest)) + ": " + outcome.error);
  return outcome.out;
}

nlohmann::json qv_json(const Arguments& arguments) { return nlohmann::json::parse(qv_says(arguments, {"--json"})); }

void expect_refused(const Outcome& outcome, int exit_code, const std::string& subject, const std::string& reason) {
  EXPECT_EQ(outcome.exit_code, exit_code);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
  EXPECT_EQ(outcome.error.starts_with("qv: " + subject), true) << outcome.error << " does not name " << subject;
  EXPECT_NE(outcome.error.find(reason), std::string::npos) << outcome.error << " does not say: " << reason;
}

} // namespace cli_test
