#include "tools/qv/repair/repair_plan.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/open_file.h"
#include "tools/qv/repair/format_salvage.h"
#include "tools/qv/repair/header_layout.h"
#include "tools/qv/text.h"

#include "qv/riff.h"
#include "qv/riff64.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

constexpr uint64_t kUsualLimit = 65'536;
constexpr size_t kPlainRecord = 16;
constexpr uint64_t kMostClaimed = 256; ///< times what is there
// What a file that is made to cost time may cost: more headers of audio, or more chunks behind it, are not looked at.
constexpr size_t kMostHeaders = 64;
constexpr int kMostChunksBehind = 65'536;
/// Format records as they come: plain, with a count of extra bytes, extensible.
constexpr size_t kRecordSizes[] = {kPlainRecord, sizeof(WAVEFORMATEX), sizeof(WAVEFORMATEXTENSIBLE)};

/// Files of other kinds, by what they begin with: a new header in front of one would mend nothing.
struct OtherKind {
  const char* bytes;
  const char* name;
};
constexpr OtherKind kOtherKinds[] = {{"FORM", "an IFF file"},           {"RF64", "an RF64 file"},
                                     {"BW64", "a BW64 file"},           {"RIFX", "a big-endian RIFF file"},
                                     {"fLaC", "a FLAC file"},           {"OggS", "an Ogg file"},
                                     {"ID3", "a file with an ID3 tag"}, {"caff", "a Core Audio file"}};

struct Chunk {
  std::string id;
  uint64_t at;   ///< its header
  uint64_t data; ///< what follows that
  uint64_t size; ///< as stored, which may be more than there is
};

struct Walk {
  std::optional<Chunk> format;
  std::optional<Chunk> audio;
  std::optional<Chunk> nameless; ///< behind the format, up to the file's end or most of it, under no name that is known
  uint64_t end;                  ///< of the last chunk before the audio that is whole
};

std::string number(uint64_t value) { return std::to_string(value); }

class Examination {
public:
  Examination(const std::string& name, HANDLE file, const RepairHint& hint);
  RepairPlan run();

private:
  std::string read(uint64_t offset, uint64_t bytes) const;
  void refuse_other_kinds() const;
  std::optional<Chunk> header_at(uint64_t at) const;
  bool is_whole(const Chunk& chunk) const { return chunk.size <= size_ - chunk.data; }
  bool ends_file(const Chunk& chunk) const;
  bool could_be_audio(const Chunk& chunk) const;
  Walk walk(uint64_t from) const;
  std::optional<uint64_t> chunks_end(uint64_t from) const;
  std::vector<Chunk> audio_headers(uint64_t from) const;
  bool has_plausible_size(const Chunk& audio) const;
  bool any_header_left() const;
  bool library_agrees(const std::vector<Chunk>& headers, const Chunk& audio) const;

  void note(const std::string& line) { plan_.found.push_back(line); }
  void edit(uint64_t offset, const std::string& bytes, const std::string& what);
  DWORD mend_record(uint64_t offset, const std::string& record);
  DWORD mend_format(const Chunk& format);
  void mend_sizes(const Chunk& audio, DWORD block_align);
  void mend_file_size(uint64_t end);
  bool mend_usual_layout();
  uint64_t chunks_end_before(const Walk& walk, const Chunk& audio) const;
  bool bridge(const Walk& walk, const Chunk& audio);
  void plan_library_repair(const Chunk& audio);
  void plan_new_file(const Walk& walk, const Chunk* audio);

  std::string name_;
  HANDLE file_;
  RepairHint hint_;
  uint64_t size_ = 0;
  std::string start_; ///< of the file
  const HeaderLayout* layout_ = nullptr;
  RepairPlan plan_;
};

Examination::Examination(const std::string& name, HANDLE file, const RepairHint& hint)
    : name_(name), file_(file), hint_(hint) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size)) throw Failure(name_, system_error_text(GetLastError()));
  size_ = static_cast<uint64_t>(size.QuadPart);
  if (size_ == 0) throw Failure(name_, "the file is empty");
  start_ = read(0, 128);
  layout_ = &header_layout(start_, name);
  plan_.is_wave64 = layout_->size_bytes == sizeof(uint64_t);
  plan_.limit = std::min(hint.limit.value_or(kUsualLimit), layout_->largest_size());
  refuse_other_kinds();
}

