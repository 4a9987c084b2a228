#include "tools/qv/carry/carried_metadata.h"

#include "tools/qv/carry/chunk_rules.h"
#include "tools/qv/file/audio_layout.h"
#include "tools/qv/file/byte_string.h"
#include "tools/qv/metadata/broadcast.h"
#include "tools/qv/metadata/chunk_bytes.h"
#include "tools/qv/metadata/info_list.h"
#include "tools/qv/metadata/peak_chunk.h"
#include "tools/qv/text.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

/// Of the chunks whose data change all together: a million cue points, with labels.
constexpr uint64_t kMaxChangedBytes = 32 << 20;

/// "A=PCM,F=44100,W=24,M=stereo,T=qv", as EBU R 98 has it.
std::string history_line(const AudioChange& change) {
  const char* const mode = change.new_channels == 1 ? "mono" : change.new_channels == 2 ? "stereo" : "multitrack";
  return "A=PCM,F=" + std::to_string(change.rate.to) + ",W=" + std::to_string(change.new_bits) + ",M=" + mode + ",T=qv";
}

/// Takes the chunks of one file over, one after the other, into a file of the same family.
class ChunkCarrier {
public:
  ChunkCarrier(const AudioFile& source, Container container, const AudioChange& change)
      : source_(source), container_(container), change_(change) {
    positions_.rate = change.rate;
  }

  Carried carry() {
    if (!change_.rate.is_same()) read_cue_frames();
    for (const ChunkEntry& entry : source_.chunks)
      take(entry);
    stale_.report("left out, because they are not true of the new audio", carried_.warnings);
    large_.report("left out, because they are too large to follow the change", carried_.warnings);
    nameless_.report("left out, because they have Wave64's names alone", carried_.warnings);
    return std::move(carried_);
  }

private:
  bool is_true_still(Carry carry) const {
    const bool same_channels = !change_.channels;
    const bool same_audio = same_channels && !change_.samples && change_.rate.is_same();
    if (carry == Carry::kSameChannels) return same_channels;
    return carry == Carry::kSameAudio ? same_audio : carry != Carry::kSameBytes || !change_.is_any();
  }

  void take(const ChunkEntry& entry) {
    const DWORD id = source_.kind == Container::kWave64 ? as_riff_id(entry.id) : entry.id;
    const ChunkRule& rule = chunk_rule(id, entry.list_type, is_aiff(source_.kind));
    if (id == kPeakId && change_.new_is_float && container_ != Container::kWave64) return renew_peaks(entry);
    if (rule.carry == Carry::kNever) return;
    // Wave64 has its texts in UTF-16: but for labels the chunk says nothing there, and elsewhere it would speak of
    // them.
    const bool leaves_wave64 = source_.kind == Container::kWave64 && container_ != Container::kWave64;
    if (id == QvFourCC("CSET") && leaves_wave64 && encoding_of(source_).is_ascii) return;
    if (!is_true_still(rule.carry)) return stale_.add(named(entry, id));
    if (is_text_list(entry) && source_.kind != container_ && one_is_wave64()) return take_texts();
    const bool changes = (rule.carry == Carry::kMove && !change_.rate.is_same()) ||
                         (rule.carry == Carry::kBroadcast && change_.is_any());
    CarriedChunk chunk = copied_chunk(source_, entry, id);
    if (const auto guid = unusual_guid(entry, id)) {
      if (container_ == Container::kWave64)
        chunk.guid = guid;
      else if (!has_characters(id))
        return nameless_.add(quoted(id));
    }
    if (!changes) return put(entry, std::move(chunk));
    if (chunk.source_bytes > bytes_left_) {
      if (entry.list_type != QVRIFF_LIST_ADTL || has_regions(entry)) return large_.add(named(entry, id));
      return put(entry, std::move(chunk));
    }
    bytes_left_ -= chunk.source_bytes;
    chunk.data = chunk_data(source_, entry, chunk.source_bytes);
    if (rule.carry == Carry::kMove)
      rule.move(chunk.data, positions_);
    else
      follow(chunk.data);
    put(entry, std::move(chunk));
  }
  void put(const ChunkEntry& entry, CarriedChunk chunk) {
    CarriedChunks& chunks = carried_.chunks;
    (entry.offset < source_.audio_start ? chunks.before_audio : chunks.behind_audio).push_back(std::move(chunk));
  }

