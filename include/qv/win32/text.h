// Part of qv/win32.h on POSIX: code pages and the user's locale. Do not include it directly.
#pragma once

#include "qv/win32/types.h"

#define CP_ACP 0u
#define CP_UTF8 65001u
#define MB_PRECOMPOSED 1u
#define MB_ERR_INVALID_CHARS 8u
#define WC_NO_BEST_FIT_CHARS 0x400u
#define LOCALE_USER_DEFAULT 0x400u
#define LOCALE_SNAME 0x5Cu
#define LOCALE_SLIST 0x0Cu
#define LOCALE_SDECIMAL 0x0Eu
#define LOCALE_STHOUSAND 0x0Fu
#define LOCALE_SGROUPING 0x10u
#define LOCALE_STIME 0x1Eu

/// Text of code page CP_ACP (1252) or CP_UTF8 as UTF-16. The five codes that 1252 leaves undefined map to U+0081, 8D,
/// 8F, 90 and 9D; malformed UTF-8 becomes U+FFFD, or with MB_ERR_INVALID_CHARS fails with ERROR_NO_UNICODE_TRANSLATION.
///
/// byteCount -1: up to the terminator, which is converted too. Returns the characters written, or with a capacity of 0
/// the capacity needed; 0 with ERROR_INSUFFICIENT_BUFFER or ERROR_INVALID_PARAMETER. MB_PRECOMPOSED changes nothing.
QV_WIN32(int, MultiByteToWideChar,
         (UINT codePage, DWORD flags, const char* bytes, int byteCount, WCHAR* text, int textCapacity));
/// The way back, counted in the same way. What code page 1252 lacks becomes '?' (or *fallback), and *usedFallback
/// (optional) says whether something did; half a surrogate pair becomes U+FFFD in UTF-8, where both pointers are null.
/// No character is taken for one that looks like it, with WC_NO_BEST_FIT_CHARS or without.
QV_WIN32(int, WideCharToMultiByte,
         (UINT codePage, DWORD flags, const WCHAR* text, int textCount, char* bytes, int byteCapacity,
          const char* fallback, BOOL* usedFallback));
/// The locale of the user's environment (LC_ALL, LC_NUMERIC, LC_TIME, LANG); C and POSIX count as en-US. Serves the
/// LOCALE_S* names above. Returns the characters written, terminator included; with a capacity of 0 the count needed.
QV_WIN32(int, GetLocaleInfoW, (LCID locale, LCTYPE type, WCHAR* text, int capacity));