/// Fewer bytes only where the file ends.
std::string Examination::read(uint64_t offset, uint64_t bytes) const {
  if (offset >= size_) return {};
  std::string buffer(static_cast<size_t>(std::min(bytes, size_ - offset)), '\0');
  DWORD done = 0;
  if (!move_to(file_, offset) || !ReadFile(file_, buffer.data(), static_cast<DWORD>(buffer.size()), &done, nullptr))
    throw Failure(name_, system_error_text(GetLastError()));
  buffer.resize(done);
  return buffer;
}

void Examination::refuse_other_kinds() const {
  for (const OtherKind& kind : kOtherKinds)
    if (start_.compare(0, std::strlen(kind.bytes), kind.bytes) == 0)
      throw Failure(name_, std::string("is ") + kind.name + ": only RIFF wave and Wave64 files are mended");
  const std::string form = start_.substr(std::min<size_t>(start_.size(), 8), 4);
  if (start_.compare(0, 4, "RIFF") == 0 && form.size() == 4 && form != "WAVE" && layout_->is_plausible(form))
    throw Failure(name_, "is a RIFF file of the form \"" + form + "\", not a wave file");
}

/// The header of a chunk, whatever its id.
std::optional<Chunk> Examination::header_at(uint64_t at) const {
  const std::string bytes = read(at, layout_->chunk_header());
  if (bytes.size() < layout_->chunk_header()) return std::nullopt;
  const uint64_t stored = layout_->stored_in(bytes, layout_->id_bytes());
  Chunk chunk = {bytes.substr(0, layout_->id_bytes()), at, at + layout_->chunk_header(), 0};
  // Of its audio a recorder may have left no size.
  if (stored < layout_->chunk_size_includes && chunk.id != layout_->data_id) return std::nullopt;
  chunk.size = stored - std::min(stored, layout_->chunk_size_includes);
  return chunk;
}

bool Examination::ends_file(const Chunk& chunk) const {
  return is_whole(chunk) && chunk.data + layout_->padded(chunk.size) >= size_;
}

/// Whether a chunk under another name may be the audio: nothing follows, or it is most of the file and chunks follow.
bool Examination::could_be_audio(const Chunk& chunk) const {
  if (ends_file(chunk)) return true;
  return is_whole(chunk) && chunk.size > size_ / 2 && chunks_end(chunk.data + layout_->padded(chunk.size));
}

Walk Examination::walk(uint64_t from) const {
  Walk walk = {std::nullopt, std::nullopt, std::nullopt, from};
  while (const std::optional<Chunk> chunk = header_at(walk.end)) {
    if (chunk->id == layout_->data_id) {
      walk.audio = chunk;
      return walk;
    }
    const bool is_larger = !walk.nameless || walk.nameless->size < chunk->size;
    if (walk.format && is_larger && !layout_->is_known(chunk->id) && could_be_audio(*chunk)) walk.nameless = chunk;
    if (!layout_->is_plausible(chunk->id) || !is_whole(*chunk)) return walk;
    if (chunk->id == layout_->format_id && chunk->size >= kPlainRecord && !walk.format) walk.format = chunk;
    walk.end = chunk->data + layout_->padded(chunk->size);
  }
  return walk;
}

/// Where the last whole one ends of the chunks that fill the file from there on. The last of all may be cut when its id
/// is known.
std::optional<uint64_t> Examination::chunks_end(uint64_t from) const {
  for (int count = 0; from + layout_->chunk_header() <= size_; ++count) {
    const std::optional<Chunk> chunk = header_at(from);
    if (count == kMostChunksBehind || !chunk || !layout_->is_plausible(chunk->id) || chunk->id == layout_->data_id)
      return std::nullopt;
    if (!is_whole(*chunk)) return layout_->is_known(chunk->id) ? std::optional(size_) : std::nullopt;
    from = chunk->data + layout_->padded(chunk->size);
  }
  return std::min(from, size_);
}

