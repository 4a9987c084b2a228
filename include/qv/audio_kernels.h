// Kernels that copy, mix and measure samples: looked up once per pair of formats, called on buffer after buffer.
//
//     auto copy = QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT32, QVSAMPLE_PCM16);
//     copy(floats, shorts, frames * channels, 1.0f);
//
// Destination comes first, then source. Buffers need no alignment. A destination may be the source buffer itself (same
// address): a conversion then widens or narrows it in place. Other overlaps are not supported. Kernels hold no state,
// allocate nothing, and may run on any thread; lookups too. A lookup returns null for a pair that is not served; the
// formats it takes are not null.
//
// Conversion: an integer sample is divided by its full scale (2^7, 2^15, 2^23 or 2^31), in double precision; multiplied
// by the gain unless that is exactly 1.0; and for an integer destination multiplied by its full scale, clamped to what
// it can hold and rounded to nearest, ties to even. Float destinations are not clamped. A NaN becomes integer 0.
// Equal types with gain 1.0 move bytes. Every kernel level (qv/cpu.h) gives the same bits.
#pragma once

#include "qv/audio_records.h"

// ---- copy ----------------------------------------------------------------------------------------------------------

/// count: samples (frames x channels); below 1 nothing is done, and the buffers may be null.
using QVAUDIO_COPYFUNC = void (*)(void* dst, const void* src, LONG count, float gain);

/// All pairs of the types 16 to 19, 32, 33, 48, 49 and 64 to 66. With 0x40 in the support word the pairs (17, 32) and
/// (32, 17) have a vector kernel, with 0x20 and 0x40 the pairs (32, 33) and (33, 32).
QV_FUNCTION QVAUDIO_COPYFUNC QvAudio_GetCopyFunction2(QVSAMPLETYPE dstType, QVSAMPLETYPE srcType);
QV_FUNCTION QVAUDIO_COPYFUNC QvAudio_GetCopyFunction(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat);

/// Converts frames x source channels samples. S_OK, also for 0 frames or channels, when neither the other format nor
/// the buffers are looked at; E_NOTIMPL when no kernel serves the pair; E_INVALIDARG when frames x channels exceeds
/// 2^31 - 1. Formats and, with samples to convert, buffers are not null.
QV_FUNCTION HRESULT QvAudio_Copy(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                 const void* src, DWORD frames, float gain);

// ---- mix -----------------------------------------------------------------------------------------------------------

/// count: samples, below 1 nothing is done; channels: at least 1, with 0 nothing is done; gains: `channels` factors, of
/// which integer into integer reads the first alone. With something to do no argument is null.
///
/// Float into float: dst[i] += src[i] x gains[i mod channels]; the sum is formed in double with one or two channels,
/// and in single precision with a gain rounded to single with three or more. Pairs with one float side use
/// gains[i mod channels] too. Integer into integer uses gains[0] for every sample, scales the source into the
/// destination's scale by the conversion rule, adds, and saturates; nothing is done when dst is src.
using QVAUDIO_MIXFUNC = void (*)(void* dst, const void* src, LONG count, UINT channels, const double* gains);

/// All pairs of the types 16 to 19, 32, 33, 48 and 49. With 0x40 in the support word (32, 32) has a vector kernel.
QV_FUNCTION QVAUDIO_MIXFUNC QvAudio_GetMixFunction2(QVSAMPLETYPE dstType, QVSAMPLETYPE srcType);
QV_FUNCTION QVAUDIO_MIXFUNC QvAudio_GetMixFunction(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat);

/// Mixes frames x source channels samples; gains: one factor per source channel, not null. Results and null arguments
/// as QvAudio_Copy.
QV_FUNCTION HRESULT QvAudio_Mix(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                const void* src, DWORD frames, const double* gains);

// ---- mix under an envelope -----------------------------------------------------------------------------------------

/// One stretch of an envelope: the gain runs in a straight line from gainStart to gainEnd over `length` frames.
struct QVAUDIO_ASRSEGMENT {
  DWORD length;
  double gainStart;
  double gainEnd;
};

/// An envelope of attack, sustain and release. The caller fills `segments`, sets `next` to 0 and calls
/// QvAudio_ASRReCook; the rest is kept by the library. One user at a time.
struct QVAUDIO_ASR {
  QVAUDIO_ASRSEGMENT segments[3]; ///< attack, sustain, release
  DWORD next;                     ///< the segment that QvAudio_ASRReCook prepares
  DWORD position;                 ///< frames done in the current segment
  DWORD remaining;                ///< frames left in it
  double gainStart;               ///< gain at the segment's first frame
  double gainStep;                ///< change per frame
};

/// Prepares the next segment that has a length: S_OK. S_FALSE when none is left: the last segment's end gain then holds
/// for 2^32 - 1 frames more, and again on each further call. E_INVALIDARG for null.
QV_FUNCTION HRESULT QvAudio_ASRReCook(QVAUDIO_ASR* envelope);

