// Part of qv/win32.h on POSIX: wave formats and the names of compressed ones. Do not include it directly.
#pragma once

#include "qv/win32/types.h"

#define WAVE_FORMAT_UNKNOWN 0x0000u
#define WAVE_FORMAT_PCM 0x0001u
#define WAVE_FORMAT_IEEE_FLOAT 0x0003u
#define WAVE_FORMAT_ALAW 0x0006u
#define WAVE_FORMAT_MULAW 0x0007u
#define WAVE_FORMAT_EXTENSIBLE 0xFFFEu

#pragma pack(push, 1)

/// 18 bytes, followed by cbSize bytes of the format's own.
struct WAVEFORMATEX {
  WORD wFormatTag;
  WORD nChannels;
  DWORD nSamplesPerSec;
  DWORD nAvgBytesPerSec;
  WORD nBlockAlign;
  WORD wBitsPerSample;
  WORD cbSize;
};

struct WAVEFORMATEXTENSIBLE {
  WAVEFORMATEX Format;
  union {
    WORD wValidBitsPerSample;
    WORD wSamplesPerBlock;
    WORD wReserved;
  } Samples;
  DWORD dwChannelMask;
  GUID SubFormat;
};

#pragma pack(pop)

static_assert(sizeof(WAVEFORMATEX) == 18 && sizeof(WAVEFORMATEXTENSIBLE) == 40);

#define ACMFORMATTAGDETAILS_FORMATTAG_CHARS 48
#define ACMFORMATDETAILS_FORMAT_CHARS 128
#define ACM_FORMATTAGDETAILSF_FORMATTAG 1u
#define ACM_FORMATDETAILSF_FORMAT 1u
#define MMSYSERR_NOERROR 0u
#define MMSYSERR_INVALPARAM 11u
#define ACMERR_NOTPOSSIBLE 512u

struct ACMFORMATTAGDETAILSW {
  DWORD cbStruct;
  DWORD dwFormatTagIndex;
  DWORD dwFormatTag;
  DWORD cbFormatSize;
  DWORD fdwSupport;
  DWORD cStandardFormats;
  WCHAR szFormatTag[ACMFORMATTAGDETAILS_FORMATTAG_CHARS];
};

struct ACMFORMATDETAILSW {
  DWORD cbStruct;
  DWORD dwFormatIndex;
  DWORD dwFormatTag;
  DWORD fdwSupport;
  WAVEFORMATEX* pwfx;
  DWORD cbwfx;
  WCHAR szFormat[ACMFORMATDETAILS_FORMAT_CHARS];
};

/// The name of a registered format tag; ACMERR_NOTPOSSIBLE for a tag that is not in the table of names.
QV_WIN32(MMRESULT, acmFormatTagDetailsW, (HACMDRIVER driver, ACMFORMATTAGDETAILSW* details, DWORD flags));
/// Rate, bits and channels of a format whose tag has a name, in words; ACMERR_NOTPOSSIBLE otherwise.
QV_WIN32(MMRESULT, acmFormatDetailsW, (HACMDRIVER driver, ACMFORMATDETAILSW* details, DWORD flags));
