// The containers as types, for tests that hold in each of them: how their bytes look, written without the library, and
// the library's functions. IFF has no lists.
#pragma once

#include "tests/riff/scratch_file.h"
#include "tests/riff/wave64_bytes.h"

#include "qv/iff.h"
#include "qv/riff64.h"

#include <cstring>
#include <gtest/gtest.h>

namespace riff_test {

inline Bytes reversed(Bytes bytes) { return {bytes.rbegin(), bytes.rend()}; }

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

  static constexpr auto read_file_id = riff_ReadFileID;
  static constexpr auto write_file_id = riff_WriteFileID;
  static constexpr auto seek_data_start = riff_SeekDataStart;
  static constexpr auto set_size = riff_SetRIFFSize;
  static constexpr auto update_size = riff_UpdateRIFFSize;
  static constexpr auto read_header = riff_ReadChunkHeader;
  static constexpr auto write_header = riff_WriteChunkHeader;
  static constexpr auto read_list_header = riff_ReadListHeader;
  static constexpr auto write_list_header = riff_WriteListHeader;
  static constexpr auto write_chunk = riff_WriteChunk;
  static constexpr auto read_data = riff_ReadData;
  static constexpr auto read_bounded = riff_ReadDataBounded;
  static constexpr auto read_alloc = riff_ReadDataAlloc;
  static constexpr auto skip = riff_SkipChunk;
  static constexpr auto save_location = riff_SaveLocation;
  static constexpr auto restore_location = riff_RestoreLocation;
  static constexpr auto find = riff_FindChunkHeader;
  static constexpr auto find_from_start = riff_FindChunkHeaderInRIFF;
  static constexpr auto find_list = riff_FindListChunk;
  static constexpr auto find_list_from_start = riff_FindListChunkFromStart;
  static constexpr auto count = riff_GetNumListEntries;
  static constexpr auto seek_entry = riff_SeekListEntry;
  static constexpr auto remove = riff_DeleteChunk;
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

  static constexpr auto read_file_id = riff64_ReadFileID;
  static constexpr auto write_file_id = riff64_WriteFileID;
  static constexpr auto seek_data_start = riff64_SeekDataStart;
  static constexpr auto set_size = riff64_SetRIFFSize;
  static constexpr auto update_size = riff64_UpdateRIFFSize;
  static constexpr auto read_header = riff64_ReadChunkHeader;
  static constexpr auto write_header = riff64_WriteChunkHeader;
  static constexpr auto read_list_header = riff64_ReadListHeader;
  static constexpr auto write_list_header = riff64_WriteListHeader;
  static constexpr auto write_chunk = riff64_WriteChunk;
  static constexpr auto read_data = riff64_ReadData;
  static constexpr auto read_bounded = riff64_ReadDataBounded;
  static constexpr auto read_alloc = riff64_ReadDataAlloc;
  static constexpr auto skip = riff64_SkipChunk;
  static constexpr auto save_location = riff64_SaveLocation;
  static constexpr auto restore_location = riff64_RestoreLocation;
  static constexpr auto find = riff64_FindChunkHeader;
  static constexpr auto find_from_start = riff64_FindChunkHeaderInRIFF;
  static constexpr auto find_list = riff64_FindListChunk;
  static constexpr auto find_list_from_start = riff64_FindListChunkFromStart;
  static constexpr auto count = riff64_GetNumListEntries;
  static constexpr auto seek_entry = riff64_SeekListEntry;
  static constexpr auto remove = riff64_DeleteChunk;
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
/// Where the first chunk of a file is.
template <class C>
constexpr size_t kFirst = size_t{C::kHeader} + C::kType;

using RiffAndWave64 = testing::Types<Riff, Wave64>;

} // namespace riff_test
