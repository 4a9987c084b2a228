// Wave64 files, chunk by chunk, through an open file handle: qv/riff.h with GUIDs for ids, sizes of 64 bits that
// include the 24 bytes of a chunk's header, and chunks that start at multiples of 8.
//
//     ULONGLONG start;
//     riff64_PrepareChunk(file, &QVW64_DATA, &start);      // a body whose size is not known yet
//     riff64_WriteToFile(file, samples, bytes);            // any number of writes
//     riff64_CompleteChunk(file, start);                   // pads it and writes its size
//
// The family has no state: the file position is the cursor. Sizes are those of the data, header excluded, unless a
// comment says otherwise.
//
// What a file's header stores is, unlike a RIFF size, the length of the whole file, its 40 header bytes included. The
// functions take it without the first 24 of them, as the data size of a chunk is taken, and riff64_ReadFileID reports
// it without all 40. A file of 152 bytes (40, a format chunk of 24 + 18 + 6, and 24 + 40 bytes of audio) stores 152; it
// is written with 128 and read as 112, the bytes of its chunks.
//
//     riff64_WriteFileID(file, &QVW64_WAVE, 152 - QVW64_HEADER_BYTES);
//
// `remaining` arguments are optional: a byte count that a function decreases by what it passes over (never below 0);
// null means unbounded. A walk only moves forward and ends at the latest where the file does. Functions that take one
// handle must not run on it from two threads at once. A null GUID, and a null out pointer that is not marked optional,
// give E_INVALIDARG, before anything is read or written. An out that a function does not set on failure stays as it
// was.
//
// Results beside those named: QVERR_RIFF_READ when fewer bytes were there than asked, QVERR_RIFF_WRITE when a write
// failed; a handle that is not open gives one of the two. A failure leaves what was done so far.
#pragma once

#include "qv/chunk_id.h"
#include "qv/result.h"

inline constexpr DWORD QVW64_HEADER_BYTES = 24;      ///< of a chunk: GUID and size
inline constexpr DWORD QVW64_FILE_HEADER_BYTES = 40; ///< GUID, size and form; of a list: GUID, size and type

// ---- file header ---------------------------------------------------------------------------------------------------

/// Writes the riff GUID, size + 24, form. size: the file's length - 24. Only the last of the three writes is checked.
QV_FUNCTION HRESULT riff64_WriteFileID(HANDLE file, const GUID* form, ULONGLONG size);
/// Reads the 40-byte header at the position. size: stored size - 24 (not below 0) - 16, modulo 2^64: a stored size
/// below 40 gives a huge one, and the file's end bounds the walk. QVERR_RIFF_NOTRIFF. Both outs are optional.
QV_FUNCTION HRESULT riff64_ReadFileID(HANDLE file, ULONGLONG* size, GUID* form);
/// Moves to the first chunk, at 40.
QV_FUNCTION HRESULT riff64_SeekDataStart(HANDLE file);
/// Writes size + 24 at 16. size: the file's length - 24. The position is restored, also on failure.
QV_FUNCTION HRESULT riff64_SetRIFFSize(HANDLE file, ULONGLONG size);
/// Adds `change` to the size at 16, modulo 2^64. The position is restored, also on failure.
QV_FUNCTION HRESULT riff64_UpdateRIFFSize(HANDLE file, LONGLONG change);

// ---- chunks --------------------------------------------------------------------------------------------------------

