// Sample-rate conversion of interleaved buffers, block by block.
//
//     HQVRESAMPLE converter;
//     QvAudio_ResampleOpen(&converter, QVSAMPLE_FLOAT32, 44100, 48000, 2, QVRESAMPLE_FILTERED | QVRESAMPLE_LOWPASS4);
//     DWORD written = QvAudio_ResampleEx(converter, dst, src, frames);   // block after block
//     QvAudio_ResampleClose(converter);
//
// A converter is driven by its input (a call consumes all its source frames) or by its output (a call makes as many
// frames as asked for). Output n of a block stands at the source position phase + n x inverse, where inverse is source
// rate / destination rate and the phase is carried from block to block; a block's samples do not depend on where blocks
// begin. The first outputs of a block may stand up to two frames before it: so much of the last block is kept. One case
// is different: driven by its input with a falling rate, after a block of a single frame, a converter may make outputs
// that stand behind a longer block's last frame. They are made as if that frame, or with the sinc silence, followed.
//
// Frames are counted in 32 bits per call; dst and src do not overlap. A converter carries no lock: one thread at a time
// drives it. Process calls allocate nothing. Handles and buffers are not checked; a null handle is refused where a
// comment says so.
#pragma once

#include "qv/audio.h"
#include "qv/result.h"

struct QVRESAMPLE;
using HQVRESAMPLE = QVRESAMPLE*;

/// Flags of a converter: one of the qualities, a low-pass or none, and what drives it. The streaming converters below
/// number their qualities in another way: QVRESAMPLE_FILTERED is 2, QVRESAMPLE2_FILTERED 1.
enum : DWORD {
  QVRESAMPLE_QUALITY_MASK = 0xF,
  QVRESAMPLE_LINEAR = 0,   ///< between two neighbours; so is 1
  QVRESAMPLE_FILTERED = 2, ///< the same behind the low-pass, when the rate falls
  QVRESAMPLE_SINC = 3,     ///< 25 taps; float and double only; 12 source frames late

  QVRESAMPLE_LOWPASS_MASK = 0xF0, ///< Chebyshev, 0.5 dB, up to half the lower rate; float and double only
  QVRESAMPLE_LOWPASS2 = 0x10,     ///< of order 2
  QVRESAMPLE_LOWPASS4 = 0x20,
  QVRESAMPLE_LOWPASS6 = 0x30,

  QVRESAMPLE_OUTPUT_DRIVEN = 0x1000,
};

/// Makes a converter. For integer types the sinc and any low-pass become QVRESAMPLE_FILTERED without one. The flags
/// 0xF00 and 0x2000 are kept and have no effect; a quality above 3 gives no frames, unless the rates are equal: those
/// copy with any quality. E_INVALIDARG, with a null handle: null `handle`, rates or channels of 0, a sample type
/// without kernels; E_OUTOFMEMORY, the same.
QV_FUNCTION HRESULT QvAudio_ResampleOpen(HQVRESAMPLE* handle, QVSAMPLETYPE type, DWORD srcRate, DWORD dstRate,
                                         DWORD channels, DWORD flags);
/// The same between two formats, which agree in sample type and channels: E_INVALIDARG otherwise.
QV_FUNCTION HRESULT QvAudio_ResampleOpenEx(HQVRESAMPLE* handle, const WAVEFORMATEX* dstFormat,
                                           const WAVEFORMATEX* srcFormat, DWORD flags);
/// Begin anew, as if just opened so; positions and offsets are 0. A failure leaves the converter as it was.
/// E_INVALIDARG also for a null handle.
QV_FUNCTION HRESULT QvAudio_ResampleReset(HQVRESAMPLE handle, QVSAMPLETYPE type, DWORD srcRate, DWORD dstRate,
                                          DWORD channels, DWORD flags);
QV_FUNCTION HRESULT QvAudio_ResampleResetEx(HQVRESAMPLE handle, const WAVEFORMATEX* dstFormat,
                                            const WAVEFORMATEX* srcFormat, DWORD flags);
/// Frees it; nothing for null.
QV_FUNCTION void QvAudio_ResampleClose(HQVRESAMPLE handle);

/// Converts a block; returns the frames written. `count` is that of source frames, or of frames to make when the
/// converter is driven by its output. How large the other buffer has to be, QvAudio_ResampleGetExactDstFromSrc tells
/// and QvAudio_ResampleGetExactSrcFromDst.
///
/// With a low-pass and a falling rate the block is filtered in place: src must be writable, and what is behind the
/// pointer is changed. Rates that are equal copy, or leave a block alone that is its own destination.
///
/// Driven by its output with a rising rate, the last source frame that is read is not counted: it is the first of the
/// next block too.
QV_FUNCTION DWORD QvAudio_ResampleEx(HQVRESAMPLE handle, void* dst, void* src, DWORD count);

