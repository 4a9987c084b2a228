// What a summary list is made of: blocks of the global heap for its array and texts, and how an item is found.
#pragma once

#include "qv/summary.h"

#include <string>

namespace qv::riff {

/// Returns a zeroed block, moveable and locked, or null.
void* new_block(ULONGLONG bytes);
void free_block(void* memory);

/// Returns zeroed room for that many characters, the terminator among them, or null.
WCHAR* new_text(ULONGLONG characters);
/// Returns a copy, or null when there is no memory. `text` is not null.
WCHAR* copy_text(const WCHAR* text);
/// Returns the number of characters without the terminator.
inline SIZE_T text_length(const WCHAR* text) { return std::char_traits<WCHAR>::length(text); }

/// Gives the list an array of `capacity` records, count of which it keeps. False leaves it as it was.
bool resize_array(_summarylisttag& list, ULONGLONG capacity);

/// Returns the index of the first of `count` items with the id; count when there is none.
DWORD find_item(const _summarylisttag& list, DWORD id, DWORD count);

/// Converts ANSI bytes, which end in a zero byte, into `capacity` characters, the last of which becomes 0.
void convert_ansi(const char* ansi, WCHAR* text, ULONGLONG capacity);

} // namespace qv::riff
