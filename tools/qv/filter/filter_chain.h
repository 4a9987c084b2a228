// A filter as the command line describes it: run over doubles, and its response.
#pragma once

#include "qv/filter.h"

#include <complex>
#include <cstdint>
#include <string>
#include <vector>

namespace qv::tool {

struct FilterOptions {
  std::string type;
  std::string design = "butterworth";
  DWORD order = 2;
  double frequency = 1000.0; ///< Hz
  double bandwidth = 1.0;    ///< octaves
  double q = 5.0;            ///< of a resonator
  double slope = 1.0;        ///< of a shelf
  double gain = 0.0;         ///< dB
};

/// At one frequency.
struct Response {
  double frequency;   ///< Hz
  double magnitude;   ///< dB
  double phase;       ///< degrees, -180 to 180
  double group_delay; ///< milliseconds
};

class FilterChain {
public:
  /// Throws Failure about the file of that name.
  FilterChain(const std::string& name, const FilterOptions& options, DWORD rate, DWORD channels);

  void process(double* samples, DWORD frames);
  /// From 10 Hz, or a thousandth of half the rate, almost up to half the rate, in equal ratios.
  std::vector<Response> responses(size_t count) const;

  static std::vector<std::string> type_names();
  static std::vector<std::string> design_names();

private:
  /// With what only derived classes see.
  struct Designed : CQvIIR {
    using CQvIIR::getBiquad;
    using CQvIIR::getDry;
    using CQvIIR::getGain;
  };

  Response response_at(double frequency) const;

  DWORD rate_;
  DWORD channels_;
  Designed designed_;
  std::vector<QVBIQUAD> biquads_; ///< a record per channel; none for a designed filter
  std::vector<QVBIQUAD> sections_;
  double gain_ = 1.0;
  double dry_ = 0.0;
};

} // namespace qv::tool
