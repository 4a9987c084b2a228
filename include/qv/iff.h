// IFF files, big-endian, and the AIFF and AIFF-C audio in them.
//
// The family has no state: the file position is the cursor, as in qv/riff.h. An id is a number whose big-endian bytes
// are the four characters (qv/chunk_id.h). Every 16- and 32-bit value is swapped on its way in and out; a chunk is an
// id, a size, the data, and one pad byte after an odd size.
//
// The form size is the number at 4 in the file: the bytes that follow it, form type included, which is the file's
// length less 8. An AIFF file with a "COMM" chunk of 8 + 18 bytes and an "SSND" chunk of 8 + 8 + 10 has 64 bytes and
// says 56.
//
//     iff_WriteFileID(file, QVIFF_FORM_AIFF, 64 - 8);
//
// `remaining` arguments are optional counts that a function decreases by what it passes over (never below 0). Functions
// that take one handle must not run on it from two threads at once. A null out pointer that is not marked optional
// gives E_INVALIDARG, before anything is read or written. An out that a function does not set on failure stays as it
// was.
//
// Results beside those named: QVERR_RIFF_READ when fewer bytes were there than asked, QVERR_RIFF_WRITE when a write
// failed; a handle that is not open gives one of the two. A failure leaves what was done so far.
#pragma once

#include "qv/audio.h"
#include "qv/chunk_id.h"
#include "qv/result.h"

/// Format tags of AIFF audio, which no other file has.
inline constexpr WORD QVAIFF_TAG_8BIT = 0xFE01;
inline constexpr WORD QVAIFF_TAG_BIG_ENDIAN = 0xFE02;

struct QVIFFCHUNK {
  DWORD id;
  DWORD size; ///< of the data, pad byte excluded
};

// ---- byte order ----------------------------------------------------------------------------------------------------

/// Reverse the bytes of `count` values in place. buffer: count x 2 or count x 4 bytes at any address; null only where
/// count is 0.
QV_FUNCTION void iff_ByteSwap16(void* buffer, DWORD count);
QV_FUNCTION void iff_ByteSwap32(void* buffer, DWORD count);
/// The same under the writer's names.
QV_FUNCTION void aiff_WriteByteSwap16(void* buffer, DWORD count);
QV_FUNCTION void aiff_WriteByteSwap32(void* buffer, DWORD count);

// ---- headers and words ---------------------------------------------------------------------------------------------

/// Reads a chunk's header, 8 bytes. Null header: E_INVALIDARG.
QV_FUNCTION HRESULT iff_ReadChunkHdr(HANDLE file, QVIFFCHUNK* header);
/// Read a big-endian number. Null value: E_INVALIDARG.
QV_FUNCTION HRESULT iff_ReadDWORD(HANDLE file, DWORD* value);
QV_FUNCTION HRESULT iff_ReadWORD(HANDLE file, WORD* value);
/// Write a number as big-endian.
QV_FUNCTION HRESULT iff_WriteDWORD(HANDLE file, DWORD value);
QV_FUNCTION HRESULT iff_WriteWORD(HANDLE file, WORD value);
/// Writes "FORM", the form size as it is, the form type.
QV_FUNCTION HRESULT iff_WriteFileID(HANDLE file, DWORD formType, DWORD formSize);
/// Writes a chunk's header. E_INVALIDARG for a null header.
QV_FUNCTION HRESULT iff_WriteChunk(HANDLE file, const QVIFFCHUNK* header);
/// Reads a "FORM" header, else QVERR_RIFF_WRONGFORM, and the form type. Both outs are optional.
QV_FUNCTION HRESULT iff_ReadFormType(HANDLE file, QVIFFCHUNK* header, DWORD* formType);
/// Moves forward by size rounded up to even; returns that count as an unsigned 32-bit number.
QV_FUNCTION DWORD iff_SkipChunk(HANDLE file, DWORD size);

// ---- searches ------------------------------------------------------------------------------------------------------
//
// The outs `size` are optional and set only where something is found.

