// Export and linkage of the library's interface.
//
// A function that is not overloaded is declared with QV_FUNCTION: C linkage, so that any language can load it by
// name. Overloads and classes carry QV_API alone.
#pragma once

#if defined(_WIN32)
#if defined(QVKERNEL_BUILDING)
#define QV_API __declspec(dllexport)
#else
#define QV_API __declspec(dllimport)
#endif
#else
#define QV_API __attribute__((visibility("default")))
#endif

#define QV_FUNCTION extern "C" QV_API

// A literal in the library's text type: WCHAR is wchar_t on Windows and char16_t elsewhere.
#if defined(_WIN32)
#define QV_TEXT(literal) L##literal
#else
#define QV_TEXT(literal) u##literal
#endif
