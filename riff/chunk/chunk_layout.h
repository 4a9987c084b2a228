// The containers of this family, each as a table of facts. chunk_io.h, chunk_walk.h and chunk_removal.h are written
// once, for any of these tables, and include nothing above them.
//
//   Id, Count          what names a chunk, and what sizes and remaining bytes are counted in
//   kAlignment         a chunk starts at a multiple of it
//   kFileId, kListId   what a file, and a list of chunks, starts with; IFF has no lists
//   kFormId            the form of a file with audio; IFF has several
//   kCountedBytes      how many bytes of the header before it a stored size includes
//   kSizeLimit         a file's stored size stays below it; 0: any size
//   in_order           turns a number from the file's byte order into the machine's, or back
//   data_size          what a stored size, in the machine's byte order, says of the data behind the header
//   form_size          what the data size of a file's header says of the chunks behind the form type
#pragma once

#include "qv/chunk_id.h"

namespace qv::riff {

/// What the three have in common: a header is an id and a stored size, a file's and a list's have a type behind it.
template <class ChunkId, class ChunkCount>
struct ChunkLayout {
  using Id = ChunkId;
  using Count = ChunkCount;
  /// A header as it stands in the file.
  struct Header {
    Id id;
    Count size;
  };
  /// A file's or a list's header as it stands in the file.
  struct TypedHeader {
    Header header;
    Id type;
  };
  static constexpr DWORD kHeaderBytes = sizeof(Header);
  static constexpr DWORD kTypeBytes = sizeof(Id);
  static constexpr LONGLONG kSizeAt = sizeof(Id); ///< of the file's size
  static constexpr LONGLONG kFirstChunkAt = sizeof(TypedHeader);
};

struct RiffLayout : ChunkLayout<DWORD, DWORD> {
  static constexpr DWORD kAlignment = 2;
  static constexpr Id kFileId = QVRIFF_ID_RIFF;
  static constexpr Id kListId = QVRIFF_ID_LIST;
  static constexpr Id kFormId = QVRIFF_FORM_WAVE;
  static constexpr DWORD kCountedBytes = 0;
  /// From here on a RIFF size would leave no room for the header and padding within 32 bits.
  static constexpr LONGLONG kSizeLimit = 0xFFFFFFF8;

  static constexpr DWORD in_order(DWORD value) { return value; }
  static constexpr Count data_size(Count stored) { return stored; }
  static constexpr Count form_size(Count data) { return data < kTypeBytes ? 0 : data - kTypeBytes; }
};
static_assert(RiffLayout::kHeaderBytes == 8 && RiffLayout::kFirstChunkAt == 12);

struct IffLayout : ChunkLayout<DWORD, DWORD> {
  static constexpr DWORD kAlignment = 2;
  static constexpr Id kFileId = QVIFF_ID_FORM;
  static constexpr DWORD kCountedBytes = 0;
  static constexpr LONGLONG kSizeLimit = 0;

  static constexpr WORD in_order(WORD value) { return __builtin_bswap16(value); }
  static constexpr DWORD in_order(DWORD value) { return __builtin_bswap32(value); }
  static constexpr Count data_size(Count stored) { return stored; }
  static constexpr Count form_size(Count data) { return data < kTypeBytes ? 0 : data - kTypeBytes; }
};

struct Wave64Layout : ChunkLayout<GUID, ULONGLONG> {
  static constexpr DWORD kAlignment = 8;
  static constexpr Id kFileId = QVW64_RIFF;
  static constexpr Id kListId = QVW64_LIST;
  static constexpr Id kFormId = QVW64_WAVE;
  static constexpr DWORD kCountedBytes = kHeaderBytes;
  static constexpr LONGLONG kSizeLimit = 0;

  static constexpr const GUID& in_order(const GUID& id) { return id; }
  static constexpr ULONGLONG in_order(ULONGLONG value) { return value; }
  /// 0 for a stored size that is negative, or smaller than the header that it includes.
  static constexpr Count data_size(Count stored) {
    return static_cast<LONGLONG>(stored) < LONGLONG{kCountedBytes} ? 0 : stored - kCountedBytes;
  }
  /// Below 0, modulo 2^64, for a file that claims to be smaller than its header: the file's end then bounds the walk.
  static constexpr Count form_size(Count data) { return data - kTypeBytes; }
};
static_assert(Wave64Layout::kHeaderBytes == 24 && Wave64Layout::kFirstChunkAt == 40);

} // namespace qv::riff
