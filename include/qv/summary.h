// Summary lists: the descriptive texts of a RIFF file (title, artist, copyright, ...), each under a four-character id.
//
//     _summarylisttag list;
//     DWORD size;                                                      // of the sub-chunks, in bytes
//     if (SUCCEEDED(riff_FindListChunkFromStart(file, QVSUMMARY_FORM_INFO, &size))) QvSummary_Load(file, &list, &size);
//     const WCHAR* title = QvSummary_GetItemText(&list, QvFourCC("INAM"));
//     QvSummary_SetItem(&list, QvFourCC("ICMT"), QV_TEXT("second take"));
//     QvSummary_Free(&list);
//
// On disk a summary list is a "LIST" of form "INFO", one sub-chunk per text in the ANSI code page (1252 on POSIX), or
// of form "UNFO", the same with UTF-16 texts.
//
// Ids need not be unique in a loaded list; what looks for an id takes the first item that has it. An item may have no
// text (null), which is not the same as an empty one.
//
// A list is empty when it is made: {0, nullptr}. The array and each text are moveable, locked blocks of the global heap
// that the list owns; QvSummary_Free gives them back. A list is used from one thread at a time, and so is a file
// handle. The functions on files work at the handle's position. A null list gives E_INVALIDARG where nothing else is
// said.
#pragma once

#include "qv/riff.h"

struct _summaryitemtag {
  DWORD id;    ///< the sub-chunk's, its characters in file order
  WCHAR* text; ///< zero-terminated; null: no text
};
static_assert(sizeof(_summaryitemtag) == 16 && offsetof(_summaryitemtag, text) == 8);

struct QV_API _summarylisttag {
  DWORD count = 0;
  _summaryitemtag* items = nullptr; ///< count of them; null when the list is empty

  /// Writes the list at a stream's position, little-endian: count; for each item its id, the characters of its text
  /// with the terminator (0: no text), and those in UTF-16. The stream's own failures are passed on; QVERR_RIFF_WRITE
  /// when it takes less than it is given; E_INVALIDARG for a null stream or a text of 2^32 characters.
  HRESULT Persist(IStream* stream) const;
  /// Replaces the list by what Persist wrote. The last character of a text is taken for its terminator. Memory grows
  /// with what is read, not with what is claimed. The stream's own failures are passed on; QVERR_RIFF_READ when it ends
  /// early; E_OUTOFMEMORY; each leaves the list empty. E_INVALIDARG for a null stream leaves it as it was.
  HRESULT Create(IStream* stream);
};
static_assert(sizeof(_summarylisttag) == 16 && offsetof(_summarylisttag, items) == 8);

// ---- files ---------------------------------------------------------------------------------------------------------

