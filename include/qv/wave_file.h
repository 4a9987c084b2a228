// Headers of RIFF wave and Wave64 files: made, recognised, repaired.
//
// The two containers count a file's size differently. The RIFF size is what follows its field, the file's length less
// 8: a header of 46 bytes and 10 bytes of audio give 48. Wave64's size is the whole file's: a header of 112 bytes and
// 10 bytes of audio give 122. The functions below write either from where the audio starts and how long it is.
//
//     QvInsertWavHeader(file, &format, 10, 46);
//     QvInsertW64Header(file, &format, 10, 112);
//
// The format that is written is the 18-byte WAVEFORMATEX with an extra size of 0, whatever the file. Functions that
// take a WAVEFORMATEX also take a _qvwaveformat record (qv/audio_records.h). A format is acceptable when its extra size
// is 0 and, for PCM (tag 1), its block align is channels x (bits / 8) and its bits are not 20; QVERR_BADFORMAT
// otherwise.
//
// Functions that take a handle restore its position, also on failure, and must not run on one handle from two threads
// at once. E_INVALIDARG, before anything is read or written: a null name, format or record (but for the hint of a
// repair). Names are zero-terminated. Results beside those named: QVERR_RIFF_READ, QVERR_RIFF_WRITE.
#pragma once

#include "qv/audio_records.h"
#include "qv/result.h"

// ---- new files -----------------------------------------------------------------------------------------------------
//
// creation: as for CreateFile, except that OPEN_EXISTING empties the file and OPEN_ALWAYS is CREATE_ALWAYS. Nothing is
// created when the arguments are refused. QVERR_FILE_OPEN.

/// A wave file without audio, which would start at 46.
QV_FUNCTION HRESULT QvInitializeWav(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation);
/// The same with a "JUNK" chunk before the "data" header, so that audio starts at headerSize, rounded up to even. Below
/// 54: E_INVALIDARG.
QV_FUNCTION HRESULT QvInitializeWavWithJunk(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation,
                                            DWORD headerSize);
/// A Wave64 file without audio, which would start at 112. Its size field says 130.
QV_FUNCTION HRESULT QvInitializeWav64(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation);
/// The same with a junk chunk; headerSize is rounded up to a multiple of 8. Below 136: E_INVALIDARG. The size field
/// says headerSize.
QV_FUNCTION HRESULT QvInitializeWav64WithJunk(const WCHAR* name, const WAVEFORMATEX* format, DWORD creation,
                                              LONGLONG headerSize);

// ---- headers before audio that is there already --------------------------------------------------------------------

/// Writes a header that ends at dataStart, over what is there; the audio is not touched. dataStart: even, 46 or at
/// least 54; the file: at least 46 bytes. QVERR_RIFF_BADSIZE; QVERR_BADFORMAT. dataSize is written as it is. The RIFF
/// size, dataStart - 8 + dataSize, is 0xFFFFFFFF when it is more.
QV_FUNCTION HRESULT QvInsertWavHeader(HANDLE file, const WAVEFORMATEX* format, DWORD dataSize, DWORD dataStart);
/// The same for Wave64, whose size becomes dataStart + dataSize. dataStart: a multiple of 8, 112 or at least 136; the
/// file: at least 112 bytes. QVERR_RIFF_BADSIZE; QVERR_BADFORMAT.
QV_FUNCTION HRESULT QvInsertW64Header(HANDLE file, const WAVEFORMATEX* format, ULONGLONG dataSize, ULONGLONG dataStart);

// ---- recognition: 1 or 0 -------------------------------------------------------------------------------------------
//
// 0 also for a null name and for a file that cannot be opened or read.

/// A RIFF file of form "WAVE" with a readable "fmt " chunk (of at least 16 bytes); compressed formats only where they
/// are allowed.
QV_FUNCTION LONG QvFileIsWave(const WCHAR* name, BOOL allowCompressed);
/// A Wave64 file of form wave with a readable format chunk.
QV_FUNCTION LONG QvFileIsWave64(const WCHAR* name);
/// As iff_IsAIFFFile.
QV_FUNCTION LONG QvFileIsAiff(const WCHAR* name);

// ---- the format chunk of a RIFF wave file --------------------------------------------------------------------------

/// Stores the first 18 bytes of the format chunk, zeros behind a shorter one, and no extra bytes, whatever cbSize says.
/// Functions of qv/audio.h read 40 bytes of an extensible header (tag 0xFFFE): where the format goes on to them it
/// stands at the start of a zeroed WAVEFORMATEXTENSIBLE. QVERR_RIFF_NOTRIFF, QVERR_RIFF_WRONGFORM, QVERR_RIFF_NOTFOUND;
/// QVERR_RIFF_BADSIZE for a chunk below 16 bytes.
QV_FUNCTION HRESULT QvGetFileWfx(HANDLE file, WAVEFORMATEX* format);
/// Rewrites the format chunk in place, with the first 16 or 18 bytes of the format. QVERR_RIFF_BADSIZE when it has
/// neither 16 nor 18 bytes, or has 16 and the format's extra size is not 0; the other results are those of
/// QvGetFileWfx.
QV_FUNCTION HRESULT QvSetFileWfx(HANDLE file, const WAVEFORMATEX* format);

// ---- repair --------------------------------------------------------------------------------------------------------

/// Writes a new header from what the record at 20 still says, with defaults for what makes no sense: 2,000 to 192,000
/// samples per second, 1 or 2 channels, PCM with 8, 16, 24 or 32 bits or IEEE float with 32 or 64. Defaults: those of
/// the hint (which may be null), or 44,100, 2, PCM, 16. The audio is found by walking the chunks from 38 on, else by
/// the first "data" behind it, else it is taken to start where the search ends; QVERR_RIFF_NOTFOUND when the file ends
/// first.
/// limit: the offset, from the file's start, at which the search ends; 0xFFFFFFFF, and anything behind the file, is the
/// file's end. The walk counts it from 38 on, so that it may pass the offset by 38 bytes, and the search looks at whole
/// blocks of 4,096 bytes that begin before it. Then QvInsertWavHeader, with the audio that is there, in whole frames,
/// and at most 4 GiB of it. QVERR_BADFORMAT for a hint that leaves no block align.
QV_FUNCTION HRESULT QvFixTrashedWav(HANDLE file, const WAVEFORMATEX* hint, DWORD limit);
/// The same for Wave64: the record at 64, chunks and bytes from 88 on, the data GUID, then QvInsertW64Header.
QV_FUNCTION HRESULT QvFixTrashedW64(HANDLE file, const WAVEFORMATEX* hint, ULONGLONG limit);

QV_ON_RECORDS(QvInitializeWav)
QV_ON_RECORDS(QvInitializeWavWithJunk)
QV_ON_RECORDS(QvInitializeWav64)
QV_ON_RECORDS(QvInitializeWav64WithJunk)
QV_ON_RECORDS(QvInsertWavHeader)
QV_ON_RECORDS(QvInsertW64Header)
QV_ON_RECORDS(QvSetFileWfx)
QV_ON_RECORDS(QvFixTrashedWav)
QV_ON_RECORDS(QvFixTrashedW64)
