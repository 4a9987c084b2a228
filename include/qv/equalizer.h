// The equaliser: a low shelf, any number of peaks and a high shelf, one after the other.
//
//     const QVEQBAND bands[] = {{100.0, 3.0, 1.0}, {1000.0, -6.0, 1.0}, {8000.0, 2.0, 1.0}};
//     HQVEQ eq = nullptr;
//     if (FAILED(QvEq_Init(&eq, 48000, 2, bands, 3))) ...
//     QvEq_ProcessFloat(eq, samples, samples, frames);
//     QvEq_Close(eq);
//
// Each band is a biquad of qv/filter.h. Arithmetic is in double precision from the first band to the last. A handle
// carries its own state and no lock: one thread at a time works with it. Nothing that processes allocates.
#pragma once

#include "qv/export.h"
#include "qv/result.h"

/// A value outside its range counts as the nearest in it, a NaN as the lowest.
struct QVEQBAND {
  double frequency; ///< Hz, 0.0001 to 0.4999 of the sample rate: a peak's middle, or where a shelf has half its gain
  double gain;      ///< dB, -100 to 25; at 0 a band does nothing at all
  double shape;     ///< a peak's bandwidth in octaves, 0.1f to 5, or a shelf's slope, 0.1f to 1
};

struct QVEQ;
typedef QVEQ* HQVEQ;

/// The first of several bands is a low shelf, the last a high shelf, the others are peaks; a single band is a peak.
/// The bands are copied, and may stand in any order of frequencies. QvEq_Close frees the handle.
/// E_INVALIDARG: a null pointer, no bands, no channels, or a sample rate of 0; E_OUTOFMEMORY. Both make *eq null.
QV_FUNCTION HRESULT QvEq_Init(HQVEQ* eq, DWORD sampleRate, DWORD channels, const QVEQBAND* bands, DWORD count);

/// Filter interleaved buffers of the handle's channels; dst may be src. A stream may be cut into blocks of any size.
/// A NaN or infinity in the input stays in its channel's state until QvEq_Reset.
/// S_OK; E_INVALIDARG for a null handle, and for a null buffer unless frames is 0.
QV_FUNCTION HRESULT QvEq_ProcessFloat(HQVEQ eq, float* dst, const float* src, DWORD frames);
QV_FUNCTION HRESULT QvEq_ProcessDouble(HQVEQ eq, double* dst, const double* src, DWORD frames);

/// Sets the state of all channels to 0. S_OK; E_INVALIDARG for a null handle.
QV_FUNCTION HRESULT QvEq_Reset(HQVEQ eq);

/// Frees the handle. S_OK, also for null.
QV_FUNCTION HRESULT QvEq_Close(HQVEQ eq);