/// Writes the GUID and size + 24.
QV_FUNCTION HRESULT riff64_WriteChunkHeader(HANDLE file, const GUID* id, ULONGLONG size);
/// Reads the GUID and the size of the data: stored size - 24, 0 when negative. Null id or size: E_INVALIDARG.
QV_FUNCTION HRESULT riff64_ReadChunkHeader(HANDLE file, GUID* id, ULONGLONG* size);
/// QVERR_RIFF_BADSIZE for a size that is no multiple of 8 or has bit 35, QVERR_RIFF_EMPTYCHUNK for 0, S_OK otherwise.
/// File and GUID are ignored and may be null.
QV_FUNCTION HRESULT riff64_ValidateChunkHeader(HANDLE file, const GUID* id, ULONGLONG size);
/// Writes the list GUID, size + 24, type.
QV_FUNCTION HRESULT riff64_WriteListHeader(HANDLE file, const GUID* type, ULONGLONG size);
/// Reads GUID, size and type; size is that of the sub-chunks (0 when the list is too small for a type).
/// QVERR_RIFF_NOTLIST leaves the position after GUID and size. Null type or size: E_INVALIDARG.
QV_FUNCTION HRESULT riff64_ReadListHeader(HANDLE file, GUID* type, ULONGLONG* size);
/// Writes a whole chunk and zeros to a multiple of 8; its size field says size + 24. data: `size` bytes; null only
/// where size is 0, else E_INVALIDARG. written (optional): padded size + 24.
QV_FUNCTION HRESULT riff64_WriteChunk(HANDLE file, const GUID* id, const void* data, ULONGLONG size,
                                      ULONGLONG* written);
/// Writes data and zeros to a multiple of 8. data as in riff64_WriteChunk. written (optional): padded size.
QV_FUNCTION HRESULT riff64_WriteData(HANDLE file, const void* data, ULONGLONG size, ULONGLONG* written);
/// Writes the data alone. data as in riff64_WriteChunk.
QV_FUNCTION HRESULT riff64_WriteToFile(HANDLE file, const void* data, ULONGLONG size);
/// Reads `size` bytes, then skips to the next multiple of 8. buffer: `size` bytes; null only where size is 0, else
/// E_INVALIDARG.
QV_FUNCTION HRESULT riff64_ReadData(HANDLE file, void* buffer, ULONGLONG size);
/// Reads min(bufferSize, chunkSize) bytes, then moves on by (bufferSize - bytes read) + (chunkSize mod 8), which is not
/// where the next chunk starts: readers of fixed-size chunks depend on where it leaves the file. buffer: bufferSize
/// bytes, of which those behind the chunk's stay as they were; null only where bufferSize is 0, else E_INVALIDARG.
QV_FUNCTION HRESULT riff64_ReadDataBounded(HANDLE file, void* buffer, ULONGLONG bufferSize, ULONGLONG chunkSize);

/// A block that riff64_ReadDataAlloc allocates: the caller sets `size`; `data` is a locked moveable global block that
/// the caller unlocks and frees through GlobalHandle.
struct QVRIFF64DATA {
  ULONGLONG size;
  void* data;
};

/// Allocates data->size bytes and reads into them as riff64_ReadData does. Size 0: S_OK without data (null). What the
/// file does not hold is not allocated: QVERR_RIFF_READ. E_OUTOFMEMORY. Every failure leaves data->data null.
/// E_INVALIDARG: a null record.
QV_FUNCTION HRESULT riff64_ReadDataAlloc(HANDLE file, QVRIFF64DATA* data);
/// Moves forward by size rounded up to a multiple of 8; returns that amount.
QV_FUNCTION ULONGLONG riff64_SkipChunk(HANDLE file, ULONGLONG size);
/// Reports the position. Null: E_INVALIDARG.
QV_FUNCTION HRESULT riff64_SaveLocation(HANDLE file, ULONGLONG* location);
/// Moves to the position, counted from the file's start.
QV_FUNCTION HRESULT riff64_RestoreLocation(HANDLE file, ULONGLONG location);

// ---- chunks whose size is known at their end -----------------------------------------------------------------------

