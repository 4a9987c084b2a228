// One text straight from a file, without a list.
#include "riff/chunk/chunk_reader.h"
#include "riff/chunk/chunk_walk.h"
#include "riff/summary/summary_storage.h"

#include <algorithm>
#include <cstring>

using namespace qv::riff;

namespace {

using Walk = ChunkWalk<RiffLayout>;

/// A list's form is read wherever there is room for the list's header.
constexpr WalkRules kRules = {.type_needs_room = false};

/// Converts the text whole and then cuts it: a conversion into too small a buffer leaves it as it likes.
HRESULT copy_out(const char* ansi, WCHAR* text, DWORD capacity) {
  if (!text || capacity == 0) return S_OK;
  const SIZE_T characters = std::strlen(ansi) + 1;
  const Scratch whole(characters * sizeof(WCHAR));
  if (!whole.get()) return E_OUTOFMEMORY;
  auto* const converted = reinterpret_cast<WCHAR*>(whole.get());
  convert_ansi(ansi, converted, characters);
  std::copy_n(converted, std::min<SIZE_T>(text_length(converted) + 1, capacity), text);
  text[capacity - 1] = 0;
  return S_OK;
}

HRESULT read_text(HANDLE file, DWORD bytes, WCHAR* text, DWORD capacity) {
  Scratch ansi;
  const HRESULT result = ansi.read(file, bytes);
  return SUCCEEDED(result) ? copy_out(ansi.get(), text, capacity) : result;
}

HRESULT fetch(HANDLE file, DWORD id, WCHAR* text, DWORD capacity, DWORD* remaining) {
  DWORD left = remaining ? *remaining : 0;
  DWORD list_bytes = 0;
  HRESULT result =
      Walk::find_list(file, QVSUMMARY_FORM_INFO, list_bytes, Walk::Left(remaining ? &left : nullptr, kRules));
  if (result == QVERR_RIFF_NOTFOUND && remaining) *remaining = left;
  if (FAILED(result)) return result;
  DWORD size = 0;
  list_bytes -= RiffLayout::kTypeBytes;
  result = Walk::find_chunk(file, id, size, Walk::Left(&list_bytes));
  // The text is all that is left of the list, whatever size its sub-chunk has.
  return SUCCEEDED(result) ? read_text(file, list_bytes, text, capacity) : result;
}

} // namespace

HRESULT QvSummary_GetStringFromFile(HANDLE file, DWORD id, WCHAR* text, DWORD capacity, DWORD* remaining) {
  const KeptPosition kept(file);
  if (!kept.known()) return QVERR_RIFF_READ;
  const HRESULT result = fetch(file, id, text, capacity, remaining);
  return kept.restore() ? result : QVERR_RIFF_READ;
}
