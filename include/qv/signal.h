// Coefficients of small filters: first-order shelves and a second-order band-pass.
//
//     QVBIQUAD shelf;
//     QvSig_FindLowShelfBoostCoeffs(200.0 / 48000.0, 6.0, &shelf);
//     QvBiquadFloatEx(samples, samples, frames, 1, &shelf, 1);
//
// All are made of allpass filters A(z): U. Zoelzer (ed.), "DAFX: Digital Audio Effects", chapter 2. They are made
// as biquad records of qv/filter.h with a state of 0, ready to run; a first-order one has b2 and c2 0.
//
// frequency: as a fraction of the sample rate, 0.0001 to 0.4999. A value outside a range counts as the nearest in it, a
// NaN as the lowest. Any thread. S_OK; E_INVALIDARG: a null record.
#pragma once

#include "qv/filter.h"

/// Shelves: H(z) = 1 + (V - 1) / 2 (1 + A(z)) for the low and (1 - A(z)) for the high one, with the first-order
/// A(z) = (a + z^-1) / (1 + a z^-1), V = 10^(gain / 20) for a boost and 10^(-gain / 20) for a cut, t = tan(pi
/// frequency):
///
///   boost     a = (t - 1) / (t + 1)
///   low cut   a = (t - V) / (t + V)
///   high cut  a = (V t - 1) / (V t + 1)
///
/// gain: dB, 0 to 100, by which the shelf is raised or lowered: a cut undoes a boost of the same numbers exactly. The
/// response passes sqrt((V^2 + 1) / 2) at `frequency` for a boost, and 1 over that of the boost for a cut.
QV_FUNCTION HRESULT QvSig_FindLowShelfBoostCoeffs(double frequency, double gain, QVBIQUAD* biquad);
QV_FUNCTION HRESULT QvSig_FindLowShelfCutCoeffs(double frequency, double gain, QVBIQUAD* biquad);
QV_FUNCTION HRESULT QvSig_FindHiShelfBoostCoeffs(double frequency, double gain, QVBIQUAD* biquad);
QV_FUNCTION HRESULT QvSig_FindHiShelfCutCoeffs(double frequency, double gain, QVBIQUAD* biquad);

/// H(z) = (1 - A(z)) / 2 with the second-order A(z) = (-c + d (1 - c) z^-1 + z^-2) / (1 + d (1 - c) z^-1 - c z^-2),
/// c = (tan(pi bandwidth) - 1) / (tan(pi bandwidth) + 1), d = -cos(2 pi frequency): 1 at `frequency`, 0 at DC and
/// Nyquist, and 1/sqrt(2) at two edges that are `bandwidth` apart.
/// bandwidth: as a fraction of the sample rate, 0.000001 to 0.4999.
QV_FUNCTION HRESULT QvSig_FindBandPassCoeffs(double frequency, double bandwidth, QVBIQUAD* biquad);