  bool one_is_wave64() const { return source_.kind == Container::kWave64 || container_ == Container::kWave64; }
  bool is_text_list(const ChunkEntry& entry) const {
    return source_.kind == Container::kWave64 ? entry.id == kSummaryListGuid.Data1
                                              : entry.list_type == QVSUMMARY_FORM_INFO;
  }

  /// INFO lists become one summary list of Wave64, and the reverse.
  void take_texts() {
    if (std::exchange(has_texts_, true)) return;
    const InfoList list = read_info_list(source_);
    if (!list.problem.empty()) carried_.warnings.push_back("of its texts not all are kept: " + list.problem);
    std::vector<std::pair<DWORD, std::string>> texts;
    for (const InfoItem& item : list.items)
      texts.emplace_back(item.id, item.text);
    add_texts(carried_.chunks, texts, container_);
  }

  /// Whether a list of labels has lengths that follow the rate, found without keeping it in memory.
  bool has_regions(const ChunkEntry& list) const {
    constexpr uint64_t kWindow = 256 << 10;
    const uint64_t end = list.data + std::min(list.size, source_.file_bytes - list.data);
    std::string window;
    uint64_t window_at = 0;
    for (uint64_t at = list.data + 4; at + 8 <= end;) {
      if (at + 8 > window_at + window.size()) {
        window = chunk_data(source_, {list.id, 0, at, end - at, at}, kWindow);
        window_at = at;
        if (window.size() < 8) return false;
      }
      const auto place = static_cast<size_t>(at - window_at);
      if (word_at<DWORD>(window, place) == QvFourCC("ltxt")) return true;
      const uint64_t size = word_at<DWORD>(window, place + 4);
      at += 8 + size + size % 2;
    }
    return false;
  }

  /// The GUID of a Wave64 chunk, where it is not the one that is written for such an id.
  std::optional<GUID> unusual_guid(const ChunkEntry& entry, DWORD id) const {
    if (source_.kind != Container::kWave64) return std::nullopt;
    std::string bytes = chunk_data(source_, {entry.id, 0, entry.offset, sizeof(GUID), entry.offset}, sizeof(GUID));
    if (bytes == chunk_shape(Container::kWave64).header(id, 0).substr(0, sizeof(GUID))) return std::nullopt;
    bytes.resize(sizeof(GUID));
    GUID guid;
    std::memcpy(&guid, bytes.data(), sizeof guid);
    return guid;
  }
  static bool has_characters(DWORD id) {
    for (; id != 0; id >>= 8)
      if ((id & 0xFF) < 0x20 || (id & 0xFF) > 0x7E) return false;
    return true;
  }

  /// A chunk of the source's version and time, which the output fills.
  void renew_peaks(const ChunkEntry& entry) {
    std::string data = chunk_data(source_, entry, 8);
    if (data.size() < 8 || std::exchange(has_peaks_, true)) return;
    data.resize(PeakMeter::bytes(change_.new_channels));
    add_chunk(carried_.chunks.behind_audio, kPeakId, std::move(data));
  }

  /// Where the regions' cue points stand.
  void read_cue_frames() {
    for (const ChunkEntry& entry : source_.chunks) {
      if (entry.id != QVRIFF_ID_CUE || entry.size > kMaxChangedBytes) continue;
      positions_.cues = CueFrames(chunk_data(source_, entry, entry.size));
      return;
    }
  }

  /// Brings a "bext" chunk to the new audio.
  void follow(std::string& data) {
    std::optional<Broadcast> record = Broadcast::parsed(data);
    if (!record) return;
    record->set_time_reference(change_.rate.scaled(record->time_reference()));
    if (record->has_loudness() && !is_true_still(Carry::kSameAudio)) {
      record->drop_loudness();
      stale_.add("the loudness in \"bext\"");
    }
    record->add_history(history_line(change_));
    data = record->data();
  }

