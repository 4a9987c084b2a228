// The Win32 names that the library and its callers use, on every platform.
//
// On Windows this is the system's own headers. Elsewhere it declares just the names that the library uses, with
// their documented behaviour; the library implements them and exports them under a symbol prefix of its own, so that
// they collide with nobody's.
//
//     #include <qv/win32.h>
//     HANDLE file = CreateFileW(QV_TEXT("in.wav"), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
#pragma once

#include "qv/export.h"

#include <cstddef>
#include <cstdint>
#include <string>

#if defined(_WIN32)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
// <windows.h> comes before the headers that need it.
// clang-format off
#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>
#include <malloc.h>
#include <objidl.h>
// clang-format on
#else
#include "qv/win32/audio_format.h"
#include "qv/win32/clock.h"
#include "qv/win32/com.h"
#include "qv/win32/file.h"
#include "qv/win32/memory.h"
#include "qv/win32/registry.h"
#include "qv/win32/results.h"
#include "qv/win32/text.h"
#include "qv/win32/thread.h"
#endif

namespace qv {

/// UTF-16 text: std::wstring on Windows, std::u16string elsewhere.
using WString = std::basic_string<WCHAR>;

} // namespace qv
