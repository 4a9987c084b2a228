// Recursive filters: single biquad sections from musical parameters, and CQvIIR, which designs low-pass, high-pass,
// band-pass and band-stop filters of order 1 to 15 and runs them over interleaved buffers.
//
//     QVBIQUADPARAMS params = {48000, 1000.0, 6.0, 1.0, 1.0, QVBIQUAD_PEAK};
//     QVBIQUAD peak;
//     QvMakeBiquad(&params, &peak);
//     for (DWORD channel = 0; channel < 2; ++channel)               // a record each
//       QvBiquadFloatEx(samples + channel, samples + channel, frames, 2, &records[channel], 1);
//
//     CQvIIR low;
//     low.Design(QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 4, 0.1, 0.0, 0.0, 2, 0);
//     low.ProcessFloat(samples, samples, frames, 0);
//
// Arithmetic is in double precision. Records and instances carry their own state and no lock: one thread at a time
// works with one. Nothing that processes allocates. Pointers are not checked unless it is said.
#pragma once

#include "qv/export.h"
#include "qv/result.h"

// ---- biquads -------------------------------------------------------------------------------------------------------
//
// Coefficients: R. Bristow-Johnson, "Cookbook formulae for audio EQ biquad filter coefficients".

enum QVBIQUADTYPE : DWORD {
  QVBIQUAD_LOWPASS = 0,  ///< Q is 1/sqrt(2)
  QVBIQUAD_HIGHPASS = 1, ///< Q is 1/sqrt(2)
  QVBIQUAD_BANDPASS = 2, ///< 0 dB at its peak
  QVBIQUAD_NOTCH = 3,
  QVBIQUAD_PEAK = 4,
  QVBIQUAD_LOWSHELF = 5,
  QVBIQUAD_HIGHSHELF = 6,
};

/// A value outside its range counts as the nearest in it, a NaN as the lowest.
struct QVBIQUADPARAMS {
  DWORD sampleRate;
  double frequency; ///< Hz; 0.0001 to 0.4999 of the sample rate
  double gain;      ///< dB, -100 to 25: of peak and shelves
  double bandwidth; ///< octaves, 0.1f to 5: of band-pass, notch and peak
  double slope;     ///< 0.1f to 1: of the shelves
  DWORD type;       ///< QVBIQUADTYPE
};

/// w = x + c1 w1 + c2 w2; y = b0 w + b1 w1 + b2 w2. The feedback coefficients are stored negated: c = -a.
struct QVBIQUAD {
  double b0, b1, b2;
  double c1, c2;
  double w1, w2; ///< the state
};
static_assert(sizeof(QVBIQUAD) == 7 * sizeof(double));

/// Makes a section with a state of 0. S_OK; E_NOTIMPL for another type: the record passes samples unchanged then. The
/// bandwidth term sinh() is capped where it would leave the range of doubles, so that no parameter gives a NaN.
/// E_INVALIDARG: a null pointer.
QV_FUNCTION HRESULT QvMakeBiquad(const QVBIQUADPARAMS* params, QVBIQUAD* biquad);

/// Filter one sample in place. A state value below 2^-32 is set to 0 first, so that no denormal number stays.
QV_FUNCTION void QvBiquadSampleFloat(float* sample, QVBIQUAD* biquad);
QV_FUNCTION void QvBiquadSampleDouble(double* sample, QVBIQUAD* biquad);

/// Filter one channel of an interleaved buffer: the samples 0, stride, 2 x stride, ... of src into the same places of
/// dst, which may be src. `forward` 0 goes from the last frame to the first: a pass each way shifts no phase.
QV_FUNCTION void QvBiquadFloatEx(float* dst, const float* src, DWORD frames, DWORD stride, QVBIQUAD* biquad,
                                 BOOL forward);
QV_FUNCTION void QvBiquadDoubleEx(double* dst, const double* src, DWORD frames, DWORD stride, QVBIQUAD* biquad,
                                  BOOL forward);

// ---- designed filters ----------------------------------------------------------------------------------------------

