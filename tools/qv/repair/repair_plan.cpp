#include "tools/qv/repair/repair_plan.h"

#include "tools/qv/failure.h"
#include "tools/qv/repair/findings.h"
#include "tools/qv/repair/format_salvage.h"
#include "tools/qv/text.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

std::string number(uint64_t value) { return std::to_string(value); }

/// A plan that is being made, and what it is made from.
struct Draft {
  const DamagedFile& damaged;
  const HeaderLayout& layout;
  const WAVEFORMATEX hint;
  RepairPlan plan;

  void note(const std::string& line) { plan.found.push_back(line); }
  void edit(uint64_t offset, const std::string& bytes, const std::string& what) {
    plan.edits.push_back({offset, bytes.size(), bytes, what});
  }
};

/// Puts a new record into the format chunk where the one there makes no sense. Returns the block align.
DWORD mend_record(Draft& draft, const Chunk& chunk) {
  const std::string record =
      draft.damaged.read(chunk.data, std::min<uint64_t>(chunk.size, sizeof(WAVEFORMATEXTENSIBLE)));
  if (!makes_sense(record)) {
    draft.note("the format record makes no sense");
    const WAVEFORMATEXTENSIBLE format = mended(record, draft.hint);
    draft.edit(chunk.data, record_bytes(format, record.size()),
               "format: " + format_text(format.Format.wFormatTag, &format.Format));
    return format.Format.nBlockAlign;
  }
  const WAVEFORMATEXTENSIBLE format = loaded(record);
  QVWAVEFORMATBUFFER described = {};
  described.format.Init(sizeof described, format.Format);
  draft.note("format: " + format_text(described.format.FormatTag(), &format.Format));
  return format.Format.nBlockAlign;
}

/// Mends the file's own header, whose size may stay when it counts all chunks, and no more than the file.
void mend_file_size(Draft& draft, uint64_t end) {
  const HeaderLayout& layout = draft.layout;
  const uint64_t size = draft.damaged.size;
  const std::string header = draft.damaged.read(0, layout.file_header());
  const auto field = [&](uint64_t bytes) { return layout.stored_in(layout.file_start(bytes), layout.id_bytes()); };
  const uint64_t says = layout.stored_in(header, layout.id_bytes());
  const bool is_header =
      header.substr(0, layout.id_bytes()) == layout.file_id && header.substr(layout.chunk_header()) == layout.form_id;
  if (!is_header) draft.note(std::string("no ") + layout.container + " header at 0");
  if (is_header && says + layout.alignment > field(end) && says <= field(size + layout.alignment - 1)) return;
  if (is_header) draft.note("size of the file by its header: " + number(says + layout.file_size_excludes) + " bytes");
  draft.edit(0, layout.file_start(end), std::string(layout.container) + " header, size of the file: " + number(end));
}

/// Where audio of the size that its header says ends, with the chunks behind it; nothing where that leads nowhere.
std::optional<uint64_t> believable_end(const DamagedFile& damaged, const Chunk& audio, DWORD block_align) {
  if (!is_whole(damaged, audio)) return std::nullopt;
  const uint64_t audio_end = audio.data + audio.size;
  const uint64_t padded_end = std::min(audio.data + damaged.layout->padded(audio.size), damaged.size);
  // Less than a frame may follow, and a pad byte may be missing.
  if (padded_end + block_align > damaged.size) return padded_end;
  const std::optional<uint64_t> end = chunks_end(damaged, padded_end);
  return end ? end : chunks_end(damaged, audio_end);
}

/// Mends the sizes of audio and file. Audio keeps a size behind which the file ends or goes on with chunks; any other
/// becomes what the file holds.
void mend_sizes(Draft& draft, const Chunk& audio, DWORD block_align) {
  const HeaderLayout& layout = draft.layout;
  const uint64_t size = draft.damaged.size;
  const uint64_t held = size - audio.data;
  std::optional<uint64_t> end = believable_end(draft.damaged, audio, block_align);
  const bool has_others = end && std::min(audio.data + layout.padded(audio.size), size) < *end;
  draft.note("audio: from " + number(audio.data) + " on, " + number(audio.size) + " bytes by its header, " +
             number(held) + " to the file's end" + (has_others ? ", other chunks among them" : ""));
  uint64_t data_bytes = audio.size;
  if (!end) {
    const uint64_t max_bytes = std::min(held, layout.largest_size() - layout.chunk_size_includes);
    data_bytes = max_bytes - max_bytes % block_align;
    end = std::min(audio.data + layout.padded(data_bytes), size);
  }
  const std::string header = layout.chunk_start(layout.data_id, data_bytes);
  if (draft.damaged.read(audio.at, header.size()) != header)
    draft.edit(audio.at, header, "size of the audio: " + number(data_bytes));
  mend_file_size(draft, *end);
}

void plan_in_place(Draft& draft, const Findings& findings) {
  const HeaderLayout& layout = draft.layout;
  const Chunk& format = *findings.format;
  const Chunk& audio = *findings.audio;
  draft.plan.audio = audio.data;
  if (findings.state == Findings::State::kUsualPlace) {
    draft.note("no format chunk that leads to the audio");
    draft.edit(format.at, layout.chunk_start(format.id, format.size), "header of the format chunk");
  } else if (findings.state == Findings::State::kGap) {
    draft.note("no chunk header at " + number(findings.front) + " that leads to the audio's");
    const uint64_t bytes = audio.at - findings.front - layout.chunk_header();
    draft.edit(findings.front, layout.chunk_start(findings.front_id, bytes), "header of a chunk up to the audio");
  } else if (audio.id != layout.data_id) {
    draft.note("no header of audio, but one of its size at " + number(audio.at));
  }
  mend_sizes(draft, audio, mend_record(draft, format));
}