/// What could be headers of audio from there on.
std::vector<Chunk> Examination::audio_headers(uint64_t from) const {
  constexpr uint64_t kBlock = 65'536;
  std::vector<Chunk> headers;
  const uint64_t end = std::min(size_, plan_.limit);
  for (uint64_t at = from; at < end && headers.size() < kMostHeaders; at += kBlock) {
    const uint64_t positions = std::min(kBlock, end - at);
    const std::string block = read(at, positions + layout_->id_bytes() - 1);
    for (size_t match = block.find(layout_->data_id); match < positions && headers.size() < kMostHeaders;
         match = block.find(layout_->data_id, match + 1))
      if (const std::optional<Chunk> header = header_at(at + match)) headers.push_back(*header);
  }
  return headers;
}

bool Examination::has_plausible_size(const Chunk& audio) const {
  if (!is_whole(audio)) return audio.size >= layout_->largest_size() / 2 - kUsualLimit; // a writer into a pipe
  return audio.size == 0 || ends_file(audio) || chunks_end(audio.data + layout_->padded(audio.size));
}

bool Examination::any_header_left() const {
  const auto has = [&](uint64_t at, const std::string& id) {
    return start_.size() >= at && start_.compare(at, id.size(), id) == 0;
  };
  return has(0, layout_->file_id) || has(layout_->chunk_header(), layout_->form_id) ||
         has(layout_->file_header(), layout_->format_id);
}

/// Whether the library's repair takes the audio to start there too, and can write a header before it.
bool Examination::library_agrees(const std::vector<Chunk>& headers, const Chunk& audio) const {
  const uint64_t plain = layout_->repair_looks_from() + layout_->chunk_header();
  const bool has_room = audio.data == plain || audio.data >= plain + layout_->chunk_header();
  if (!has_room || audio.data % layout_->alignment != 0 || size_ < plain) return false;
  // It walks, and takes the first that looks like one where that leads nowhere.
  const uint64_t bound = std::min(size_, plan_.limit);
  if (!move_to(file_, layout_->repair_looks_from())) return false;
  auto remaining = static_cast<DWORD>(bound);
  ULONGLONG remaining64 = bound;
  const HRESULT walked = plan_.is_wave64 ? riff64_FindChunkHeader(file_, &QVW64_DATA, nullptr, &remaining64)
                                         : riff_FindChunkHeader(file_, QVRIFF_ID_DATA, nullptr, &remaining);
  const auto first = std::find_if(headers.begin(), headers.end(),
                                  [&](const Chunk& each) { return each.at >= layout_->repair_looks_from(); });
  return FAILED(walked) && first != headers.end() && first->at == audio.at;
}

void Examination::edit(uint64_t offset, const std::string& bytes, const std::string& what) {
  plan_.edits.push_back({offset, bytes, what});
}

/// Puts the record in its place where it makes no sense; answers the block align.
DWORD Examination::mend_record(uint64_t offset, const std::string& record) {
  WAVEFORMATEXTENSIBLE format = {};
  if (!makes_sense(record)) {
    note("the format record makes no sense");
    format.Format = mended(record, hint_.format);
    const std::string bytes = record_bytes(format.Format, record.size());
    edit(offset, bytes, "format: " + format_text(format.Format.wFormatTag, &format.Format));
    return format.Format.nBlockAlign;
  }
  format = loaded(record);
  QVWAVEFORMATBUFFER described = {};
  described.format.Init(sizeof described, format.Format);
  note("format: " + format_text(described.format.FormatTag(), &format.Format));
  return format.Format.nBlockAlign;
}

DWORD Examination::mend_format(const Chunk& format) {
  return mend_record(format.data, read(format.data, std::min<uint64_t>(format.size, sizeof(WAVEFORMATEXTENSIBLE))));
}