enum QVIIR_TYPE : DWORD {
  QVIIR_LOWPASS = 0,
  QVIIR_HIGHPASS = 1,
  QVIIR_BANDPASS = 2,
  QVIIR_BANDSTOP = 3,
};

enum QVIIR_DESIGN : DWORD {
  QVIIR_BUTTERWORTH = 0, ///< -3.01 dB at its edges
  QVIIR_CHEBYSHEV = 1,   ///< type I, a ripple of 0.5 dB up to its edges
  QVIIR_BESSEL = 2,      ///< its poles' magnitudes have the product 1 before they are moved
  QVIIR_RESONATOR = 3,   ///< one pair of poles, for the band types
};

inline constexpr DWORD QVIIR_MAX_ORDER = 15;

/// A cascade of biquad sections for any number of channels. Edges are those of the digital filter (the bilinear
/// transform is prewarped). The gain is 1 at DC for low-pass, at Nyquist for high-pass, at the warped centre for
/// band-pass, at DC and Nyquist for band-stop.
class QV_API CQvIIR {
public:
  CQvIIR() noexcept;
  /// Design and state. Throws std::bad_alloc.
  CQvIIR(const CQvIIR& other);
  CQvIIR& operator=(const CQvIIR& other);
  CQvIIR& operator=(CQvIIR&& other) noexcept;
  ~CQvIIR();

  /// Designs the filter anew, with a state of 0.
  ///
  /// order: 1 to 15; of a band type the sections are as many as the order. Not looked at for the resonator.
  /// frequency: of the edge, or of the middle of the band, as a fraction of the sample rate. Below 0.000001 it counts
  ///   as that, above 0.4999 (and up to 0.5) as that; so do the edges of a band.
  /// bandwidth: octaves between the edges of a band (0.001 to 20), or the Q of a resonator (0.05 to 100,000). Not
  ///   looked at for low-pass and high-pass.
  /// gain: dB, -200 to 100. When it is not 0 the output is the input plus (10^(gain / 20) - 1) times the filter's; a
  ///   band-pass then is designed as a band-stop of the gain negated.
  /// channelMask: as for ProcessFloat; kept for getLastChannelMask. With two channels and bit 0 clear, both are
  ///   filtered in one vector, where the processor support word has QVCPU_SSE2.
  ///
  /// E_INVALIDARG for a frequency above 0.5, which leaves the instance as it was; for another order, type or design, a
  /// resonator of type low-pass or high-pass, and no channels, which leave it cleared, without channels: it then
  /// writes nothing. E_OUTOFMEMORY, the same.
  HRESULT Design(QVIIR_TYPE type, QVIIR_DESIGN design, DWORD order, double frequency, double bandwidth, double gain,
                 DWORD channels, DWORD channelMask);

  /// Filter interleaved buffers; dst may be src. The bits of channelMask choose channels (0: all); the others are
  /// copied where dst and src differ. Channels from 32 on are chosen by a mask of 0 alone.
  void ProcessFloat(float* dst, const float* src, DWORD frames, DWORD channelMask);
  void ProcessDouble(double* dst, const double* src, DWORD frames, DWORD channelMask);

  /// Sets the state of one channel to 0; nothing for a channel that does not exist.
  void Reset(DWORD channel);
  void ResetAll();
  /// Takes the state of a filter with as many sections and channels; nothing for another.
  void SetDelayElementsFrom(const CQvIIR& other);

  DWORD getChannels() const;
  DWORD getNumBiquads() const;

protected:
  /// A section: b and c as QVBIQUAD has them, a state of 0. A section that does not exist passes samples unchanged.
  QVBIQUAD getBiquad(DWORD index) const;
  /// A section's coefficients of z^0, z^-1, z^-2: numerator, then denominator, whose first is 1.
  void getPolynomial(DWORD index, double (&numerator)[3], double (&denominator)[3]) const;
  /// What the cascade is multiplied with (1 where there is no gain), and the input beside it (0 where there is none).
  double getGain() const;
  double getDry() const;
  /// Of the last design or process call.
  DWORD getLastChannelMask() const;

private:
  struct Filter;
  Filter* filter_;
};
static_assert(sizeof(CQvIIR) == sizeof(void*));