/// Returns the bytes from `start` to the position; 0 when that cannot be told.
QV_FUNCTION ULONGLONG riff64_AmountWritten(HANDLE file, ULONGLONG start);
/// Writes zeros until the distance from `start` is a multiple of 8.
QV_FUNCTION HRESULT riff64_Pad(HANDLE file, ULONGLONG start);
/// Writes the header of an empty chunk; *start is where. Null id or start: E_INVALIDARG.
QV_FUNCTION HRESULT riff64_PrepareChunk(HANDLE file, const GUID* id, ULONGLONG* start);
/// The same for a list.
QV_FUNCTION HRESULT riff64_PrepareList(HANDLE file, const GUID* type, ULONGLONG* start);
/// Pads and writes the size, padding included, into the header at `start`; the position is the chunk's end.
QV_FUNCTION HRESULT riff64_CompleteChunk(HANDLE file, ULONGLONG start);
/// Writes a whole chunk in that way: its size field includes the padding. data as in riff64_WriteChunk.
QV_FUNCTION HRESULT riff64_WriteChunkToFile(HANDLE file, const GUID* id, const void* data, ULONGLONG size);

// ---- searches ------------------------------------------------------------------------------------------------------
//
// The outs `size` are optional and set only where something is found. A null GUID or type gives E_INVALIDARG.

/// Scans chunks from the position; found: at the chunk's data, its size in `size`, remaining less by the header.
/// QVERR_RIFF_NOTFOUND when fewer than 24 bytes remain.
QV_FUNCTION HRESULT riff64_FindChunkHeader(HANDLE file, const GUID* id, ULONGLONG* size, ULONGLONG* remaining);
/// Scans the top level from the file's start. remaining (optional, out only): the bytes after the chunk's header; all
/// after the file's header when a read failed behind it; 0 when that header is unusable. QVERR_RIFF_NOTRIFF,
/// QVERR_RIFF_NOTFOUND.
QV_FUNCTION HRESULT riff64_FindChunkHeaderInRIFF(HANDLE file, const GUID* id, ULONGLONG* size, ULONGLONG* remaining);
/// Scans for a list of the type from the position; found: at its first sub-chunk, their size in `size`. A list too
/// small for a type is passed over. QVERR_RIFF_NOTFOUND when fewer than 24 bytes remain before a chunk, or fewer than
/// 16 before a list's type.
QV_FUNCTION HRESULT riff64_FindListChunk(HANDLE file, const GUID* type, ULONGLONG* size, ULONGLONG* remaining);
/// The same over the top level, from the file's start. QVERR_RIFF_NOTRIFF, QVERR_RIFF_NOTFOUND.
QV_FUNCTION HRESULT riff64_FindListChunkFromStart(HANDLE file, const GUID* type, ULONGLONG* size);
/// Counts chunks from the position while 24 bytes remain; without `remaining` until a read fails, which is the result.
/// The position is restored and remaining left as it was; count holds on failure too. Null count: E_INVALIDARG.
QV_FUNCTION HRESULT riff64_GetNumListEntries(HANDLE file, DWORD* count, ULONGLONG* remaining);
/// Skips `index` chunks; 0: S_OK without moving. QVERR_RIFF_NOTFOUND when fewer than 24 bytes remain before one of
/// them.
QV_FUNCTION HRESULT riff64_SeekListEntry(HANDLE file, DWORD index, ULONGLONG* remaining);

/// Removes a top-level chunk, or with isList not 0 the list of type `id`, closes the gap and updates the file size;
/// removed (optional) is the length taken out, header and padding included. QVERR_RIFF_BADSIZE, with the file
/// untouched, when the stored file size is smaller than that. A chunk that the file's end cuts goes with what is there.
QV_FUNCTION HRESULT riff64_DeleteChunk(HANDLE file, const GUID* id, ULONGLONG* removed, LONG isList);

// ---- labels --------------------------------------------------------------------------------------------------------

/// Return null: no names of GUIDs are kept. The GUID is not looked at and may be null.
QV_FUNCTION const WCHAR* riff64_getGUIDLabel(const GUID* id);
QV_FUNCTION const WCHAR* riff64_getGUIDLabelProperly(const GUID* id);
