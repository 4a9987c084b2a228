// The ids of chunks, lists and forms that this library knows, one line each.
//
// An id of RIFF and one of IFF with the same characters are different numbers: RIFF's is little-endian, IFF's
// big-endian, as the rest of such a file is. Wave64 names the same things by GUIDs, which begin with the characters in
// lower case. Other ids are made by QvFourCC and QvIffId.
#pragma once

#include "qv/win32.h"

/// A four-character code: the characters in file order, as a little-endian word.
constexpr DWORD QvFourCC(const char (&code)[5]) {
  return static_cast<DWORD>(static_cast<BYTE>(code[0])) | static_cast<DWORD>(static_cast<BYTE>(code[1])) << 8 |
         static_cast<DWORD>(static_cast<BYTE>(code[2])) << 16 | static_cast<DWORD>(static_cast<BYTE>(code[3])) << 24;
}

/// The characters of an IFF id, first in the highest byte.
constexpr DWORD QvIffId(const char (&id)[5]) {
  return static_cast<DWORD>(static_cast<BYTE>(id[0])) << 24 | static_cast<DWORD>(static_cast<BYTE>(id[1])) << 16 |
         static_cast<DWORD>(static_cast<BYTE>(id[2])) << 8 | static_cast<DWORD>(static_cast<BYTE>(id[3]));
}

// ---- RIFF ----------------------------------------------------------------------------------------------------------

inline constexpr DWORD QVRIFF_ID_RIFF = QvFourCC("RIFF");
inline constexpr DWORD QVRIFF_ID_LIST = QvFourCC("LIST");
inline constexpr DWORD QVRIFF_ID_FMT = QvFourCC("fmt ");
inline constexpr DWORD QVRIFF_ID_DATA = QvFourCC("data");
inline constexpr DWORD QVRIFF_ID_FACT = QvFourCC("fact");
inline constexpr DWORD QVRIFF_ID_CUE = QvFourCC("cue ");
inline constexpr DWORD QVRIFF_ID_LABL = QvFourCC("labl"); ///< in a list of type QVRIFF_LIST_ADTL
inline constexpr DWORD QVRIFF_ID_JUNK = QvFourCC("JUNK"); ///< room that a reader passes over
inline constexpr DWORD QVRIFF_LIST_ADTL = QvFourCC("adtl");
inline constexpr DWORD QVSUMMARY_FORM_INFO = QvFourCC("INFO");
inline constexpr DWORD QVSUMMARY_FORM_UNFO = QvFourCC("UNFO");
inline constexpr DWORD QVRIFF_FORM_WAVE = QvFourCC("WAVE");
inline constexpr DWORD QVRIFF_FORM_CDDA = QvFourCC("CDDA");
static_assert(QVRIFF_ID_RIFF == 0x46464952 && QVRIFF_ID_LIST == 0x5453494C && QVRIFF_ID_FMT == 0x20746D66 &&
              QVRIFF_FORM_CDDA == 0x41444443);

// ---- Wave64 --------------------------------------------------------------------------------------------------------

inline constexpr GUID QVW64_RIFF = {0x66666972, 0x912E, 0x11CF, {0xA5, 0xD6, 0x28, 0xDB, 0x04, 0xC1, 0x00, 0x00}};
inline constexpr GUID QVW64_LIST = {0x7473696C, 0x912F, 0x11CF, {0xA5, 0xD6, 0x28, 0xDB, 0x04, 0xC1, 0x00, 0x00}};
inline constexpr GUID QVW64_WAVE = {0x65766177, 0xACF3, 0x11D3, {0x8C, 0xD1, 0x00, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A}};
inline constexpr GUID QVW64_FMT = {0x20746D66, 0xACF3, 0x11D3, {0x8C, 0xD1, 0x00, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A}};
inline constexpr GUID QVW64_DATA = {0x61746164, 0xACF3, 0x11D3, {0x8C, 0xD1, 0x00, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A}};
/// Its third group is 113D, not 11D3: existing files have it so.
inline constexpr GUID QVW64_JUNK = {0x6B6E756A, 0xACF3, 0x113D, {0x8C, 0xD1, 0x00, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A}};

// ---- IFF -----------------------------------------------------------------------------------------------------------

inline constexpr DWORD QVIFF_ID_FORM = QvIffId("FORM");
inline constexpr DWORD QVIFF_FORM_AIFF = QvIffId("AIFF");
inline constexpr DWORD QVIFF_FORM_AIFC = QvIffId("AIFC");
inline constexpr DWORD QVIFF_ID_COMM = QvIffId("COMM");
inline constexpr DWORD QVIFF_ID_SSND = QvIffId("SSND");
inline constexpr DWORD QVIFF_ID_MARK = QvIffId("MARK");
inline constexpr DWORD QVIFF_COMPRESSION_NONE = QvIffId("NONE"); ///< of AIFF-C: big-endian samples
inline constexpr DWORD QVIFF_COMPRESSION_SOWT = QvIffId("sowt"); ///< of AIFF-C: little-endian samples
static_assert(QVIFF_ID_FORM == 0x464F524D && QVIFF_FORM_AIFF == 0x41494646 && QVIFF_FORM_AIFC == 0x41494643 &&
              QVIFF_ID_COMM == 0x434F4D4D && QVIFF_ID_SSND == 0x53534E44 && QVIFF_ID_MARK == 0x4D41524B);
