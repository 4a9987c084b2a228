// A COM stream over memory of its own, on every platform.
//
//     IStream* stream = nullptr;
//     if (FAILED(QvCreateMemoryStream(bytes, size, &stream))) ...
//     stream->Release();
//
// Positions and sizes are 64-bit; a stream grows as it is written, its new bytes zero where none were written. Commit
// and Revert do nothing; regions cannot be locked (STG_E_INVALIDFUNCTION). A clone shares the bytes and has a position
// of its own. A stream and its clones are used from one thread at a time; AddRef and Release from any.
#pragma once

#include "qv/win32.h"

/// A stream that starts with a copy of `size` bytes (bytes may be null when size is 0) and stands at 0. The caller
/// releases it. E_POINTER, E_OUTOFMEMORY.
QV_FUNCTION HRESULT QvCreateMemoryStream(const void* bytes, ULONGLONG size, IStream** stream);
