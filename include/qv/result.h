// Result codes of the library, beside the standard ones that qv/win32.h brings (S_OK, E_FAIL, E_INVALIDARG, ...).
//
// Every code is one row of QV_RESULT_TABLE: name, value, and what it says. QvResultText has a sentence for each.
#pragma once

#include "qv/win32.h"

// clang-format off
#define QV_RESULT_TABLE(ROW)                                                                              \
  ROW(QVERR_BADFORMAT,       0x8004E000u) /* the format is not acceptable */                              \
  ROW(QVERR_FILE_OPEN,       0x8004E007u) /* the file could not be opened */                              \
  ROW(QVERR_RIFF_READ,       0x8004E008u) /* the file ended early or could not be read */                 \
  ROW(QVERR_RIFF_WRITE,      0x8004E009u) /* the file could not be written */                             \
  ROW(QVERR_RIFF_NOTFOUND,   0x8004E00Au) /* what was asked for is not there: a chunk, an item, a key */  \
  ROW(QVERR_RIFF_WRONGFORM,  0x8004E00Bu) /* the file is of another form */                               \
  ROW(QVERR_RIFF_BADCDDAFMT, 0x8004E01Cu) /* the CD track descriptor has no usable "fmt " chunk */        \
  ROW(QVERR_RIFF_TOOBIG,     0x8004E03Au) /* the file would grow past the RIFF limit of 4 GiB */          \
  ROW(QVERR_MOREDATA,        0x8004E03Cu) /* the buffer is too small */                                   \
  ROW(QVERR_RIFF_NOTRIFF,    0x8004E080u) /* the file does not start with "RIFF" */                       \
  ROW(QVERR_RIFF_NOTLIST,    0x8004E081u) /* the chunk is not a "LIST" */                                 \
  ROW(QVERR_RIFF_EMPTYCHUNK, 0x8004E082u) /* the chunk is empty */                                        \
  ROW(QVERR_RIFF_BADSIZE,    0x8004E083u) /* the chunk's size is not possible */                          \
  ROW(QVERR_UNDO_STALE,      0x8004E09Du) /* the file has been changed since: it cannot be taken back */   \
  ROW(QVERR_UNDO_IN_THE_WAY, 0x8004E09Eu) /* an undo file is in the way that cannot be used */            \
  ROW(QVERR_MP4_HALF_WRITTEN, 0x8004E09Fu) /* writing failed half-way: recovery is needed */              \
  ROW(QVERR_MP4_UNSAFE,      0x8004E0A0u) /* writing would lose or alter what was read */                 \
  ROW(QVERR_MP4_OFFSETS,     0x8004E0A1u) /* an offset into the file cannot be moved along */             \
  ROW(QVERR_MP4_FOREIGN_BAK, 0x8004E0A2u) /* a file in the way of the backup copy is not ours */
// clang-format on

#define QV_RESULT_CONSTANT(name, value) inline constexpr HRESULT name = static_cast<HRESULT>(value);
QV_RESULT_TABLE(QV_RESULT_CONSTANT)
#undef QV_RESULT_CONSTANT

/// The sentence, without a full stop, that tells a user what a result means, in the language in force
/// (qv/language.h). Every result of the library has one: the codes above, the standard ones, and errors of the system
/// as results (0x80070000 | error), where the rarer ones share "the system reports an error". Any other gives "unknown
/// result". The text is static and never null. Any thread may call.
QV_FUNCTION const WCHAR* QvResultText(HRESULT result);