  const AudioFile& source_;
  Container container_;
  AudioChange change_;
  PositionChange positions_;
  Carried carried_;
  LeftOut stale_;
  LeftOut large_;
  LeftOut nameless_;
  bool has_texts_ = false;
  bool has_peaks_ = false;
  uint64_t bytes_left_ = kMaxChangedBytes;
};

/// The data of a "CSET" chunk that names UTF-8, and no country or language.
std::string utf8_character_set() { return ByteString().little(static_cast<WORD>(CodePage::kUtf8), 2).little(0, 6); }

} // namespace

std::string named(const ChunkEntry& entry, DWORD id) {
  return entry.list_type == 0 ? quoted(id) : "the list " + quoted(entry.list_type);
}

std::string quoted(DWORD id) { return "\"" + printable_code(id) + "\""; }

void LeftOut::add(const std::string& name) {
  if (std::find(names_.begin(), names_.end(), name) == names_.end()) names_.push_back(name);
}

void LeftOut::report(const std::string& reason, std::vector<std::string>& warnings) const {
  constexpr size_t kMaxNames = 20;
  if (names_.empty()) return;
  std::string text = reason + ": ";
  for (size_t k = 0; k < std::min(names_.size(), kMaxNames); ++k)
    text += (k == 0 ? "" : ", ") + names_[k];
  if (names_.size() > kMaxNames) text += " and " + std::to_string(names_.size() - kMaxNames) + " more";
  warnings.push_back(text);
}

AudioChange audio_change(const _qvwaveformat& from, const _qvwaveformat& to, bool samples) {
  AudioChange change;
  change.rate = {from.samplesPerSec, to.samplesPerSec};
  change.channels = from.channels != to.channels;
  const bool is_narrower = to.BitsPerSample() < from.BitsPerSample();
  change.samples = samples || is_narrower;
  change.bytes = from.sampleType != to.sampleType;
  change.new_bits = to.BitsPerSample();
  change.new_channels = to.channels;
  change.new_is_float = to.FormatTag() == WAVE_FORMAT_IEEE_FLOAT;
  return change;
}

void add_chunk(std::vector<CarriedChunk>& chunks, DWORD id, std::string data) {
  CarriedChunk& chunk = chunks.emplace_back();
  chunk.id = id;
  chunk.data = std::move(data);
}

CarriedChunk copied_chunk(const AudioFile& source, const ChunkEntry& entry, DWORD id) {
  const uint64_t held = source.file_bytes - std::min(entry.data, source.file_bytes);
  CarriedChunk chunk;
  chunk.id = id;
  chunk.source = &source;
  chunk.source_offset = entry.data;
  chunk.source_bytes = std::min(entry.size, held);
  return chunk;
}

void add_texts(CarriedChunks& chunks, const std::vector<std::pair<DWORD, std::string>>& texts, Container container) {
  std::vector<InfoItem> items;
  bool all_ascii = true;
  for (const auto& [id, text] : texts) {
    auto item = container == Container::kWave64 ? summary_item(id, text) : info_item(id, text, CodePage::kUtf8);
    if (item) items.push_back(std::move(*item));
    all_ascii = all_ascii && is_ascii(text);
  }
  if (items.empty()) return;
  if (container == Container::kWave64)
    return add_chunk(chunks.before_audio, kSummaryListGuid.Data1, summary_list_data(items));
  if (!all_ascii) add_chunk(chunks.behind_audio, QvFourCC("CSET"), utf8_character_set());
  add_chunk(chunks.behind_audio, QVRIFF_ID_LIST, info_list_data(items));
}

Carried carry_metadata(const AudioFile& source, Container container, const AudioChange& change) {
  if (is_coded(container)) return to_coded(source, container);
  if (is_coded(source.kind)) return from_coded(source, container);
  if (source.is_big_endian && is_wave(container)) return big_endian_to_wave(source, container, change);
  if (is_wave(source.kind) && is_aiff(container)) return wave_to_aiff(source, change);
  return ChunkCarrier(source, container, change).carry();
}

} // namespace qv::tool