/// The audio keeps a size behind which the file ends or goes on with chunks; any other becomes what the file holds.
void Examination::mend_sizes(const Chunk& audio, DWORD block_align) {
  const uint64_t held = size_ - audio.data;
  const uint64_t audio_end = audio.data + std::min(audio.size, held);
  const uint64_t padded_end = std::min(audio.data + layout_->padded(audio_end - audio.data), size_);
  std::optional<uint64_t> end;
  if (is_whole(audio)) {
    // Less than a frame may follow, and a pad byte may be missing.
    end = padded_end + block_align > size_ ? std::optional(padded_end) : chunks_end(padded_end);
    if (!end) end = chunks_end(audio_end);
  }
  note("audio: from " + number(audio.data) + " on, " + number(audio.size) + " bytes by its header, " + number(held) +
       " to the file's end" + (end && padded_end < *end ? ", other chunks among them" : ""));
  uint64_t data_bytes = audio.size;
  if (!end) {
    const uint64_t most = std::min(held, layout_->largest_size() - layout_->chunk_size_includes);
    data_bytes = most - most % block_align;
    end = std::min(audio.data + layout_->padded(data_bytes), size_);
  }
  const std::string header = layout_->chunk_start(layout_->data_id, data_bytes);
  if (read(audio.at, header.size()) != header) edit(audio.at, header, "size of the audio: " + number(data_bytes));
  mend_file_size(*end);
}

/// A size that counts all chunks, and no more than the file, may stay.
void Examination::mend_file_size(uint64_t end) {
  const std::string header = read(0, layout_->file_header());
  const auto field = [&](uint64_t bytes) {
    return layout_->stored_in(layout_->file_start(bytes), layout_->id_bytes());
  };
  const uint64_t says = layout_->stored_in(header, layout_->id_bytes());
  const bool is_header = header.substr(0, layout_->id_bytes()) == layout_->file_id &&
                         header.substr(layout_->chunk_header()) == layout_->form_id;
  if (!is_header) note(std::string("no ") + layout_->container + " header at 0");
  if (is_header && says + layout_->alignment > field(end) && says <= field(size_ + layout_->alignment - 1)) return;
  if (is_header) note("size of the file by its header: " + number(says + layout_->file_size_excludes) + " bytes");
  edit(0, layout_->file_start(end), std::string(layout_->container) + " header, size of the file: " + number(end));
}

/// Where the chunks walk from behind a format record that is the file's first chunk, as it usually is.
bool Examination::mend_usual_layout() {
  for (const size_t record_size : kRecordSizes) {
    const Walk usual = walk(layout_->record_at() + layout_->padded(record_size));
    if (!usual.audio) continue;
    note("no format chunk that leads to the audio");
    edit(layout_->file_header(), layout_->chunk_start(layout_->format_id, record_size), "header of the format chunk");
    mend_sizes(*usual.audio, mend_record(layout_->record_at(), read(layout_->record_at(), record_size)));
    return true;
  }
  return false;
}

/// Where the chunks from the format on that walk end before the audio: the size of the next may lead into it.
uint64_t Examination::chunks_end_before(const Walk& walk, const Chunk& audio) const {
  uint64_t at = walk.format->at;
  for (std::optional<Chunk> chunk = walk.format; chunk && at < walk.end; chunk = header_at(at)) {
    const uint64_t end = chunk->data + layout_->padded(chunk->size);
    if (end > audio.at) break;
    at = end;
  }
  return at;
}

/// Makes the chunk whose header is ruined reach to the header of the audio.
bool Examination::bridge(const Walk& walk, const Chunk& audio) {
  const uint64_t at = chunks_end_before(walk, audio);
  const uint64_t gap = audio.at - at;
  if (gap < layout_->chunk_header() || gap % layout_->alignment != 0) return false;
  const std::string id = read(at, layout_->id_bytes());
  note("no chunk header at " + number(at) + " that leads to the audio's");
  edit(at, layout_->chunk_start(layout_->is_plausible(id) ? id : layout_->junk_id, gap - layout_->chunk_header()),
       "header of a chunk up to the audio");
  // The record is mended in the chunk as it will be: by its old size it may reach into the audio.
  Chunk format = *walk.format;
  if (at == format.at) format.size = gap - layout_->chunk_header();
  mend_sizes(audio, mend_format(format));
  return true;
}

