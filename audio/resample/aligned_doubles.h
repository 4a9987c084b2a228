// Doubles that begin where the widest vector does: loads of whole vectors then cross no cache line.
#pragma once

#include <cstddef>
#include <memory>
#include <new>

namespace qv::audio {

class AlignedDoubles {
public:
  static constexpr std::align_val_t kAlignment{64};

  AlignedDoubles() = default;
  /// Leaves the values unset. Throws std::bad_alloc.
  explicit AlignedDoubles(size_t count)
      : memory_(static_cast<double*>(::operator new(count * sizeof(double), kAlignment))) {}

  double* data() const { return memory_.get(); }
  bool is_empty() const { return !memory_; }

private:
  struct Free {
    void operator()(double* memory) const { ::operator delete(memory, kAlignment); }
  };
  std::unique_ptr<double[], Free> memory_;
};

} // namespace qv::audio
