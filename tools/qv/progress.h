// A progress bar on standard error, when that is a terminal.
#pragma once

#include <cstdint>
#include <string>

namespace qv::tool {

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

} // namespace qv::tool
