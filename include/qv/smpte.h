// SMPTE timecode: labels, frame counts and times.
//
//     _smpteval label = {};
//     label.format = QVSMPTE_FMT_2997DF;
//     QVSMPTE_NanoToSMPTE(time, &label);                  // hours, minutes, seconds and frames of the time
//     QVSMPTE_IncrementByFrame(&label, 0);                // the next frame's label
//     QVNANOTIME later = QVSMPTE_SMPTEToNanos(&label);
//
// The dial has 24 hours: counts and times beyond it go round. Drop-frame timecode (SMPTE ST 12-1) skips the labels 0
// and 1 at the start of every minute whose number is not a multiple of 10.
//
// Pointers are never null unless a comment says so. No function fails, allocates or keeps anything; all may be called
// from any thread and in real time. A double that is out of an integer's range becomes the nearest integer of the
// range.
#pragma once

#include "qv/nanotime.h"

// Every format is one row: code, name, frames counted per second, and the real rate as a ratio. The sixth, 24 frames at
// 24000/1001, and the fifth count frames without dropping labels.
// clang-format off
#define QV_SMPTE_FORMAT_TABLE(ROW)   \
  ROW(1, 30,     30, 30,    1)       \
  ROW(2, 2997DF, 30, 30000, 1001)    \
  ROW(3, 25,     25, 25,    1)       \
  ROW(4, 24,     24, 24,    1)       \
  ROW(5, 2997ND, 30, 30000, 1001)    \
  ROW(6, 23976,  24, 24000, 1001)
// clang-format on

#define QV_SMPTE_FORMAT_CONSTANT(code, name, counted, numerator, denominator)                                          \
  inline constexpr DWORD QVSMPTE_FMT_##name = code;
QV_SMPTE_FORMAT_TABLE(QV_SMPTE_FORMAT_CONSTANT)
#undef QV_SMPTE_FORMAT_CONSTANT

/// A timecode label. With a format that is none of the six it holds plain hours, minutes, seconds and frames, as
/// qv/time.h uses it.
struct _smpteval {
  DWORD format;
  DWORD hours;
  DWORD minutes;
  DWORD seconds;
  DWORD frames;
  DWORD reserved; ///< zeroed by QVSMPTE_TextToSMPTE, else left alone
};
static_assert(sizeof(_smpteval) == 24);

// ---- labels, frame counts and times --------------------------------------------------------------------------------

/// The number of the label's frame, from 0 at 00:00:00:00; 0 for a format that is none of the six. A label that drop
/// frame skips is read as frame 2 of its minute. Fields beyond a clock's are counted as they are, modulo 2^32.
QV_FUNCTION DWORD QVSMPTE_SMPTEToFrameCount(const _smpteval* label);
/// Writes the four fields for a frame count, modulo 24 hours. A format that is none of the six is taken for drop frame.
/// Returns 0.
QV_FUNCTION DWORD QVSMPTE_FrameCountToSMPTE(_smpteval* label, DWORD count);
/// Writes the four fields for a time: frame trunc(time * rate / 10^7 + 5e-6) in the format's real rate. Formats that
/// are none of the six: 30 a second, with drop-frame labels. Times below 0 show frame 0. Returns 0.
QV_FUNCTION DWORD QVSMPTE_NanoToSMPTE(QVNANOTIME time, _smpteval* label);
/// When the label's frame begins: trunc(count / rate * 10^7 + 0.999). Times one or two units of 100 ns before it have
/// the same label, because QVSMPTE_NanoToSMPTE adds 5e-6 of a frame. 0 for a format that is none of the six.
QV_FUNCTION QVNANOTIME QVSMPTE_SMPTEToNanos(const _smpteval* label);
/// The time of a label at any rate, in frames per second, without dropped labels. The format is not looked at.
QV_FUNCTION QVNANOTIME QVSMPTE_SmpteLikeToNanos(double rate, const _smpteval* label);

// ---- the dial ------------------------------------------------------------------------------------------------------

/// a = a + b, on the dial of a's format. Formats that are none of the six count 0.
QV_FUNCTION void QVSMPTE_AddSMPTE(_smpteval* a, const _smpteval* b);
/// a = a - b, on the dial of a's format. Nothing happens when that is none of the six.
QV_FUNCTION void QVSMPTE_SubtractSMPTE(_smpteval* a, const _smpteval* b);
/// To the next label. The second argument is ignored. Formats that are none of the six step as format 1.
QV_FUNCTION void QVSMPTE_IncrementByFrame(_smpteval* label, DWORD);
/// To the previous label. The second argument is ignored. Formats 2 and 5 step back into a minute that drops labels as
/// its frame 31; inside a second nothing is skipped. Formats that are none of the six step as format 1.
QV_FUNCTION void QVSMPTE_DeccrementByFrame(_smpteval* label, DWORD);
/// 1, -1 or 0: a is later, earlier, or has the same hours, minutes, seconds and frames. Formats are not compared.
QV_FUNCTION int QVSMPTE_SMPTECompare(const _smpteval* a, const _smpteval* b);

// ---- text ----------------------------------------------------------------------------------------------------------

/// Reads up to four numbers of a terminated text; whatever is no digit separates them. The last is frames, the one
/// before it seconds, and so on; runs of more than two digits are read in pairs from the right ("10203" is 1 02 03).
/// Spaces at the end are cut; any other separator there, a tab too, stands for a number 0 after it. Frames that fill
/// seconds are carried (in the six formats), as are seconds and minutes; hours are taken modulo 24. Zeroes `reserved`.
/// Returns the character at which reading stopped, 0 when the text was used up.
QV_FUNCTION WCHAR QVSMPTE_TextToSMPTE(const WCHAR* text, _smpteval* label);