/// One conversion of a whole buffer, to the rate source rate x dstFrames / srcFrames, truncated, with
/// QVRESAMPLE_FILTERED | QVRESAMPLE_LOWPASS4. At most dstFrames frames are written: those behind the last source frame
/// stay as they are. src is filtered in place as above. Returns 0.
QV_FUNCTION HRESULT QvAudio_Resample(const WAVEFORMATEX* format, void* dst, DWORD dstFrames, void* src,
                                     DWORD srcFrames);
/// Fits srcFrames source frames into exactly dstFrames frames, without filter or history, by the ratio of the two.
/// Equal counts copy (nothing when the buffers are the same). Returns the frames, 0xFFFFFFFF for a type without
/// kernels.
QV_FUNCTION DWORD QvAudio_ResampleStupid(HQVRESAMPLE handle, void* dst, DWORD dstFrames, const void* src,
                                         DWORD srcFrames);
/// The kernel of QVRESAMPLE_SINC: dstFrames frames from a converter of that quality, for the types 32 and 33; returns
/// them, 0 for other types or a converter of another kind. src has what QvAudio_ResampleEx would read for as many
/// frames; srcFrames of it are counted.
QV_FUNCTION DWORD QvAudio_Resample_Sinc(QVSAMPLETYPE type, DWORD channels, void* dst, DWORD dstFrames, const void* src,
                                        DWORD srcFrames, HQVRESAMPLE handle);

// ---- positions -----------------------------------------------------------------------------------------------------

/// Return frames counted so far plus an offset that the caller may set.
QV_FUNCTION ULONGLONG QvAudio_ResampleGetSrcPos(HQVRESAMPLE handle);
QV_FUNCTION ULONGLONG QvAudio_ResampleGetDstPos(HQVRESAMPLE handle);
QV_FUNCTION void QvAudio_ResampleSetSrcPos(HQVRESAMPLE handle, ULONGLONG position);
QV_FUNCTION void QvAudio_ResampleSetDstPos(HQVRESAMPLE handle, ULONGLONG position);
QV_FUNCTION void QvAudio_ResampleSetSrcOffset(HQVRESAMPLE handle, ULONGLONG offset);
QV_FUNCTION void QvAudio_ResampleSetDstOffset(HQVRESAMPLE handle, ULONGLONG offset);

// How many frames? Who drives a converter by its input sizes dst by QvAudio_ResampleGetExactDstFromSrc, or once and for
// all blocks of up to n source frames by n x ratio + 2, which no call exceeds (ratio: destination rate / source rate).
// Who drives it by its output sizes src by QvAudio_ResampleGetExactSrcFromDst. Both tell what the next process call
// does. The other two turn lengths into each other by formula, for displays and estimates, and size no buffer.

/// The frames that the next process call driven by its input makes of so many source frames.
QV_FUNCTION DWORD QvAudio_ResampleGetExactDstFromSrc(HQVRESAMPLE handle, DWORD frames);
/// The source frames that the next process call driven by its output reads for so many frames.
QV_FUNCTION DWORD QvAudio_ResampleGetExactSrcFromDst(HQVRESAMPLE handle, DWORD frames);
/// n source frames in destination frames: n x ratio - phase, truncated, within 0 to 0xFFFFFFFF. A process call makes up
/// to ratio + 1 frames fewer or inverse + 1 more: from 192,000 to 11,025 Hz 18 more.
QV_FUNCTION DWORD QvAudio_ResampleGetDstFromSrc(HQVRESAMPLE handle, DWORD frames);
/// n destination frames in source frames: the integer part of n x inverse + phase + 0.499999985, and 1 when the rate
/// rises; at least 0. A process call that is driven by its output may read a frame more.
QV_FUNCTION DWORD QvAudio_ResampleGetSrcFromDst(HQVRESAMPLE handle, DWORD frames);
/// Sets what stands before the next block, in the first and the second channel: full scale is 1.0.
QV_FUNCTION void QvAudio_ResampleStuffPrevSample(HQVRESAMPLE handle, double first, double second);

// ---- streaming -----------------------------------------------------------------------------------------------------
//
// The second generation takes what source frames there are and gives what frames fit; it reads no frame that it is not
// given and never writes to its source. Its output is in time with its input: frame n stands at n x inverse. Only where
// the rate falls the low-pass of QVRESAMPLE2_FILTERED and QVRESAMPLE2_SINC makes it late, at low frequencies by 0.16
// and 0.28 of its own frames from 48,000 to 44,100 Hz, by 0.68 and 1.14 to half the rate, and never by more than 0.87
// and 1.46. What it has to wait for at the end comes by a flush.

struct QVRESAMPLE2;
using HQVRESAMPLE2 = QVRESAMPLE2*;

