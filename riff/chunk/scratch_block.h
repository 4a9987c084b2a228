// Memory for the length of one call.
#pragma once

#include "qv/win32.h"

namespace qv::riff {

/// A zeroed block. GlobalAlloc reports a shortage instead of throwing.
class Scratch {
public:
  explicit Scratch(SIZE_T bytes) : memory_(static_cast<char*>(GlobalAlloc(GPTR, bytes))) {}
  ~Scratch() {
    if (memory_) GlobalFree(memory_);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  char* get() const { return memory_; }

private:
  char* memory_;
};

} // namespace qv::riff
