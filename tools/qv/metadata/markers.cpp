#include "tools/qv/metadata/markers.h"

#include "tools/qv/file/byte_string.h"
#include "tools/qv/metadata/chunk_bytes.h"
#include "tools/qv/metadata/list_items.h"

#include "qv/chunk_id.h"

#include <algorithm>
#include <unordered_map>

namespace qv::tool {

namespace {

constexpr DWORD kMarkId = QvFourCC("MARK");
constexpr DWORD kCommentId = QvFourCC("COMT");
constexpr DWORD kNoteId = QvFourCC("note");
constexpr DWORD kRegionId = QvFourCC("ltxt");
constexpr size_t kCueBytes = 24;
constexpr size_t kRegionBytes = 20; ///< a region's record before its text
/// The longest "COMT" chunk that is read.
constexpr uint64_t kMaxCommentBytes = 1 << 20;

/// The markers by their ids, the first of each.
class MarkerIndex {
public:
  explicit MarkerIndex(std::vector<Marker>& markers) : markers_(markers) {
    for (size_t k = 0; k < markers.size(); ++k)
      by_id_.emplace(markers[k].id, k);
  }
  Marker* find(DWORD id) {
    const auto found = by_id_.find(id);
    return found == by_id_.end() ? nullptr : &markers_[found->second];
  }

private:
  std::vector<Marker>& markers_;
  std::unordered_map<DWORD, size_t> by_id_;
};

void add_problem(MarkerList& list, const std::string& problem) {
  if (!problem.empty()) list.problem += (list.problem.empty() ? "" : "; ") + problem;
}

void note_rest(MarkerList& list, uint64_t claimed, size_t limit) {
  if (claimed > limit)
    add_problem(list, "has " + std::to_string(claimed) + " markers, of which the first " + std::to_string(limit) +
                          " are read");
}

// ---- RIFF wave and Wave64 ------------------------------------------------------------------------------------------

void read_cue_points(MarkerList& list, const AudioFile& audio, const ChunkEntry& chunk, size_t limit) {
  const std::string data = chunk_data(audio, chunk, 4 + kCueBytes * uint64_t{limit});
  if (data.size() < 4) return;
  const ByteOrder order = byte_order_of(audio);
  const DWORD claimed = word_at<DWORD>(data, 0, order);
  note_rest(list, std::min<uint64_t>(claimed, (chunk.size - 4) / kCueBytes), limit);
  const size_t count = std::min<size_t>({claimed, (data.size() - 4) / kCueBytes, limit});
  for (size_t k = 0, at = 4; k < count; ++k, at += kCueBytes) {
    Marker& marker = list.markers.emplace_back();
    marker.id = word_at<DWORD>(data, at, order);
    marker.position = word_at<DWORD>(data, at + 20, order);
  }
}

/// Takes a text of the "adtl" list to its marker. The first of each kind counts.
void take_label(Marker& marker, const ListItem& item, CodePage page, ByteOrder order) {
  const std::string_view bytes = item.bytes;
  if (item.id == QVRIFF_ID_LABL && marker.name.empty()) marker.name = decode(bytes.substr(4), page);
  if (item.id == kNoteId && marker.note.empty()) marker.note = decode(bytes.substr(4), page);
  if (item.id != kRegionId || bytes.size() < 8 || marker.length) return;
  marker.length = word_at<DWORD>(bytes, 4, order);
  if (bytes.size() > kRegionBytes) marker.region = decode(bytes.substr(kRegionBytes), page);
}

void read_labels(MarkerList& list, const AudioFile& audio) {
  if (list.markers.empty()) return;
  const ListItems labels = read_list_items(audio, QVRIFF_LIST_ADTL);
  if (labels.items.empty()) return;
  const CodePage page = encoding_of(audio).page;
  const ByteOrder order = byte_order_of(audio);
  MarkerIndex index(list.markers);
  for (const ListItem& item : labels.items)
    if (Marker* const marker = item.bytes.size() < 4 ? nullptr : index.find(word_at<DWORD>(item.bytes, 0, order)))
      take_label(*marker, item, page, order);
  if (!labels.problem.empty()) add_problem(list, "its labels are not all read: " + labels.problem);
}

// ---- AIFF ----------------------------------------------------------------------------------------------------------

void read_marks(MarkerList& list, const AudioFile& audio, const ChunkEntry& chunk, size_t limit) {
  constexpr uint64_t kMaxMarkBytes = 262; // id, position, and a name of up to 255 characters with its length
  const std::string data = chunk_data(audio, chunk, 2 + kMaxMarkBytes * uint64_t{limit});
  ChunkBytes bytes(data, ByteOrder::kBig);
  const unsigned claimed = bytes.word<WORD>();
  note_rest(list, claimed, limit);
  for (size_t k = 0; k < claimed && k < limit; ++k) {
    Marker marker;
    marker.id = bytes.word<WORD>();
    marker.position = bytes.word<DWORD>();
    const size_t length = bytes.byte();
    marker.name = decode_alone(bytes.take(length));
    if (bytes.is_short()) return;
    bytes.take(length % 2 == 0 ? 1 : 0);
    list.markers.push_back(std::move(marker));
  }
}

void read_comments(MarkerList& list, const AudioFile& audio, const ChunkEntry& chunk) {
  const std::string data = chunk_data(audio, chunk, kMaxCommentBytes);
  if (chunk.size > kMaxCommentBytes) add_problem(list, "has more comments than are read");
  MarkerIndex index(list.markers);
  ChunkBytes bytes(data, ByteOrder::kBig);
  for (unsigned left = bytes.word<WORD>(); left > 0; --left) {
    bytes.word<DWORD>(); // when it was written
    Marker* const marker = index.find(bytes.word<WORD>());
    const size_t length = bytes.word<WORD>();
    const std::string text = decode_alone(bytes.take(length));
    if (bytes.is_short()) return;
    bytes.take(length % 2);
    if (marker && marker->note.empty())
      marker->note = text;
    else
      list.comments.push_back(text);
  }
}

std::string padded(std::string data) {
  data.resize(data.size() + data.size() % 2);
  return data;
}

std::string terminated(const std::string& text) { return text.empty() ? text : text + '\0'; }

/// What belongs to a marker in an "adtl" list.
std::vector<ListItem> label_items(const Marker& marker) {
  const std::string id = ByteString().little(marker.id, 4);
  std::vector<ListItem> items;
  if (!marker.name.empty()) items.push_back({QVRIFF_ID_LABL, id + terminated(marker.name)});
  if (!marker.note.empty()) items.push_back({kNoteId, id + terminated(marker.note)});
  if (!marker.length) return items;
  std::string region = ByteString().text(id).little(*marker.length, 4).text("rgn ");
  region.resize(kRegionBytes);
  items.push_back({kRegionId, region + terminated(marker.region)});
  return items;
}

} // namespace

MarkerList read_markers(const AudioFile& audio, size_t limit) {
  MarkerList list;
  const auto read_first = [&](DWORD id, auto read) {
    const auto found = std::find_if(
        audio.chunks.begin(), audio.chunks.end(), [=](const ChunkEntry& chunk) { return chunk.id == id; });
    if (found != audio.chunks.end()) read(*found);
  };
  read_first(QVRIFF_ID_CUE, [&](const ChunkEntry& chunk) { read_cue_points(list, audio, chunk, limit); });
  read_labels(list, audio);
  read_first(
      kMarkId, [&](const ChunkEntry& chunk) { read_marks(list, audio, chunk, limit); });
  read_first(kCommentId, [&](const ChunkEntry& chunk) { read_comments(list, audio, chunk); });
  return list;
}

std::string cue_data(const std::vector<Marker>& markers) {
  ByteString out;
  out.little(markers.size(), 4);
  for (const Marker& marker : markers)
    out.little(marker.id, 4).little(marker.position, 4).id(QVRIFF_ID_DATA).little(0, 8).little(marker.position, 4);
  return out;
}

std::string label_list_data(const std::vector<Marker>& markers) {
  std::vector<ListItem> items;
  for (const Marker& marker : markers)
    for (ListItem& item : label_items(marker))
      items.push_back(std::move(item));
  return items.empty() ? std::string() : list_bytes(QVRIFF_LIST_ADTL, items);
}

std::string mark_data(const std::vector<Marker>& markers) {
  ByteString out;
  out.big(markers.size(), 2);
  for (const Marker& marker : markers) {
    const std::string name = marker.name.substr(0, kMaxMarkName);
    const std::string length = ByteString().big(name.size(), 1);
    out.big(marker.id, 2).big(marker.position, 4).text(padded(length + name));
  }
  return out;
}

std::string comment_data(const MarkerList& list) {
  constexpr size_t kMaxText = 0xFFFF;
  ByteString out;
  unsigned count = 0;
  const auto put = [&](DWORD marker, std::string text) {
    if (text.empty() || count == 0xFFFF) return;
    text.resize(std::min(text.size(), kMaxText));
    out.big(0, 4).big(marker, 2).big(text.size(), 2).text(padded(text));
    ++count;
  };
  for (const Marker& marker : list.markers)
    put(marker.id, marker.note);
  for (const std::string& text : list.comments)
    put(0, text);
  if (count == 0) return {};
  return ByteString().big(count, 2).text(out);
}

} // namespace qv::tool