void Examination::plan_library_repair(const Chunk& audio) {
  const WAVEFORMATEX format = mended(read(layout_->record_at(), sizeof(WAVEFORMATEX)), hint_.format);
  const uint64_t held = std::min(size_ - audio.data, layout_->largest_size());
  note("no header that can be walked; the audio's own stands at " + number(audio.at));
  plan_.way = RepairPlan::Way::kLibrary;
  edit(0, {},
       "a new header up to " + number(audio.data) + ", " + format_text(format.wFormatTag, &format) +
           ", size of the audio: " + number(held - held % format.nBlockAlign));
}

/// What is left of a header stays in front; a new one follows, then what the file has.
void Examination::plan_new_file(const Walk& walk, const Chunk* audio) {
  const uint64_t front = audio && walk.format ? chunks_end_before(walk, *audio) : walk.end;
  const bool keeps_front = walk.format && front > walk.format->at;
  if (!keeps_front && !audio && size_ < layout_->record_at() + kPlainRecord && any_header_left())
    throw Failure(name_, "ends inside its header: there is no audio");
  DWORD block_align = 0;
  note(audio ? "no header that can be walked" : "no header of audio");
  if (keeps_front) {
    block_align = mend_format(*walk.format);
    plan_.kept_front = front;
  } else {
    const std::string record = any_header_left() ? read(layout_->record_at(), kPlainRecord) : std::string();
    WAVEFORMATEX format = mended(record, hint_.format);
    if (record.size() == kPlainRecord && makes_sense(record)) std::memcpy(&format, record.data(), kPlainRecord);
    block_align = format.nBlockAlign;
    note("taken as " + format_text(format.wFormatTag, &format));
    plan_.new_header = layout_->file_start(0) + layout_->chunk_start(layout_->format_id, kPlainRecord) +
                       record_bytes(format, kPlainRecord);
  }
  // Behind chunks that walk the ruined header stood: so much of it goes that frames stay frames.
  const uint64_t kept = keeps_front ? front + layout_->chunk_header() % block_align : 0;
  plan_.kept_from = audio ? audio->data : std::min(size_, std::max(kept, hint_.limit.value_or(0)));
  const uint64_t held = std::min(size_ - plan_.kept_from, layout_->largest_size());
  const uint64_t data_bytes = held - held % block_align;
  if (data_bytes == 0) throw Failure(name_, "there is no audio in it");
  plan_.way = RepairPlan::Way::kNewFile;
  plan_.new_header += layout_->chunk_start(layout_->data_id, data_bytes);
  const uint64_t data_start = plan_.kept_front + plan_.new_header.size();
  edit(0, layout_->file_start(data_start + data_bytes),
       std::string(layout_->container) + " header, size of the audio: " + number(data_bytes));
}

RepairPlan Examination::run() {
  const Walk chunks = walk(layout_->file_header());
  if (chunks.format && (chunks.audio || chunks.nameless)) {
    const Chunk& audio = chunks.audio ? *chunks.audio : *chunks.nameless;
    if (!chunks.audio) note("no header of audio, but one of its size at " + number(audio.at));
    mend_sizes(audio, mend_format(*chunks.format));
    return plan_;
  }
  if (mend_usual_layout()) return plan_;
  const std::vector<Chunk> headers =
      audio_headers(chunks.format ? chunks.format->data + kPlainRecord : layout_->record_at() + kPlainRecord);
  const auto likely =
      std::find_if(headers.begin(), headers.end(), [this](const Chunk& header) { return has_plausible_size(header); });
  // Of a cut file more may be claimed than is there, but a text that happens to read "data" claims too much, and what
  // lies in a chunk is its own.
  const auto possible = std::find_if(headers.begin(), headers.end(), [&](const Chunk& header) {
    return header.size / kMostClaimed <= size_ - header.data && (!chunks.format || header.at >= chunks.end);
  });
  const auto chosen = likely != headers.end() ? likely : possible;
  const Chunk* const audio = chosen == headers.end() ? nullptr : &*chosen;
  if (audio && chunks.format && bridge(chunks, *audio)) return plan_;
  if (audio && !chunks.format && library_agrees(headers, *audio))
    plan_library_repair(*audio);
  else
    plan_new_file(chunks, audio);
  return plan_;
}

} // namespace

RepairPlan plan_repair(const std::string& name, HANDLE file, const RepairHint& hint) {
  return Examination(name, file, hint).run();
}

} // namespace qv::tool
