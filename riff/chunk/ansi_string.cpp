// Texts in chunks: 8-bit characters of the ANSI code page with a terminator.
#include "riff/chunk/chunk_io.h"
#include "riff/chunk/chunk_reader.h"

#include "qv/riff.h"

#include <algorithm>
#include <string>

using namespace qv::riff;

namespace {

/// Reads `bytes` bytes of text, the last of which counts as the terminator.
HRESULT read_text(HANDLE file, WCHAR* buffer, DWORD length, DWORD bytes) {
  if (length != 0) buffer[0] = 0;
  if (bytes == 0) return S_OK;
  Scratch ansi;
  const HRESULT result = ansi.read(file, bytes);
  if (FAILED(result)) return result;
  ansi.get()[bytes - 1] = 0;
  const int room = static_cast<int>(std::min<DWORD>(length, 0x7FFFFFFF));
  const int count = static_cast<int>(std::min<DWORD>(bytes, 0x7FFFFFFF));
  if (!MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, ansi.get(), count, buffer, room)) buffer[0] = 0;
  buffer[length - 1] = 0;
  return S_OK;
}

} // namespace

HRESULT riff_WriteANSIString(HANDLE file, const WCHAR* text, DWORD* written) {
  if (!text) return E_INVALIDARG;
  const SIZE_T characters = std::char_traits<WCHAR>::length(text) + 1;
  if (characters > 0x7FFFFFFE) return E_INVALIDARG;
  const DWORD bytes = static_cast<DWORD>(padded<RiffLayout>(characters));
  const Scratch ansi(bytes);
  if (!ansi.get()) return E_OUTOFMEMORY;
  const int count = static_cast<int>(characters);
  WideCharToMultiByte(CP_ACP, 0, text, count, ansi.get(), count, nullptr, nullptr);
  // Where the system's code page takes several bytes for a character, the text is cut at as many as it has characters.
  ansi.get()[characters - 1] = 0;
  if (!write_exact(file, ansi.get(), bytes)) return QVERR_RIFF_WRITE;
  if (written) *written = bytes;
  return S_OK;
}

HRESULT riff_ReadANSIString(HANDLE file, WCHAR* buffer, DWORD length, DWORD* size) {
  if (!buffer || !size) return E_INVALIDARG;
  LONGLONG start = 0;
  if (!tell(file, start)) return QVERR_RIFF_READ;
  const HRESULT result = read_text(file, buffer, length, std::min(*size, length));
  if (FAILED(result)) return result;
  if (!seek(file, start + static_cast<LONGLONG>(padded<RiffLayout>(*size)))) return QVERR_RIFF_READ;
  *size += 1;
  return S_OK;
}
