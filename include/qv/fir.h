// Non-recursive filters: CQvFIR, which designs low-pass, high-pass, band-pass and band-stop filters from a windowed
// sinc and runs them over interleaved buffers; the windows themselves; and the convolution of two sequences.
//
//     CQvFIR low;
//     low.Design(QVFIR_LOWPASS, QVWINDOW_KAISER, 101, 0.1, 0.0, 8.0, 2, 0);
//     low.ProcessFloat(samples, samples, frames, 0); // late by low.getLatency() frames, the same at every frequency
//
// Arithmetic is in double precision. Instances carry their own state and no lock: one thread at a time works with one.
// Nothing that processes allocates. Pointers are not checked unless it is said.
#pragma once

#include "qv/export.h"
#include "qv/result.h"

// ---- windows -------------------------------------------------------------------------------------------------------

/// F. J. Harris, "On the use of windows for harmonic analysis with the discrete Fourier transform", Proc. IEEE 66
/// (1978), in their symmetric forms, with x = 2 pi k / (n - 1); Kaiser's is I0(beta sqrt(1 - r^2)) / I0(beta) with r
/// from -1 to 1 over the window.
enum QVWINDOW : DWORD {
  QVWINDOW_RECTANGULAR = 0,
  QVWINDOW_HANN = 1,           ///< 0.5 - 0.5 cos x
  QVWINDOW_HAMMING = 2,        ///< 0.54 - 0.46 cos x
  QVWINDOW_BLACKMAN = 3,       ///< 0.42 - 0.5 cos x + 0.08 cos 2x
  QVWINDOW_BLACKMANHARRIS = 4, ///< 0.35875 - 0.48829 cos x + 0.14128 cos 2x - 0.01168 cos 3x
  /// For a filter whose ripple is -A dB: beta 0.1102 (A - 8.7) above 50 dB, 0.5842 (A - 21)^0.4 + 0.07886 (A - 21)
  /// above 21 dB, and (A - 7.95) / (14.36 w) taps for edges that are w of the sample rate wide (J. F. Kaiser,
  /// "Nonrecursive digital filter design using the I0-sinh window function", Proc. IEEE ISCAS 1974).
  QVWINDOW_KAISER = 5,
};

/// Fills a symmetric window of n values. The middle of an odd n is 1, and so is the one value of n 1; no value is
/// negative. kaiserBeta: 0 (rectangular) to 700, a value outside counts as the nearest, a NaN as 0; not looked at for
/// the other shapes. Any thread.
/// E_INVALIDARG: a null pointer, n 0, another shape; nothing is written.
QV_FUNCTION HRESULT makewindows(double* window, DWORD n, QVWINDOW shape, double kaiserBeta);

// ---- convolution ---------------------------------------------------------------------------------------------------

/// dst[k] = sum of a[i] b[k - i]: linear convolution, to aCount + bCount - 1 values. The products are summed one by
/// one, which takes a time of aCount x bCount. dst overlaps neither a nor b, which may be the same. Any thread.
/// E_INVALIDARG: a null pointer, or a count of 0; nothing is written.
QV_FUNCTION HRESULT fnConvolution(double* dst, const double* a, DWORD aCount, const double* b, DWORD bCount);

// ---- designed filters ----------------------------------------------------------------------------------------------

enum QVFIR_TYPE : DWORD {
  QVFIR_LOWPASS = 0,  ///< gain 1 at DC
  QVFIR_HIGHPASS = 1, ///< gain 1 at Nyquist
  QVFIR_BANDPASS = 2, ///< gain 1 halfway between its edges
  QVFIR_BANDSTOP = 3, ///< gain 1 at DC
};

inline constexpr DWORD QVFIR_MAX_TAPS = 65535;

/// A filter of linear phase for any number of channels: the ideal response's impulse response, windowed and scaled
/// (A. V. Oppenheim and R. W. Schafer, "Discrete-Time Signal Processing", chapter 7). At its edges the gain is 1/2.
class QV_API CQvFIR {
public:
  CQvFIR() noexcept;
  /// Design and state. Throws std::bad_alloc.
  CQvFIR(const CQvFIR& other);
  CQvFIR(CQvFIR&& other) noexcept;
  CQvFIR& operator=(const CQvFIR& other);
  CQvFIR& operator=(CQvFIR&& other) noexcept;
  ~CQvFIR();

  /// Designs the filter anew, with a state of 0.
  ///
  /// taps: odd, 3 to QVFIR_MAX_TAPS.
  /// frequency: of the edge, or of a band's lower edge, as a fraction of the sample rate.
  /// upperFrequency: of a band's upper edge; not looked at for low-pass and high-pass. Edges below 0.000001 count as
  ///   that, above 0.499999 (and up to 0.5) as that, a NaN as the lowest.
  /// kaiserBeta: as for makewindows.
  /// channelMask: as for ProcessFloat; kept for getLastChannelMask.
  ///
  /// E_INVALIDARG for a frequency above 0.5, another type or window, even taps or taps out of range, no channels, a
  /// band less than 0.000001 wide, and a band-stop with so few taps for its edges that hardly anything passes at DC
  /// (less than 1/1000 of the sum of its coefficients' magnitudes). E_OUTOFMEMORY. All leave the instance as it was.
  HRESULT Design(QVFIR_TYPE type, QVWINDOW window, DWORD taps, double frequency, double upperFrequency,
                 double kaiserBeta, DWORD channels, DWORD channelMask);

  /// Filter interleaved buffers; dst may be src. The bits of channelMask choose channels (0: all); the others are
  /// copied where dst and src differ, and keep their state. Channels from 32 on are chosen by a mask of 0 alone.
  /// A stream may be cut into blocks of any size. A NaN or infinity is gone from the output after `taps` frames.
  /// Nothing is written before the first design.
  void ProcessFloat(float* dst, const float* src, DWORD frames, DWORD channelMask);
  void ProcessDouble(double* dst, const double* src, DWORD frames, DWORD channelMask);

  /// Sets the state of one channel to 0; nothing for a channel that does not exist.
  void Reset(DWORD channel);
  void ResetAll();

  /// 0 before the first design.
  DWORD getChannels() const;
  DWORD getTaps() const;
  /// Frames by which the output is late: (taps - 1) / 2.
  DWORD getLatency() const;
  /// The taps, symmetric; valid until the next design or assignment. Null before the first design.
  const double* getCoefficients() const;
  /// Of the last design or process call.
  DWORD getLastChannelMask() const;

private:
  struct Filter;
  Filter* filter_;
};
static_assert(sizeof(CQvFIR) == sizeof(void*));
