#include "tools/qv/program.h"

#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/long_work.h"

#include <cstdio>
#include <iostream>

namespace qv::tool {

namespace {

int run(const Work& work) {
  try {
    const int exit_code = work();
    std::cout.flush();
    if (std::cout && std::fflush(stdout) == 0) return exit_code;
    check_interruption(); // a signal may be the reason
    print_error("standard output: cannot be written");
  } catch (const Interrupted& interrupted) {
    die_of(interrupted);
  } catch (const std::bad_alloc&) {
    print_error("out of memory");
  } catch (const std::exception& failure) {
    print_error(failure.what());
  }
  return kWorkFailed;
}

void add_all(const Command& program) {
  for (const auto add : {add_info, add_boxes, add_convert, add_stats, add_cpu, add_filter, add_mux, add_repair,
                         add_settings, add_tag, add_time})
    add(program);
}

} // namespace

int run_program(const std::string& version, const std::vector<std::string>& words) {
  const Request request = parse_command_line(
      "qv", "Reads, converts, filters, measures and mends audio files; converts times; reads and writes settings.",
      version, words, add_all);
  return request.work ? run(request.work) : request.exit_code;
}

} // namespace qv::tool
