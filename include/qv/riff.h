// RIFF files, chunk by chunk, through an open file handle.
//
// The family has no state: the file position is the cursor. Sizes and positions are unsigned 32-bit; files of 4 GiB and
// more are Wave64's. A chunk is an id, a size, the data, and one zero pad byte after an odd size.
//
//     DWORD size, left;
//     if (SUCCEEDED(riff_FindChunkHeaderInRIFF(file, QVRIFF_ID_DATA, &size, &left))) ...   // at the data now
//
// The RIFF size is the number at 4 in the file: the bytes that follow it, form type included, which is the file's
// length less 8. A wave file with a header of 46 bytes and 10 bytes of audio has 56 bytes and says 48; riff_ReadFileID
// reports 44, the bytes of its chunks, and riff_GetFileSize 52.
//
//     riff_WriteFileID(file, QVRIFF_FORM_WAVE, 56 - 8);
//
// The size of a list counts its type and its sub-chunks.
//
// `remaining` arguments are optional: a byte count that a function decreases by what it passes over (never below 0);
// null means unbounded. A walk only moves forward and ends at the latest where the file does. Functions that take one
// handle must not run on it from two threads at once. A null out pointer that is not marked optional gives
// E_INVALIDARG, before anything is read or written. An out that a function does not set on failure stays as it was.
//
// Results beside those named: QVERR_RIFF_READ when fewer bytes were there than asked, QVERR_RIFF_WRITE when a write
// failed; a handle that is not open gives one of the two. A failure leaves what was done so far.
#pragma once

#include "qv/chunk_id.h"
#include "qv/result.h"

// ---- file header ---------------------------------------------------------------------------------------------------

/// Reads the 12-byte header at the position. size: RIFF size - 4, the bytes after the form type (0 when the RIFF size
/// is below 4). QVERR_RIFF_NOTRIFF. Both outs are optional.
QV_FUNCTION HRESULT riff_ReadFileID(HANDLE file, DWORD* size, DWORD* formType);
/// Writes "RIFF", riffSize as it is, form type. Only the last of the three writes is checked.
QV_FUNCTION HRESULT riff_WriteFileID(HANDLE file, DWORD formType, DWORD riffSize);
/// Moves to the first chunk, at 12.
QV_FUNCTION HRESULT riff_SeekDataStart(HANDLE file);
/// Reads the header at 0; size (optional): RIFF size + 4, which is 4 less than the file's length. QVERR_RIFF_NOTRIFF.
/// Leaves the position after the size field.
QV_FUNCTION HRESULT riff_GetFileSize(HANDLE file, DWORD* size);
/// Writes the RIFF size at 4. The position is restored, also on failure.
QV_FUNCTION HRESULT riff_SetRIFFSize(HANDLE file, DWORD size);
/// Adds `change` to the RIFF size. A sum of 0xFFFFFFF8 or more cuts the file to old size + 8 bytes: QVERR_RIFF_TOOBIG.
/// A sum below 0: QVERR_RIFF_BADSIZE, and nothing changes. The position is restored, also on failure.
QV_FUNCTION HRESULT riff_UpdateRIFFSize(HANDLE file, LONGLONG change);

// ---- chunks --------------------------------------------------------------------------------------------------------

