// Named positions: the "MARK" chunk of AIFF, the "cue " chunk of RIFF wave and its labels.
#include "tools/qv/file/container_readers.h"
#include "tools/qv/text.h"

#include "qv/iff.h"
#include "qv/riff.h"

#include <algorithm>
#include <map>

namespace qv::tool {

namespace {

constexpr DWORD kMarkId = QvFourCC("MARK");

/// A point of a "cue " chunk, of the Multimedia Data Standards Update of 1994.
struct CuePoint {
  DWORD id;
  DWORD play_order;
  DWORD chunk;
  DWORD chunk_start;
  DWORD block_start;
  DWORD frame;
};

/// Reads within a chunk's data.
class ChunkBytes {
public:
  ChunkBytes(HANDLE file, uint64_t start, uint64_t size) : file_(file), left_(move_to(file, start) ? size : 0) {}

  bool read(void* buffer, DWORD bytes) {
    DWORD done = 0;
    if (bytes > left_ || !ReadFile(file_, buffer, bytes, &done, nullptr) || done != bytes) return false;
    left_ -= bytes;
    return true;
  }
  template <class Word>
  bool read_word(HRESULT (*swapped)(HANDLE, Word*), Word& value) {
    if (left_ < sizeof value || FAILED(swapped(file_, &value))) return false;
    left_ -= sizeof value;
    return true;
  }

private:
  HANDLE file_;
  uint64_t left_;
};

/// A text from bytes in the ANSI code page, up to the first 0.
std::string text_from(std::string bytes) {
  bytes.resize(std::min(bytes.size(), bytes.find('\0')));
  WString wide(bytes.size(), WCHAR{0});
  const int count = bytes.empty() ? 0
                                  : MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()),
                                                        wide.data(), static_cast<int>(wide.size()));
  wide.resize(static_cast<size_t>(count));
  return utf8(wide);
}

std::map<DWORD, std::string> labels(HANDLE file, const ChunkEntry& list) {
  std::map<DWORD, std::string> texts;
  const uint64_t end = list.data + list.size;
  DWORD header[3]; // a chunk's id and size, and in a label the id of its point
  for (uint64_t at = list.data + 4; at + sizeof header <= end;) {
    ChunkBytes bytes(file, at, end - at);
    if (!bytes.read(header, sizeof header)) break;
    if (header[0] == QVRIFF_ID_LABL && header[1] >= 4) {
      std::string text(std::min<DWORD>(header[1] - 4, 0xFFFF), '\0');
      if (bytes.read(text.data(), static_cast<DWORD>(text.size()))) texts.emplace(header[2], text_from(text));
    }
    at += 8 + uint64_t{header[1]} + header[1] % 2;
  }
  return texts;
}

const ChunkEntry* find(const std::vector<ChunkEntry>& chunks, DWORD id, DWORD list_type) {
  const auto found = std::find_if(chunks.begin(), chunks.end(), [=](const ChunkEntry& chunk) {
    return chunk.id == id && chunk.list_type == list_type;
  });
  return found == chunks.end() ? nullptr : &*found;
}

} // namespace

std::vector<Marker> aiff_markers(const AudioFile& audio) {
  std::vector<Marker> markers;
  const ChunkEntry* const chunk = find(audio.chunks, kMarkId, 0);
  if (!chunk) return markers;
  ChunkBytes bytes(audio.file, chunk->data, chunk->size);
  WORD count = 0;
  WORD id = 0;
  DWORD position = 0;
  BYTE length = 0;
  for (bool more = bytes.read_word(iff_ReadWORD, count); more && count > 0; --count) {
    char name[256];
    // The name's length and characters are an even number of bytes.
    more = bytes.read_word(iff_ReadWORD, id) && bytes.read_word(iff_ReadDWORD, position) && bytes.read(&length, 1) &&
           bytes.read(name, length + (length % 2 == 0 ? 1u : 0u));
    if (more) markers.push_back({id, position, text_from({name, length})});
  }
  return markers;
}

std::vector<Marker> cue_markers(const AudioFile& audio) {
  std::vector<Marker> markers;
  const ChunkEntry* const chunk = find(audio.chunks, QVRIFF_ID_CUE, 0);
  if (!chunk) return markers;
  const ChunkEntry* const list = find(audio.chunks, QVRIFF_ID_LIST, QVRIFF_LIST_ADTL);
  const std::map<DWORD, std::string> texts = list ? labels(audio.file, *list) : std::map<DWORD, std::string>();
  ChunkBytes bytes(audio.file, chunk->data, chunk->size);
  DWORD count = 0;
  CuePoint point = {};
  for (bool more = bytes.read(&count, sizeof count); more && count > 0; --count) {
    more = bytes.read(&point, sizeof point);
    const auto text = texts.find(point.id);
    if (more) markers.push_back({point.id, point.frame, text == texts.end() ? std::string() : text->second});
  }
  return markers;
}

} // namespace qv::tool
