// How many bits a second a track takes, from its tables.
#pragma once

#include "qv/mp4/sample_table.h"

namespace fileutil {

struct BitRates {
  uint32_t largest_sample = 0; ///< bytes
  uint32_t maximum = 0;        ///< bits of the densest second, bits per second; at least `average`
  uint32_t average = 0;        ///< bits per second
};

/// Of a track whose samples have a size each. Where the timescale or the whole duration is 0 both rates are 0.
BitRates bit_rates(const SampleSizeBox& sizes, const TimeToSampleBox& times, uint32_t timescale);

} // namespace fileutil