/// Mixes `frames` frames, frame k of the run with gain gainStart + (position + k) x gainStep in every channel. Does not
/// advance the envelope. With frames below 1 or 0 channels nothing is done; otherwise no argument is null.
using QVAUDIO_MIXEXFUNC = void (*)(void* dst, const void* src, LONG frames, UINT channels, const QVAUDIO_ASR* envelope);

/// The same pairs as the mix family.
QV_FUNCTION QVAUDIO_MIXEXFUNC QvAudio_GetMixExFunction(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat);

/// Mixes in runs that end with the envelope's segments, advancing the envelope. Without an envelope (null) the plain
/// mix kernel runs with unit gains and the result is 1. Otherwise results and null arguments as QvAudio_Copy.
QV_FUNCTION HRESULT QvAudio_MixEx(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                  const void* src, DWORD frames, QVAUDIO_ASR* envelope);

// ---- measure -------------------------------------------------------------------------------------------------------

/// One RMS per channel: `results` has room for `channels` values. Float and double: the square root of the mean square.
/// 16-bit: the square root of (mean + 0.5), the mean an integer division, truncated to a signed 16-bit value, in steps
/// of 1/32768 (a channel of -32768 throughout gives -1.0). Other integers: as float, at their own full scale. Frames
/// below 1 count as 1 in the mean: the results are 0, and the buffer may be null. With channels below 1 nothing is
/// written.
using QVAUDIO_RMSFUNC = void (*)(int channels, const void* buffer, int frames, float* results);
/// One mean square per channel in the normalised scale (full scale 1.0), in double precision. Counts, null and room as
/// for the RMS.
using QVAUDIO_PRERMSFUNC = void (*)(int channels, const void* buffer, int frames, double* results);
/// Two values per channel, minimum then maximum, in the normalised scale: `results` has room for 2 x channels values.
/// Of the samples, or with option 1 of their magnitudes. NaN samples are passed over; a channel without samples (frames
/// below 1, when the buffer may be null) gives 0, 0. With channels below 1 nothing is written.
using QVAUDIO_FINDPEAKSFUNC = void (*)(int channels, DWORD option, const void* buffer, int frames, float* results);

/// The measuring kernels serve the types 16 to 19, 32, 33, 48 and 49.
QV_FUNCTION QVAUDIO_RMSFUNC QvAudio_GetCalcRMSFunction(const WAVEFORMATEX* format);
QV_FUNCTION QVAUDIO_PRERMSFUNC QvAudio_GetCalcPreRMSFunction(const WAVEFORMATEX* format);
QV_FUNCTION QVAUDIO_FINDPEAKSFUNC QvAudio_GetFindPeaksFunction(const WAVEFORMATEX* format);

/// The kernel of the format's type for its channels; `results` has room for a value per channel, two for the peaks.
/// S_OK (0 frames: at once, nothing is looked at and results are untouched), E_NOTIMPL when no kernel serves the
/// format, E_INVALIDARG beyond 2^31 - 1 frames. With frames to measure no argument is null.
QV_FUNCTION HRESULT QvAudio_CalcRMS(const WAVEFORMATEX* format, const void* buffer, DWORD frames, float* results);
QV_FUNCTION HRESULT QvAudio_CalcPreRMS(const WAVEFORMATEX* format, const void* buffer, DWORD frames, double* results);
QV_FUNCTION HRESULT QvAudio_FindPeaks(const WAVEFORMATEX* format, DWORD option, const void* buffer, DWORD frames,
                                      float* results);

/// The full scale of integers of `bits` bits: 1.0, 128, 32768, 8388608 or 2147483648 for 0, 8, 16, 24 and 32; 1.0 for
/// anything else.
QV_FUNCTION double QvAudio_GetNormalizeFactor(uint32_t bits);

// ---- on records ----------------------------------------------------------------------------------------------------
// The functions above take a _qvwaveformat in place of any header.

QV_ON_RECORDS(QvAudio_GetCopyFunction)
QV_ON_RECORDS(QvAudio_Copy)
QV_ON_RECORDS(QvAudio_GetMixFunction)
QV_ON_RECORDS(QvAudio_Mix)
QV_ON_RECORDS(QvAudio_GetMixExFunction)
QV_ON_RECORDS(QvAudio_MixEx)
QV_ON_RECORDS(QvAudio_GetCalcRMSFunction)
QV_ON_RECORDS(QvAudio_GetCalcPreRMSFunction)
QV_ON_RECORDS(QvAudio_GetFindPeaksFunction)
QV_ON_RECORDS(QvAudio_CalcRMS)
QV_ON_RECORDS(QvAudio_CalcPreRMS)
QV_ON_RECORDS(QvAudio_FindPeaks)