/// Reads a chunk's id and size, 8 bytes. Null id or size: E_INVALIDARG.
QV_FUNCTION HRESULT riff_ReadChunkHeader(HANDLE file, DWORD* id, DWORD* size);
/// Writes them. size: of the data, pad byte excluded.
QV_FUNCTION HRESULT riff_WriteChunkHeader(HANDLE file, DWORD id, DWORD size);
/// QVERR_RIFF_BADSIZE for a negative size, QVERR_RIFF_EMPTYCHUNK for 0, S_OK otherwise. File and id are ignored.
QV_FUNCTION HRESULT riff_ValidateChunkHeader(HANDLE file, DWORD id, LONG size);
/// Reads id, size and list type; size is that of the sub-chunks (list size - 4, 0 when the list size is below 4).
/// QVERR_RIFF_NOTLIST leaves the position after id and size. Null type or size: E_INVALIDARG.
QV_FUNCTION HRESULT riff_ReadListHeader(HANDLE file, DWORD* listType, DWORD* size);
/// Writes "LIST", size as it is (list type included), list type.
QV_FUNCTION HRESULT riff_WriteListHeader(HANDLE file, DWORD listType, DWORD size);
/// Writes a whole chunk with its pad byte. data: `size` bytes; null only where size is 0, else E_INVALIDARG. written
/// (optional): padded size + 8.
QV_FUNCTION HRESULT riff_WriteChunk(HANDLE file, DWORD id, const void* data, DWORD size, DWORD* written);
/// Reads `size` bytes, then skips the pad byte of an odd size. buffer: `size` bytes; null only where size is 0, else
/// E_INVALIDARG.
QV_FUNCTION HRESULT riff_ReadData(HANDLE file, void* buffer, DWORD size);
/// Reads min(bufferSize, chunkSize) bytes, then moves on by (bufferSize - bytes read) + (chunkSize & 1): the skip goes
/// by the buffer, not by the chunk. The tail of a larger chunk is not skipped; behind a smaller one the position is
/// past its end by the difference. buffer: bufferSize bytes, of which those behind the chunk's stay as they were; null
/// only where bufferSize is 0, else E_INVALIDARG.
QV_FUNCTION HRESULT riff_ReadDataBounded(HANDLE file, void* buffer, DWORD bufferSize, DWORD chunkSize);

/// A block that riff_ReadDataAlloc allocates: the caller sets `size`; `data` is a locked moveable global block that the
/// caller unlocks and frees through GlobalHandle.
struct QVRIFFDATA {
  DWORD size;
  void* data;
};

/// Allocates data->size bytes and reads into them as riff_ReadData does. Size 0: S_OK without data (null). What the
/// file does not hold is not allocated: QVERR_RIFF_READ. E_OUTOFMEMORY. Every failure leaves data->data null.
/// E_INVALIDARG: a null record.
QV_FUNCTION HRESULT riff_ReadDataAlloc(HANDLE file, QVRIFFDATA* data);
/// Moves forward by size rounded up to even; returns that count as an unsigned 32-bit number (0 for 0xFFFFFFFF, whose
/// even size is 2^32; the position moves all the same).
QV_FUNCTION DWORD riff_SkipChunk(HANDLE file, DWORD size);
/// Reports the low 32 bits of the position. Null: E_INVALIDARG.
QV_FUNCTION HRESULT riff_SaveLocation(HANDLE file, DWORD* location);
/// Moves to the position, counted from the file's start.
QV_FUNCTION HRESULT riff_RestoreLocation(HANDLE file, DWORD location);

// ---- searches ------------------------------------------------------------------------------------------------------
//
// The outs `size` are optional and set only where something is found.

/// Scans chunks from the position; found: at the chunk's data, its size in `size`, remaining less by the header.
/// QVERR_RIFF_NOTFOUND when fewer than 8 bytes remain.
QV_FUNCTION HRESULT riff_FindChunkHeader(HANDLE file, DWORD id, DWORD* size, DWORD* remaining);
/// Scans the top level from the file's start. remaining (optional, out only): the bytes after the chunk's header; RIFF
/// size - 4 after a failed read behind the file's header; 0 when that header is unusable. QVERR_RIFF_NOTRIFF,
/// QVERR_RIFF_NOTFOUND.
QV_FUNCTION HRESULT riff_FindChunkHeaderInRIFF(HANDLE file, DWORD id, DWORD* size, DWORD* remaining);
/// Scans for a "LIST" of the type from the position; found: at its first sub-chunk, list size - 4 in `size`. A list
/// below 4 bytes has no type and is passed over. QVERR_RIFF_NOTFOUND when fewer than 8 bytes remain before a chunk, or
/// fewer than 4 before a list's type.
QV_FUNCTION HRESULT riff_FindListChunk(HANDLE file, DWORD listType, DWORD* size, DWORD* remaining);
/// The same over the top level, from the file's start. QVERR_RIFF_NOTRIFF, QVERR_RIFF_NOTFOUND.
QV_FUNCTION HRESULT riff_FindListChunkFromStart(HANDLE file, DWORD listType, DWORD* size);
/// Counts chunks from the position while 8 bytes remain; without `remaining` until a read fails, which is the result.
/// The position is restored and remaining left as it was; count holds on failure too. Null count: E_INVALIDARG.
QV_FUNCTION HRESULT riff_GetNumListEntries(HANDLE file, DWORD* count, DWORD* remaining);
/// Skips `index` chunks; 0: S_OK without moving. QVERR_RIFF_NOTFOUND when fewer than 8 bytes remain before one of them.
QV_FUNCTION HRESULT riff_SeekListEntry(HANDLE file, DWORD index, DWORD* remaining);