/// A whole header up to the audio's own, with junk for what it does not need.
void plan_new_front(Draft& draft, const Chunk& audio) {
  const DamagedFile& damaged = draft.damaged;
  const HeaderLayout& layout = draft.layout;
  const WAVEFORMATEXTENSIBLE format = mended(damaged.read(layout.record_at(), sizeof(WAVEFORMATEX)), draft.hint);
  const uint64_t held = std::min(damaged.size - audio.data, layout.largest_size());
  const uint64_t data_bytes = held - held % format.Format.nBlockAlign;
  draft.note("no header that can be walked; the audio's own stands at " + number(audio.at));
  draft.plan.audio = audio.data;
  std::string header = layout.file_start(audio.data + data_bytes) +
                       layout.chunk_start(layout.format_id, sizeof(WAVEFORMATEX)) +
                       record_bytes(format, sizeof(WAVEFORMATEX));
  header.resize(layout.repair_looks_from(), '\0');
  if (header.size() < audio.at) {
    header += layout.chunk_start(layout.junk_id, audio.at - header.size() - layout.chunk_header());
    header.resize(audio.at, '\0');
  }
  header += layout.chunk_start(layout.data_id, data_bytes);
  draft.edit(0, header,
             "a new header up to " + number(audio.data) + ", " + format_text(format.Format.wFormatTag, &format.Format) +
                 ", size of the audio: " + number(data_bytes));
}

/// The format for a file whose own is lost, from what stands in its usual place where that may be a header.
WAVEFORMATEXTENSIBLE guessed_format(const Draft& draft, const Findings& findings) {
  const std::string record =
      findings.has_header_traces ? draft.damaged.read(draft.layout.record_at(), kPlainRecord) : std::string();
  WAVEFORMATEXTENSIBLE format = mended(record, draft.hint);
  if (record.size() == kPlainRecord && makes_sense(record)) std::memcpy(&format, record.data(), kPlainRecord);
  return format;
}

/// Plans a header that stands in front of what the file has, behind what is left of the old one. Without a header of
/// audio, that is all from `audio_from` on.
void plan_new_file(Draft& draft, const Findings& findings, uint64_t audio_from) {
  const DamagedFile& damaged = draft.damaged;
  const HeaderLayout& layout = draft.layout;
  RepairPlan& plan = draft.plan;
  const bool keeps_front = findings.format && findings.front > findings.format->at;
  if (!keeps_front && !findings.audio && damaged.size < layout.record_at() + kPlainRecord && findings.has_header_traces)
    throw Failure(damaged.name, "ends inside its header: there is no audio");
  DWORD block_align = 0;
  std::string header;
  draft.note(findings.audio ? "no header that can be walked" : "no header of audio");
  if (keeps_front) {
    block_align = mend_record(draft, *findings.format);
  } else {
    const WAVEFORMATEXTENSIBLE format = guessed_format(draft, findings);
    block_align = format.Format.nBlockAlign;
    draft.note("taken as " + format_text(format.Format.wFormatTag, &format.Format));
    header = layout.chunk_start(layout.format_id, kPlainRecord) + record_bytes(format, kPlainRecord);
  }
  // A ruined header stood behind the chunks that walk: so much of it goes that frames stay frames.
  const uint64_t front = keeps_front ? findings.front : 0;
  const uint64_t kept = keeps_front ? front + layout.chunk_header() % block_align : 0;
  plan.audio = findings.audio ? findings.audio->data : std::min(damaged.size, std::max(kept, audio_from));
  const uint64_t held = std::min(damaged.size - plan.audio, layout.largest_size());
  const uint64_t data_bytes = held - held % block_align;
  if (data_bytes == 0) throw Failure(damaged.name, "there is no audio in it");
  header += layout.chunk_start(layout.data_id, data_bytes);
  const uint64_t start = keeps_front ? front : layout.file_header();
  const std::string file_start = layout.file_start(start + header.size() + data_bytes);
  const std::string what = std::string(layout.container) + " header, size of the audio: " + number(data_bytes);
  if (keeps_front) draft.edit(0, file_start, what);
  plan.edits.push_back({front, plan.audio - front, keeps_front ? header : file_start + header, what});
}

} // namespace

WAVEFORMATEX RepairHint::format() const {
  const QVSAMPLETYPE sample = type.value_or(QVSAMPLE_PCM16);
  WAVEFORMATEX format = {};
  format.nSamplesPerSec = rate.value_or(44'100);
  format.nChannels = static_cast<WORD>(channels.value_or(2));
  format.wFormatTag = static_cast<WORD>(QvAudio_FormatTagFromSampleType(sample));
  format.wBitsPerSample = static_cast<WORD>(QvAudio_BitsFromSampleType(sample));
  return format;
}

RepairPlan plan_repair(const std::string& name, HANDLE file, const RepairHint& hint) {
  const DamagedFile damaged = look_at(name, file, hint.limit);
  const Findings findings = examine(damaged);
  Draft draft = {damaged, *damaged.layout, hint.format(), {}};
  switch (findings.state) {
  case Findings::State::kAudioAlone: plan_new_front(draft, *findings.audio); break;
  case Findings::State::kLost: plan_new_file(draft, findings, hint.limit.value_or(0)); break;
  default: plan_in_place(draft, findings); break;
  }
  RepairPlan& plan = draft.plan;
  plan.audio_bytes = damaged.size - plan.audio;
  std::sort(plan.edits.begin(), plan.edits.end(), [](const Edit& a, const Edit& b) { return a.offset < b.offset; });
  return plan;
}

} // namespace qv::tool
