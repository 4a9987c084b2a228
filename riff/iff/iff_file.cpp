// The exported functions of IFF files: chunk_io.h, chunk_walk.h and chunk_removal.h with the IFF layout, and big-endian
// words.
#include "riff/chunk/chunk_removal.h"

#include "qv/iff.h"

#include <cstring>

using namespace qv::riff;

namespace {

template <class Word>
void swap_words(void* buffer, DWORD count) {
  auto* at = static_cast<BYTE*>(buffer);
  for (; count != 0; --count, at += sizeof(Word)) {
    Word value;
    std::memcpy(&value, at, sizeof value);
    value = IffLayout::in_order(value);
    std::memcpy(at, &value, sizeof value);
  }
}

template <class Word>
HRESULT read_word(HANDLE file, Word* value) {
  if (!value) return E_INVALIDARG;
  Word stored;
  if (!read_exact(file, &stored, sizeof stored)) return QVERR_RIFF_READ;
  *value = IffLayout::in_order(stored);
  return S_OK;
}

template <class Word>
HRESULT write_word(HANDLE file, Word value) {
  const Word stored = IffLayout::in_order(value);
  return write_exact(file, &stored, sizeof stored) ? S_OK : QVERR_RIFF_WRITE;
}

} // namespace

// ---- words ---------------------------------------------------------------------------------------------------------

void iff_ByteSwap16(void* buffer, DWORD count) { swap_words<WORD>(buffer, count); }
void iff_ByteSwap32(void* buffer, DWORD count) { swap_words<DWORD>(buffer, count); }
void aiff_WriteByteSwap16(void* buffer, DWORD count) { swap_words<WORD>(buffer, count); }
void aiff_WriteByteSwap32(void* buffer, DWORD count) { swap_words<DWORD>(buffer, count); }

HRESULT iff_ReadDWORD(HANDLE file, DWORD* value) { return read_word(file, value); }
HRESULT iff_ReadWORD(HANDLE file, WORD* value) { return read_word(file, value); }
HRESULT iff_WriteDWORD(HANDLE file, DWORD value) { return write_word(file, value); }
HRESULT iff_WriteWORD(HANDLE file, WORD value) { return write_word(file, value); }

// ---- headers -------------------------------------------------------------------------------------------------------

HRESULT iff_ReadChunkHdr(HANDLE file, QVIFFCHUNK* header) {
  return header ? read_header<IffLayout>(file, header->id, header->size) : E_INVALIDARG;
}

HRESULT iff_WriteChunk(HANDLE file, const QVIFFCHUNK* header) {
  return header ? write_header<IffLayout>(file, header->id, header->size) : E_INVALIDARG;
}

HRESULT iff_WriteFileID(HANDLE file, DWORD formType, DWORD formSize) {
  return write_typed_header<IffLayout>(file, IffLayout::kFileId, formType, formSize);
}

HRESULT iff_ReadFormType(HANDLE file, QVIFFCHUNK* header, DWORD* formType) {
  DWORD type = 0;
  DWORD size = 0;
  const HRESULT result = read_typed_header<IffLayout>(file, IffLayout::kFileId, QVERR_RIFF_WRONGFORM, type, size);
  if (FAILED(result)) return result;
  if (header) *header = {IffLayout::kFileId, size};
  if (formType) *formType = type;
  return S_OK;
}

DWORD iff_SkipChunk(HANDLE file, DWORD size) { return skip_chunk<IffLayout>(file, size); }

// ---- searches ------------------------------------------------------------------------------------------------------

HRESULT iff_FindChunkHeader(HANDLE file, DWORD id, DWORD* size, DWORD* remaining) {
  return find_chunk_header<IffLayout>(file, &id, size, remaining);
}

HRESULT iff_SeekChunkHeader(HANDLE file, DWORD id, DWORD* size) { return iff_FindChunkHeader(file, id, size, nullptr); }

HRESULT iff_FindChunkFromStart(HANDLE file, DWORD id, DWORD* size, DWORD* remaining) {
  return find_chunk_from_start<IffLayout>(file, &id, size, remaining);
}

HRESULT iff_DeleteChunk(HANDLE file, DWORD id, DWORD* removed) { return remove_chunk<IffLayout>(file, &id, removed); }
