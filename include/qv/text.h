// The formatter for UTF-16 text, with directives that insert what the user's locale asks for.
//
//     WCHAR text[64];
//     QvCchPrintF(text, 64, QV_TEXT("$d Hz$, %d Bit"), 44100, 16);   // "44,100 Hz, 16 Bit" for an English user
//
// Conversions are those of printf for wide text:
//   %[-+ #0][width][.precision][h|hh|l|ll|j|z|t|I|I32|I64]conversion
//   d i u o x X     integers: 32 bits without a size or with l, I32 (h and hh take the low 16 and 8 of them); 64 bits
//                   with ll, j, I64; pointer-wide with z, t, I (a `long` is 32 bits here, as on Windows)
//   e E f F g G a A doubles, with "." as decimal separator whatever the locale
//   s, ls           UTF-16 text;  S, hs: text in the ANSI code page (1252);  null prints "(null)"
//   c, lc, C, hc    one character
//   p               a pointer as 16 upper-case hexadecimal digits
//   n               takes its argument and stores nothing
//   %               a per cent sign
// Width and precision may be "*"; both count as 512 at most. An incomplete or unknown conversion prints as it stands.
//
// "$" directives:
//   $$   a dollar sign                         $:   the time separator
//   $*   the decimal separator ("." where it equals the thousands separator, "," where that is ".")
//   $,   the list separator                    $&:  the measure/beat separator (token "m.b")
//   $&.  the beat/tick separator (token "b.t") $!: $!. $!,  the SMPTE separators for whole, non-drop and drop timecode
//   $ before a numeric conversion ("$d", "$I64d", "$.3f"): the number with the locale's digit grouping and the decimal
//        separator of "$*"; zeros that fill a width are grouped with the digits, spaces are counted after grouping;
//        o x X a A keep their digits together
// Any other "$" prints as it stands.
//
// All functions may be called from any thread; none allocates for texts of ordinary length.
#pragma once

#include "qv/win32.h"

#include <cstdarg>

/// Writes formatted text and its terminator to `dst`, which the caller has made large enough.
/// Returns the number of characters before the terminator.
QV_FUNCTION int QvPrintF(WCHAR* dst, const WCHAR* format, ...);

/// The same, cut at `capacity` characters (terminator included) and always terminated. A capacity below 1 writes
/// nothing and returns 0. Returns the number of characters written before the terminator.
QV_FUNCTION int QvCchPrintF(WCHAR* dst, int capacity, const WCHAR* format, ...);

/// QvCchPrintF with the arguments as a list. The list is used up.
QV_FUNCTION int QvCchVPrintF(WCHAR* dst, int capacity, const WCHAR* format, va_list arguments);

/// Replaces the text of a named separator token: "m.b", "b.t", "SMPTE.Whole", "SMPTE.NonDrop" or "SMPTE.Drop", for the
/// whole process. At most 7 characters; null restores the default. E_INVALIDARG for an unknown name or a longer text.
QV_FUNCTION HRESULT QvText_SetToken(const WCHAR* name, const WCHAR* text);

/// The locale values behind the "$" directives, read once per process from the user's settings.
struct QVUSERLOCALE {
  WCHAR name[16];     ///< "en-US", "de-DE", ...
  WCHAR time[8];      ///< between hours, minutes and seconds
  WCHAR decimal[8];   ///< decimal separator
  WCHAR thousand[8];  ///< between digit groups; may be empty
  WCHAR list[8];      ///< between the items of a list
  WCHAR grouping[16]; ///< group sizes from the right, as in "3;0" (repeat) or "3;2;0"
};

/// Copies the values in force.
QV_FUNCTION void QvText_GetUserLocale(QVUSERLOCALE* locale);

/// Uses these values instead of the user's, for the whole process; null reads the user's settings again. For tests and
/// for programs whose output must not depend on the user. Texts already being written may use either.
QV_FUNCTION void QvText_SetUserLocale(const QVUSERLOCALE* locale);
