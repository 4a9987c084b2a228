// The containers as types, for tests and fuzz targets that hold in each of them: how their bytes look, written without
// the library, and the library's functions. IFF has no lists.
#pragma once

#include "tests/riff/wave64_bytes.h"

#include "qv/iff.h"
#include "qv/riff.h"
#include "qv/riff64.h"

#include <cstring>

namespace riff_test {

inline Bytes reversed(Bytes bytes) { return {bytes.rbegin(), bytes.rend()}; }

/// What the functions of a family are called in the tests.
#define QV_CHUNK_FUNCTIONS(family)                                                                                     \
  static constexpr auto read_file_id = family##_ReadFileID;                                                            \
  static constexpr auto write_file_id = family##_WriteFileID;                                                          \
  static constexpr auto seek_data_start = family##_SeekDataStart;                                                      \
  static constexpr auto set_size = family##_SetRIFFSize;                                                               \
  static constexpr auto update_size = family##_UpdateRIFFSize;                                                         \
  static constexpr auto read_header = family##_ReadChunkHeader;                                                        \
  static constexpr auto write_header = family##_WriteChunkHeader;                                                      \
  static constexpr auto read_list_header = family##_ReadListHeader;                                                    \
  static constexpr auto write_list_header = family##_WriteListHeader;                                                  \
  static constexpr auto write_chunk = family##_WriteChunk;                                                             \
  static constexpr auto read_data = family##_ReadData;                                                                 \
  static constexpr auto read_bounded = family##_ReadDataBounded;                                                       \
  static constexpr auto read_alloc = family##_ReadDataAlloc;                                                           \
  static constexpr auto skip = family##_SkipChunk;                                                                     \
  static constexpr auto save_location = family##_SaveLocation;                                                         \
  static constexpr auto restore_location = family##_RestoreLocation;                                                   \
  static constexpr auto find = family##_FindChunkHeader;                                                               \
  static constexpr auto find_from_start = family##_FindChunkHeaderInRIFF;                                              \
  static constexpr auto find_list = family##_FindListChunk;                                                            \
  static constexpr auto find_list_from_start = family##_FindListChunkFromStart;                                        \
  static constexpr auto count = family##_GetNumListEntries;                                                            \
  static constexpr auto seek_entry = family##_SeekListEntry;                                                           \
  static constexpr auto remove = family##_DeleteChunk;

struct Riff {
  using Id = DWORD;
  using Count = DWORD;
  using Data = QVRIFFDATA;
  static constexpr const char* kFile = "RIFF";
  static constexpr const char* kList = "LIST";
  static constexpr const char* kForm = "WAVE";
  static constexpr DWORD kHeader = 8, kType = 4, kAlign = 2, kCounted = 0;
  static Bytes code(std::string_view name) { return Bytes(name); }
  static Bytes number(uint64_t value) { return u32(static_cast<uint32_t>(value)); }
  static Id argument(const Id& id) { return id; }
  QV_CHUNK_FUNCTIONS(riff)
};

struct Wave64 {
  using Id = GUID;
  using Count = ULONGLONG;
  using Data = QVRIFF64DATA;
  static constexpr const char* kFile = "riff";
  static constexpr const char* kList = "list";
  static constexpr const char* kForm = "wave";
  static constexpr DWORD kHeader = 24, kType = 16, kAlign = 8, kCounted = 24;
  static Bytes code(std::string_view name) { return guid(name); }
  static Bytes number(uint64_t value) { return u64(value); }
  static const Id* argument(const Id& id) { return &id; }
  QV_CHUNK_FUNCTIONS(riff64)
};

struct Iff {
  using Id = DWORD;
  using Count = DWORD;
  static constexpr const char* kFile = "FORM";
  static constexpr const char* kForm = "AIFF";
  static constexpr DWORD kHeader = 8, kType = 4, kAlign = 2, kCounted = 0;
  static Bytes code(std::string_view name) { return Bytes(name); }
  static Bytes number(uint64_t value) { return reversed(u32(static_cast<uint32_t>(value))); }
  static Id argument(const Id& id) { return __builtin_bswap32(id); }

  static constexpr auto find = iff_FindChunkHeader;
  static constexpr auto find_from_start = iff_FindChunkFromStart;
  static HRESULT remove(HANDLE file, Id id, Count* removed, LONG) { return iff_DeleteChunk(file, id, removed); }
};

template <class C>
typename C::Id id_of(std::string_view name) {
  typename C::Id id;
  std::memcpy(&id, C::code(name).data(), sizeof id);
  return id;
}

/// A header alone, which may claim any size of data.
template <class C>
Bytes header_in(std::string_view name, uint64_t size) {
  return C::code(name) + C::number(size + C::kCounted);
}
template <class C>
Bytes chunk_in(std::string_view name, std::string_view data) {
  return header_in<C>(name, data.size()) + Bytes(data) + Bytes((C::kAlign - data.size() % C::kAlign) % C::kAlign, '\0');
}
template <class C>
Bytes list_in(std::string_view type, std::string_view body) {
  return header_in<C>(C::kList, body.size() + C::kType) + C::code(type) + Bytes(body);
}
/// A file's header that claims any size of chunks.
template <class C>
Bytes file_header_in(uint64_t body_size) {
  return header_in<C>(C::kFile, body_size + C::kType) + C::code(C::kForm);
}
template <class C>
Bytes file_in(std::string_view body) {
  return file_header_in<C>(body.size()) + Bytes(body);
}
/// What was allocated for a QVRIFFDATA or QVRIFF64DATA, which is freed. Empty unless it is a locked block of its size.
template <class Data>
Bytes take(const Data& data) {
  const HGLOBAL block = data.data ? GlobalHandle(data.data) : nullptr;
  if (!block || (GlobalFlags(block) & GMEM_LOCKCOUNT) != 1 || GlobalSize(block) != data.size) return {};
  const Bytes bytes(static_cast<const char*>(data.data), data.size);
  GlobalUnlock(block);
  return GlobalFree(block) ? Bytes() : bytes;
}
/// Where the first chunk of a file is.
template <class C>
constexpr size_t kFirst = size_t{C::kHeader} + C::kType;

} // namespace riff_test