/// Removes a top-level chunk, or with isList not 0 the "LIST" of type `id`, closes the gap and updates the RIFF size;
/// removed (optional) is the length taken out, header and pad byte included, which the RIFF size loses too.
/// QVERR_RIFF_NOTRIFF, QVERR_RIFF_NOTFOUND. QVERR_RIFF_BADSIZE, with the file untouched, when the RIFF size is smaller
/// than that length. A chunk that the file's end cuts goes with what is there.
QV_FUNCTION HRESULT riff_DeleteChunk(HANDLE file, DWORD id, DWORD* removed, LONG isList);

// ---- ANSI strings --------------------------------------------------------------------------------------------------

/// Writes the text as ANSI (code page 1252 on POSIX) with its terminator, padded to even; written (optional): the
/// bytes. E_INVALIDARG: a null text, or one of more than 0x7FFFFFFD characters. E_OUTOFMEMORY.
QV_FUNCTION HRESULT riff_WriteANSIString(HANDLE file, const WCHAR* text, DWORD* written);
/// Reads an ANSI string chunk of *size bytes into a buffer of `length` characters, cut to length - 1 of them and
/// terminated, moves to the chunk's end, and adds 1 to *size. Length 0: nothing is stored, the chunk is passed over all
/// the same. E_INVALIDARG: a null buffer or size. E_OUTOFMEMORY.
QV_FUNCTION HRESULT riff_ReadANSIString(HANDLE file, WCHAR* buffer, DWORD length, DWORD* size);

// ---- CD track descriptors ------------------------------------------------------------------------------------------

/// The "fmt " chunk of a "CDDA" form, 24 bytes.
struct QVCDDAFMT {
  WORD version;
  WORD track;
  DWORD volumeSerial;
  DWORD firstSector;
  DWORD lengthSectors;
  BYTE startFrame; ///< 1/75 s
  BYTE startSecond;
  BYTE startMinute;
  BYTE unused1;
  BYTE lengthFrame;
  BYTE lengthSecond;
  BYTE lengthMinute;
  BYTE unused2;
};
static_assert(sizeof(QVCDDAFMT) == 24 && offsetof(QVCDDAFMT, startFrame) == 16);

/// Reads the descriptor of an open file, from its start. QVERR_RIFF_NOTRIFF, QVERR_RIFF_WRONGFORM,
/// QVERR_RIFF_BADCDDAFMT. Null descriptor: E_INVALIDARG.
QV_FUNCTION HRESULT riff_ReadRIFFCDDA(HANDLE file, QVCDDAFMT* descriptor);
/// Opens and reads a descriptor file. Start is (minute x 60 + second) x 75 + frame. Every out is optional and set on
/// failure too (to 0 when nothing was read). QVERR_FILE_OPEN; E_INVALIDARG: a null name; else as riff_ReadRIFFCDDA.
QV_FUNCTION HRESULT riff_ReadCDAFile(const WCHAR* fileName, DWORD* track, DWORD* firstSector, DWORD* startFrames,
                                     DWORD* lengthSectors, DWORD* volumeSerial);
