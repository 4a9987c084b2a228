// How a RIFF wave file is read.
#include "tools/qv/failure.h"
#include "tools/qv/file/wave_input.h"
#include "tools/qv/text.h"

#include "qv/riff.h"
#include "qv/summary.h"

#include <algorithm>

namespace qv::tool {

namespace {

constexpr DWORD kFactId = QvFourCC("fact");

} // namespace

void WaveInput::read_riff_header() {
  DWORD form_bytes = 0;
  DWORD form = 0;
  const HRESULT result = riff_ReadFileID(file_, &form_bytes, &form);
  if (result == QVERR_RIFF_READ && file_size_ < 12) fail("the file ends inside its header");
  if (FAILED(result)) fail(result_text(result));
  if (form != QVRIFF_FORM_WAVE) fail("is a RIFF file of the form \"" + printable_code(form) + "\", not a wave file");
  // A recorder that could not go back left 0: the form then goes as far as the file.
  form_size_unknown_ = form_bytes == 0;
  form_end_ = form_size_unknown_ ? file_size_ : std::min<uint64_t>(12 + uint64_t{form_bytes}, file_size_);
}

void WaveInput::read_riff() {
  read_riff_header();
  uint64_t position = 12;
  while (position + 8 <= form_end_ && read_riff_chunk(position)) {
  }
  require_chunks();
}

bool WaveInput::read_riff_chunk(uint64_t& position) {
  ChunkEntry entry = {0, 0, position, 0};
  DWORD count = 0;
  DWORD size = 0;
  if (!move_to(file_, position) || FAILED(riff_ReadChunkHeader(file_, &entry.id, &size)))
    fail(result_text(QVERR_RIFF_READ));
  entry.size = size;
  const uint64_t start = position + 8;
  const bool runs_out = start + entry.size > file_size_;
  position = start + entry.size + (entry.size & 1);
  if (entry.id == QVRIFF_ID_DATA && !has_data_) {
    take_data(start, entry.size);
    chunks_.push_back(entry);
    return start + data_bytes_ < file_size_;
  }
  if (runs_out) return ends_behind_audio(entry.id);
  if (entry.id == QVRIFF_ID_FMT && header_.empty()) read_format(entry.size);
  if (entry.id == kFactId && entry.size >= 4 && SUCCEEDED(riff_ReadData(file_, &count, 4))) fact_frames_ = count;
  if (entry.id == QVRIFF_ID_LIST && entry.size >= 4) riff_ReadData(file_, &entry.list_type, 4);
  chunks_.push_back(entry);
  return true;
}

void WaveInput::load_summary(_summarylisttag& list) const {
  const auto info = std::find_if(chunks_.begin(), chunks_.end(),
                                 [](const ChunkEntry& chunk) { return chunk.list_type == QVSUMMARY_FORM_INFO; });
  if (info == chunks_.end()) return;
  auto remaining = static_cast<DWORD>(info->size - 4);
  if (!move_to(file_, info->offset + 12) || FAILED(QvSummary_Load(file_, &list, &remaining)))
    print_warning(name_, "its INFO list cannot be read");
}

std::vector<std::pair<DWORD, std::string>> WaveInput::summary() const {
  std::vector<std::pair<DWORD, std::string>> texts;
  _summarylisttag list;
  load_summary(list);
  for (DWORD i = 0; i < list.count; ++i)
    texts.emplace_back(list.items[i].id, list.items[i].text ? utf8(list.items[i].text) : "");
  QvSummary_Free(&list);
  return texts;
}

bool WaveInput::is_whole() const {
  if (form_size_unknown_ || chunks_.empty()) return false;
  const ChunkEntry& last = chunks_.back();
  const uint64_t end = last.offset + 8 + last.size;
  // The pad byte of an odd size may be missing at the end.
  return form_end_ == file_size_ && (end == file_size_ || end + last.size % 2 == file_size_);
}

} // namespace qv::tool