/// Reads the items of an "INFO" list whose first sub-chunk is at the position; *remaining is the size of the sub-chunks
/// (list size - 4), which is read and not changed. The list is emptied first. A text ends at its first zero byte; the
/// position ends up behind the last item. Fewer than 8 bytes: S_OK, no items.
/// A sub-chunk that claims more than remains does not end the list: reading goes on until the file ends.
/// QVERR_RIFF_READ: the file ends early; the position is restored when no text was read yet. E_OUTOFMEMORY. Both leave
/// the list empty. E_INVALIDARG: null list or remaining.
QV_FUNCTION HRESULT QvSummary_Load(HANDLE file, _summarylisttag* list, DWORD* remaining);
/// The same for an "UNFO" list. A text is as long as its sub-chunk, whatever zeros it holds, with a terminator behind.
/// Neither pointer may be null; they are not checked.
QV_FUNCTION HRESULT QvSummary_LoadUNFO(HANDLE file, _summarylisttag* list, DWORD* remaining);
/// Writes a whole "LIST" of form "INFO" at the position, without the items that have no text; the position ends up
/// behind it. written (optional): the bytes, the list's header included; 0 on failure. An empty list writes nothing.
/// The pad byte behind an odd size is the low byte of the item's index. The code page's substitute stands for
/// characters that it lacks.
/// QVERR_RIFF_WRITE, E_OUTOFMEMORY, and QVERR_RIFF_TOOBIG before an item with which the list would pass the RIFF limit
/// leave what was written, with a list size of 0.
QV_FUNCTION HRESULT QvSummary_Save(HANDLE file, const _summarylisttag* list, DWORD* written);
/// The same with form "UNFO".
QV_FUNCTION HRESULT QvSummary_SaveUNFO(HANDLE file, const _summarylisttag* list, DWORD* written);
/// Copies one text out of the first "INFO" list among the chunks from the position on: at most capacity - 1 characters,
/// and text[capacity - 1] is set to 0. Null text or capacity 0: nothing is copied. The position is restored on every
/// path.
/// What counts as text is everything from the sub-chunk's data to the list's end, up to the first zero byte: a text
/// without a terminator runs into the sub-chunk behind it.
/// remaining (optional): the bytes of the chunks. When fewer than 8 are left before an "INFO" list, *remaining becomes
/// what is left and the result is QVERR_RIFF_NOTFOUND; in all other cases it stays as it is. Without it the search goes
/// on until the file ends.
/// QVERR_RIFF_NOTFOUND: no such item in the list. QVERR_RIFF_READ: the file ends early. E_OUTOFMEMORY.
QV_FUNCTION HRESULT QvSummary_GetStringFromFile(HANDLE file, DWORD id, WCHAR* text, DWORD capacity, DWORD* remaining);

// ---- items ---------------------------------------------------------------------------------------------------------

/// Sets the text of the first item with the id to a copy of `text`, which may be the list's own; adds an item at the
/// end when there is none. Null text removes the item, or, when there is none, adds an item without text. Removing
/// the last remaining item frees the list.
/// E_INVALIDARG: id 0. E_OUTOFMEMORY: the list is as it was.
QV_FUNCTION HRESULT QvSummary_SetItem(_summarylisttag* list, DWORD id, const WCHAR* text);
/// The text of the first item with the id, owned by the list; null when it has none, there is no such item, or the list
/// is null.
QV_FUNCTION const WCHAR* QvSummary_GetItemText(const _summarylisttag* list, DWORD id);
/// The index of the first item with the id; QVERR_RIFF_NOTFOUND, which is negative, when there is none or the list is
/// null.
QV_FUNCTION HRESULT QvSummary_GetItemIndex(const _summarylisttag* list, DWORD id);

// ---- lists ---------------------------------------------------------------------------------------------------------

/// Replaces dst by a deep copy of src. A list onto itself: S_OK. E_OUTOFMEMORY leaves dst empty.
QV_FUNCTION HRESULT QvSummary_Copy(_summarylisttag* dst, const _summarylisttag* src);
/// Brings the items of src into dst: those whose id dst lacks are added at its end; those whose id it has replace its
/// first such item when `overwrite` is not 0 and are passed over otherwise. An empty src, or one list twice: S_OK, and
/// nothing changes.
/// Copying (move is 0): item by item as by QvSummary_SetItem, so that an overwriting item without text removes dst's.
/// The first failure is the result, and what was merged until then stays.
/// Moving: texts go over without being copied, a missing one too; src ends up empty, with the texts that were not moved
/// freed. Items of src with one id that dst lacks are all added. An empty dst takes src over as it is. E_OUTOFMEMORY:
/// nothing was added, and src is empty all the same.
QV_FUNCTION HRESULT QvSummary_Merge(_summarylisttag* dst, _summarylisttag* src, BOOL overwrite, BOOL move);
/// Whether two lists have the same texts in the same order, character by character. Ids are not compared. A text and
/// none differ. A null list is equal to nothing.
QV_FUNCTION BOOL QvSummary_Compare(const _summarylisttag* a, const _summarylisttag* b);
/// Frees every text and the array; the list is empty then. Null: S_OK.
QV_FUNCTION HRESULT QvSummary_Free(_summarylisttag* list);
