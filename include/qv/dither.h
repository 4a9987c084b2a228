// CQvDither: float or double samples brought to the steps of a shorter integer format, with dither.
//
//     CQvDither dither;
//     dither.Init(QVDITHER_TRIANGULAR, 16, 2, 1);
//     dither.ProcessFloat(samples, samples, frames, 0); // then converted to 16 bits without a further loss
//
// The output is a multiple of 2^-(bits - 1) within [-1, 1 - 2^-(bits - 1)], still as a float or double: the copy
// kernels of qv/audio_kernels.h with a gain of 1.0 then give exactly those integers.
//
// In steps, x being the input: rectangular dither adds a random value of [-1/2, 1/2) before rounding, triangular the
// sum of two such values. Rounding is to nearest, ties to even. The error then has the mean 0 whatever the input; its
// power is 1/12 + 1/12 square steps (rectangular, on average over inputs) or 1/12 + 2/12 (triangular, for every input):
// S. P. Lipshitz, R. A. Wannamaker, J. Vanderkooy, "Quantization and dither: a theoretical survey", J. Audio Eng. Soc.
// 40 (1992). Shaped dither is triangular, and takes the error of the previous sample off the next: the noise is
// filtered by 1 - z^-1, and has twice the power, less at low and more at high frequencies.
//
// An instance carries its own state and no lock: one thread at a time works with it. Nothing that processes allocates.
// Pointers are not checked.
#pragma once

#include "qv/export.h"
#include "qv/result.h"

enum QVDITHER : DWORD {
  QVDITHER_NONE = 0,        ///< rounding alone
  QVDITHER_RECTANGULAR = 1, ///< one step wide
  QVDITHER_TRIANGULAR = 2,  ///< two steps wide
  QVDITHER_SHAPED = 3,      ///< triangular, first-order error feedback
};

class QV_API CQvDither {
public:
  CQvDither() noexcept;
  /// With the state: the copy gives the samples that the original would give. Throws std::bad_alloc.
  CQvDither(const CQvDither& other);
  CQvDither(CQvDither&& other) noexcept;
  CQvDither& operator=(const CQvDither& other);
  CQvDither& operator=(CQvDither&& other) noexcept;
  ~CQvDither();

  /// bits: 2 to 32, of the integer format.
  /// seed: any. Each channel has its own generator, set from the seed and the channel's number: the same seed gives
  ///   the same samples, whatever the block sizes and the other channels are. (PCG32: M. E. O'Neill, "PCG: a family of
  ///   simple fast space-efficient statistically good algorithms for random number generation", 2014.)
  ///
  /// E_INVALIDARG for another type, bits out of range, and no channels. E_OUTOFMEMORY. Both leave the instance as it
  /// was.
  HRESULT Init(QVDITHER type, DWORD bits, DWORD channels, ULONGLONG seed);

  /// Bring interleaved buffers to the steps; dst may be src. The bits of channelMask choose channels (0: all); the
  /// others are copied where dst and src differ, and keep their state. Channels from 32 on are chosen by a mask of 0
  /// alone. Values outside the range are clipped, and what is clipped off is not fed back; a NaN becomes 0.
  /// A float has no more than 25 bits: ProcessFloat works with 25 where more were set.
  /// Nothing is written before the first Init.
  void ProcessFloat(float* dst, const float* src, DWORD frames, DWORD channelMask);
  void ProcessDouble(double* dst, const double* src, DWORD frames, DWORD channelMask);

  /// Starts again as after Init: generators and errors.
  void Reset();

  /// 0 before the first Init.
  DWORD getBits() const;
  DWORD getChannels() const;

private:
  struct State;
  State* state_;
};
static_assert(sizeof(CQvDither) == sizeof(void*));
