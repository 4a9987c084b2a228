// Big-endian words, chunk headers and the form header of IFF files.
#include "riff/chunk/chunk_walk.h"
#include "riff/iff/iff_layout.h"

#include <cstring>

using namespace qv::riff;

namespace {

constexpr LONGLONG kFormSizeAt = 4;
constexpr DWORD kFormTypeBytes = 4;

WORD swapped(WORD value) { return __builtin_bswap16(value); }
DWORD swapped(DWORD value) { return __builtin_bswap32(value); }

template <class Word>
void swap_words(void* buffer, DWORD count) {
  auto* at = static_cast<BYTE*>(buffer);
  for (; count != 0; --count, at += sizeof(Word)) {
    Word value;
    std::memcpy(&value, at, sizeof value);
    value = swapped(value);
    std::memcpy(at, &value, sizeof value);
  }
}

template <class Word>
HRESULT read_word(HANDLE file, Word* value) {
  if (!value) return E_INVALIDARG;
  Word stored;
  if (!read_exact(file, &stored, sizeof stored)) return QVERR_RIFF_READ;
  *value = swapped(stored);
  return S_OK;
}

template <class Word>
HRESULT write_word(HANDLE file, Word value) {
  const Word stored = swapped(value);
  return write_exact(file, &stored, sizeof stored) ? S_OK : QVERR_RIFF_WRITE;
}

} // namespace

void iff_ByteSwap16(void* buffer, DWORD count) { swap_words<WORD>(buffer, count); }
void iff_ByteSwap32(void* buffer, DWORD count) { swap_words<DWORD>(buffer, count); }
void aiff_WriteByteSwap16(void* buffer, DWORD count) { swap_words<WORD>(buffer, count); }
void aiff_WriteByteSwap32(void* buffer, DWORD count) { swap_words<DWORD>(buffer, count); }

HRESULT iff_ReadDWORD(HANDLE file, DWORD* value) { return read_word(file, value); }
HRESULT iff_ReadWORD(HANDLE file, WORD* value) { return read_word(file, value); }
HRESULT iff_WriteDWORD(HANDLE file, DWORD value) { return write_word(file, value); }
HRESULT iff_WriteWORD(HANDLE file, WORD value) { return write_word(file, value); }

HRESULT iff_ReadChunkHdr(HANDLE file, QVIFFCHUNK* header) {
  if (!header) return E_INVALIDARG;
  QVIFFCHUNK stored;
  if (!read_exact(file, &stored, sizeof stored)) return QVERR_RIFF_READ;
  *header = {swapped(stored.id), swapped(stored.size)};
  return S_OK;
}

HRESULT iff_WriteChunk(HANDLE file, const QVIFFCHUNK* header) {
  if (!header) return E_INVALIDARG;
  const QVIFFCHUNK stored = {swapped(header->id), swapped(header->size)};
  return write_exact(file, &stored, sizeof stored) ? S_OK : QVERR_RIFF_WRITE;
}

HRESULT iff_WriteFileID(HANDLE file, DWORD formType, DWORD formSize) {
  const QVIFFCHUNK header = {QVIFF_ID_FORM, formSize};
  const HRESULT result = iff_WriteChunk(file, &header);
  return SUCCEEDED(result) ? iff_WriteDWORD(file, formType) : result;
}

HRESULT iff_ReadFormType(HANDLE file, QVIFFCHUNK* header, DWORD* formType) {
  QVIFFCHUNK form;
  HRESULT result = iff_ReadChunkHdr(file, &form);
  if (FAILED(result)) return result;
  if (form.id != QVIFF_ID_FORM) return QVERR_RIFF_WRONGFORM;
  DWORD type = 0;
  result = iff_ReadDWORD(file, &type);
  if (FAILED(result)) return result;
  if (header) *header = form;
  if (formType) *formType = type;
  return S_OK;
}

DWORD iff_SkipChunk(HANDLE file, DWORD size) {
  const ULONGLONG bytes = ChunkWalk<IffLayout>::padded(size);
  skip_forward(file, bytes);
  return static_cast<DWORD>(bytes);
}

HRESULT IffLayout::read_file_header(HANDLE file, Count& size) {
  QVIFFCHUNK form = {};
  const HRESULT result = iff_ReadFormType(file, &form, nullptr);
  size = form.size < kFormTypeBytes ? 0 : form.size - kFormTypeBytes;
  return result == QVERR_RIFF_WRONGFORM ? HRESULT{QVERR_RIFF_NOTRIFF} : result;
}

HRESULT IffLayout::read_stored_size(HANDLE file, ULONGLONG& size) {
  DWORD stored = 0;
  if (!seek(file, kFormSizeAt)) return QVERR_RIFF_READ;
  const HRESULT result = iff_ReadDWORD(file, &stored);
  size = stored;
  return result;
}

HRESULT IffLayout::update_size(HANDLE file, LONGLONG change) {
  const KeptPosition kept(file);
  ULONGLONG size = 0;
  if (!kept.known()) return QVERR_RIFF_READ;
  HRESULT result = read_stored_size(file, size);
  if (SUCCEEDED(result))
    result = seek(file, kFormSizeAt) ? iff_WriteDWORD(file, static_cast<DWORD>(size + static_cast<ULONGLONG>(change)))
                                     : HRESULT{QVERR_RIFF_WRITE};
  return kept.restore() || FAILED(result) ? result : QVERR_RIFF_WRITE;
}
