#include "tools/qv/metadata/chunk_bytes.h"

#include "tools/qv/file/audio_file.h"

namespace qv::tool {

ByteOrder byte_order_of(const AudioFile& audio) { return audio.is_big_endian ? ByteOrder::kBig : ByteOrder::kLittle; }

std::string chunk_data(const AudioFile& audio, const ChunkEntry& chunk, uint64_t limit) {
  const uint64_t held = chunk.data < audio.file_bytes ? audio.file_bytes - chunk.data : 0;
  std::string data(static_cast<size_t>(std::min({chunk.size, held, limit})), '\0');
  DWORD done = 0;
  if (!move_to(audio.file, chunk.data) ||
      !ReadFile(audio.file, data.data(), static_cast<DWORD>(data.size()), &done, nullptr))
    return {};
  data.resize(done);
  return data;
}

} // namespace qv::tool