/// Scans chunks from the position; found: at the chunk's data, its size in `size`, remaining less by the header.
/// QVERR_RIFF_NOTFOUND when fewer than 8 bytes remain.
QV_FUNCTION HRESULT iff_FindChunkHeader(HANDLE file, DWORD id, DWORD* size, DWORD* remaining);
/// The same without a bound: QVERR_RIFF_READ where the file ends.
QV_FUNCTION HRESULT iff_SeekChunkHeader(HANDLE file, DWORD id, DWORD* size);
/// Scans the form from the file's start. remaining (optional, out only): the bytes after the chunk's header; form size
/// - 4 after a failed read behind the file's header; 0 when that header is unusable. QVERR_RIFF_NOTRIFF when there is
/// no "FORM" at 0. QVERR_RIFF_NOTFOUND.
QV_FUNCTION HRESULT iff_FindChunkFromStart(HANDLE file, DWORD id, DWORD* size, DWORD* remaining);
/// Removes a chunk of the form, closes the gap and updates the form size; removed (optional) is the length taken out,
/// header and pad byte included. QVERR_RIFF_NOTRIFF, QVERR_RIFF_NOTFOUND; QVERR_RIFF_BADSIZE, with the file untouched,
/// when the form size is smaller than that length.
QV_FUNCTION HRESULT iff_DeleteChunk(HANDLE file, DWORD id, DWORD* removed);

/// A marker of a "MARK" chunk.
struct QVIFFMARKER {
  WORD id;
  DWORD position;  ///< in frames: the marker stands before that frame
  WCHAR name[256]; ///< from the ANSI code page, terminated
};

/// The marker of that id in the first "MARK" chunk of the form. QVERR_RIFF_NOTFOUND: no such chunk or marker, also
/// where the chunk ends in the middle of one. QVERR_RIFF_NOTRIFF. Null marker: E_INVALIDARG.
QV_FUNCTION HRESULT iff_FindMarker(HANDLE file, QVIFFMARKER* marker, WORD id);

// ---- AIFF ----------------------------------------------------------------------------------------------------------

/// Returns 1 for an AIFF file, or an AIFF-C file of compression type "NONE" or "sowt"; else 0. formSize is optional and
/// set whenever there is a "FORM".
QV_FUNCTION LONG iff_IsAIFFFile(HANDLE file, DWORD* formSize);
/// The same with two more optional outs, 1 or 0. Reads from the file's start; AIFF leaves the position after the form
/// type, AIFF-C where it was before the call.
QV_FUNCTION LONG iff_IsAIFFFileEx(HANDLE file, DWORD* formSize, LONG* isAifc, LONG* isLittleEndian);
/// Describes the audio: format with extra size 0 (tag QVAIFF_TAG_8BIT, QVAIFF_TAG_BIG_ENDIAN or PCM), frames, the
/// audio's place in the file and its length in bytes, which is that of the frames or what the "SSND" chunk and the file
/// have of them. All outs but the format are optional; a null format gives E_INVALIDARG. 18 bytes are stored in it,
/// never with the extensible tag 0xFFFE. The position is the audio's. QVERR_RIFF_WRONGFORM: no usable AIFF;
/// QVERR_RIFF_NOTFOUND: no "COMM" or "SSND"; QVERR_RIFF_BADSIZE: a "COMM" below 18 bytes or an "SSND" below 8.
QV_FUNCTION HRESULT iff_GetAIFFWfx(HANDLE file, WAVEFORMATEX* format, DWORD* frames, ULONGLONG* dataStart,
                                   ULONGLONG* dataBytes);

// ---- sample rates --------------------------------------------------------------------------------------------------

/// Returns the rate of an 80-bit extended number: sign and exponent, and four words of its mantissa, most significant
/// first. Negative: 44,100. From above 96,000 on doubling stops, so that larger rates come out as the first double
/// above.
QV_FUNCTION DWORD aiff_ConvertRate(WORD exponent, WORD mantissa1, WORD mantissa2, WORD mantissa3, WORD mantissa4);
/// Stores the extended number of a rate; none of the outs may be null. 0 gives the exponent of 1 with a mantissa of 0.
QV_FUNCTION void aiff_CreateRate(DWORD rate, WORD* exponent, WORD* mantissa1, WORD* mantissa2, WORD* mantissa3,
                                 WORD* mantissa4);