/// Not numbered as the qualities of the first generation, whose flags do not belong here.
enum QVRESAMPLE2_QUALITY : DWORD {
  QVRESAMPLE2_LINEAR = 0,
  QVRESAMPLE2_FILTERED = 1, ///< linear behind a low-pass of order 4 when the rate falls
  QVRESAMPLE2_SINC = 2,     ///< 25 taps, behind a low-pass of order 6 when the rate falls
  QVRESAMPLE2_BEST = 3,     ///< flat within 0.01 dB to 0.907 of the lower half rate, 120 dB down from the half rate on
};

// Where the library is built with soxr, soxr does the best quality for rates up to 8 times apart and up to 32 channels:
// twice as fast, with some 1,000 to 8,000 source frames of latency, and a few milliseconds for opening. Everywhere
// else, and after a change of the rates, the library's own filter does: 89 frames of latency, or 89 times as many as
// the rate falls. A caller to whom latency matters more sets the rates anew right after opening, to what they are.
//
// What is not finite in the source makes the frames around it so, with the best quality at most as far as the latency
// to each side; a low-pass keeps it until it is reset.

/// E_INVALIDARG, with a null handle: null `handle`, rates or channels of 0, rates more than 4,096 times apart, a sample
/// type without kernels, another quality. E_OUTOFMEMORY, the same. Integer types work with every quality.
QV_FUNCTION HRESULT QvAudio_Resample2Open(HQVRESAMPLE2* handle, QVSAMPLETYPE type, DWORD srcRate, DWORD dstRate,
                                          DWORD channels, QVRESAMPLE2_QUALITY quality);
/// The same between two formats, which agree in sample type and channels.
QV_FUNCTION HRESULT QvAudio_Resample2OpenEx(HQVRESAMPLE2* handle, const WAVEFORMATEX* dstFormat,
                                            const WAVEFORMATEX* srcFormat, QVRESAMPLE2_QUALITY quality);
/// Begin anew, as if just opened so. A failure leaves the converter as it was; E_INVALIDARG also for a null handle.
QV_FUNCTION HRESULT QvAudio_Resample2Reset(HQVRESAMPLE2 handle, QVSAMPLETYPE type, DWORD srcRate, DWORD dstRate,
                                           DWORD channels, QVRESAMPLE2_QUALITY quality);
QV_FUNCTION HRESULT QvAudio_Resample2ResetEx(HQVRESAMPLE2 handle, const WAVEFORMATEX* dstFormat,
                                             const WAVEFORMATEX* srcFormat, QVRESAMPLE2_QUALITY quality);
QV_FUNCTION void QvAudio_Resample2Close(HQVRESAMPLE2 handle);

/// Takes up to srcFrames frames (`used`) and makes up to dstCapacity (`written`); call again with the rest until all
/// are used. src null flushes: the call makes what is left, up to the source frames x ratio, rounded, in all; 0 written
/// is the end, behind which only a reset takes frames. Allocates nothing. E_INVALIDARG: a null handle, dst, written or
/// used; frames behind a flush.
QV_FUNCTION HRESULT QvAudio_Resample2Process(HQVRESAMPLE2 handle, void* dst, DWORD dstCapacity, DWORD* written,
                                             const void* src, DWORD srcFrames, DWORD* used);
/// Other rates from the next frame on, without a break in the source's time; the best quality is the library's own from
/// here on. Results as for opening; a failure changes nothing. The low-pass of a falling rate starts afresh. Frames
/// that a longer filter would look back to and that are gone count as silence.
QV_FUNCTION HRESULT QvAudio_Resample2SetRates(HQVRESAMPLE2 handle, DWORD srcRate, DWORD dstRate);

/// Source frames that are taken before the frame that stands with the first of them is made.
QV_FUNCTION DWORD QvAudio_Resample2GetLatency(HQVRESAMPLE2 handle);
/// Frames taken and made since the converter was opened.
QV_FUNCTION ULONGLONG QvAudio_Resample2GetSrcPos(HQVRESAMPLE2 handle);
QV_FUNCTION ULONGLONG QvAudio_Resample2GetDstPos(HQVRESAMPLE2 handle);
/// The fewest source frames that have still to be given for so many more; not looked at behind a flush.
QV_FUNCTION DWORD QvAudio_Resample2GetSrcFromDst(HQVRESAMPLE2 handle, DWORD frames);

/// Makes a frame of the average of each `factor` source frames: srcFrames / factor frames, which it returns; what is
/// left over is not looked at. In double precision; dst may be src. 0 for a factor of 0 or a type without kernels.
QV_FUNCTION DWORD QvDownSample(QVSAMPLETYPE type, DWORD channels, void* dst, const void* src, DWORD srcFrames,
                               DWORD factor);
