#include "tools/qv/repair/chunk_reading.h"

#include "tools/qv/repair/format_reading.h"
#include "tools/qv/repair/trailer.h"

#include <algorithm>
#include <map>

namespace qv::tool {

namespace {

/// What it costs to take something for wrong. The reading with the lowest sum is the one that is believed, so what
/// counts is how they compare: one ruined field is cheaper than two, and a chunk that leads on to another is cheaper
/// than bytes that none explains.
enum Cost : uint64_t {
  kSound = 0,
  kNoPadByte = 5,
  kUnknownId = 10,    ///< but text
  kOpenSize = 10,     ///< of audio, which the writer left open
  kOneWrongByte = 12, ///< in a known id
  kIdByContents = 22,
  kFormatById = 25, ///< its id is ruined, its record makes sense
  kZeroBytes = 20,
  kCutTellingChunk = 4,
  kCutChunk = 30,
  kAudioById = 30, ///< its id is ruined, its size leads on
  kNameless = 33,
  kLeadsNowhere = 40, ///< more for a size that nothing but itself speaks for
  kSizeWrong = 40,
  kUsualRecordSize = 38, ///< a record may be padded, and is that small
  kBothWrongByContents = 42,
  kToTheEnd = 3,      ///< more where no chunk is met
  kAudioToTheEnd = 8, ///< the same for audio
  kSoundRecord = 45,  ///< more for the size of a record that makes sense
  kPassedHeader = 20, ///< more for each known header that another chunk swallows
  kSoundSize = 25,    ///< more for a size that leads from a known header to another
  kUnknownSizeWrong = 60,
  kAudioBothWrong = 75,
  kPassedAudio = 60, ///< more for audio without a name that swallows a header of audio
  kBothWrong = 80,
  kTrailer = 25,
  kKnownTrailer = 8,
  kTrailerBehindAudio = 60,
  kAgain = 400, ///< a second audio
  kNoFormat = 200,
  kNoAudio = 500
};

constexpr uint64_t kTail = 16 << 20; ///< where chunks behind audio are looked for
constexpr size_t kMaxNodes = 20'000; ///< a bound for a file that is made to cost time
constexpr size_t kMaxReached = 8;    ///< known headers that one chunk of a ruined size may reach to
constexpr uint64_t kUsualRecords[] = {16, 18, 40};

bool is_usual_record(uint64_t size) {
  return std::find(std::begin(kUsualRecords), std::end(kUsualRecords), size) != std::end(kUsualRecords);
}

enum Seen : int { kFormatSeen = 1, kAudioSeen = 2 };

class Search {
public:
  explicit Search(const DamagedFile& damaged)
      : damaged_(damaged), layout_(damaged.layout()), agrees_(damaged.size_agrees()) {
    const uint64_t start = layout_.file_header();
    headers_ = damaged.known_headers(start, damaged.limit());
    const uint64_t tail = std::max(start, damaged.size() - std::min(damaged.size(), kTail));
    for (const Chunk& header : damaged.known_headers(std::max(tail, damaged.limit()), damaged.size()))
      if (header.id != layout_.audio_id) headers_.push_back(header);
  }

  ChunkReading run() {
    const uint64_t start = std::min(layout_.file_header(), damaged_.size());
    nodes_[{start, 0}] = {0, {start, 0}, {}};
    for (auto node = nodes_.begin(); node != nodes_.end() && node->first.first < damaged_.size(); ++node)
      look_from(node->first, node->second.cost);
    return best();
  }

private:
  using Key = std::pair<uint64_t, int>; ///< a place, and what was seen before it
  struct Node {
    uint64_t cost;
    Key from;
    Piece piece;
  };

  void reach(const Key& from, uint64_t cost, Piece piece) {
    int seen = from.second;
    if (piece.kind == Piece::Kind::kChunk && piece.id == layout_.format_id) {
      cost += seen & kFormatSeen ? kUnknownId : kSound;
      seen |= kFormatSeen;
    } else if (piece.kind == Piece::Kind::kChunk && piece.id == layout_.audio_id) {
      cost += seen & kAudioSeen ? kAgain : kSound;
      seen |= kAudioSeen;
    }
    piece.end = std::min(piece.end, damaged_.size());
    const Key to = {piece.end, seen};
    const auto there = nodes_.find(to);
    if (there == nodes_.end())
      nodes_.emplace(to, Node{cost, from, piece});
    else if (cost < there->second.cost)
      there->second = {cost, from, piece};
  }

  void look_from(const Key& from, uint64_t cost) {
    const std::optional<Chunk> chunk = damaged_.header_at(from.first);
    if (!chunk) return reach(from, cost, rest(from.first));
    if (nodes_.size() < kMaxNodes) {
      read_as_it_stands(from, cost, *chunk);
      read_another_size(from, cost, *chunk);
      skip_zeros(from, cost);
    }
    end_here(from, cost, *chunk);
  }

  Piece rest(uint64_t at) const { return {Piece::Kind::kTrailer, {}, at, at, damaged_.size() - at, damaged_.size()}; }

  /// What an id may have been, and what it costs to take it for that, where the size is not in doubt or is.
  struct Name {
    std::string id;
    uint64_t cost;
    uint64_t cost_of_size; ///< beside that of the id, where the size is wrong, too
  };

  std::vector<Name> names(const Chunk& chunk, uint64_t size) const {
    if (is_known(layout_, chunk.id)) return {{chunk.id, kSound, kSizeWrong}};
    std::vector<Name> all;
    const bool is_text = layout_.is_plausible(chunk.id);
    all.push_back({chunk.id, is_text ? kUnknownId : kNameless,
                   is_text ? kUnknownSizeWrong - kUnknownId : kBothWrong - kNameless});
    if (const auto known = nearly_known(layout_, chunk.id)) all.push_back({*known, kOneWrongByte, kSizeWrong});
    const std::string data = damaged_.read(chunk.data, kTellingBytes);
    if (const auto told = told_from(layout_, data, size))
      all.push_back({*told, kIdByContents, kBothWrongByContents - kIdByContents});
    if (size >= layout_.record_bytes && record_makes_sense(layout_, data.substr(0, std::min<uint64_t>(size, 40))))
      all.push_back({layout_.format_id, kFormatById, kBothWrongByContents - kFormatById});
    all.push_back({layout_.audio_id, kAudioById, kAudioBothWrong - kAudioById});
    return all;
  }

  bool leads_to_chunk(uint64_t at) const {
    if (at + layout_.chunk_header() > damaged_.size()) return true;
    return layout_.is_plausible(damaged_.read(at, layout_.id_bytes()));
  }

  void read_as_it_stands(const Key& from, uint64_t cost, const Chunk& chunk) {
    // Zeros are no chunks, but what is skipped at once.
    if (!damaged_.is_whole(chunk) || (chunk.size == 0 && chunk.id.find_first_not_of('\0') == std::string::npos)) return;
    for (const Name& name : names(chunk, chunk.size)) {
      if (chunk.size < least_bytes(layout_, name.id)) continue;
      Piece piece = {Piece::Kind::kChunk, name.id, chunk.at, chunk.data, chunk.size, 0, true};
      piece.end = chunk.data + layout_.padded(chunk.size);
      const bool leads_on = name.cost == kSound || leads_to_chunk(piece.end);
      reach(from, cost + name.cost + (leads_on ? kSound : kLeadsNowhere), piece);
      piece.end = chunk.data + chunk.size;
      piece.is_padded = false;
      if (chunk.size % layout_.alignment != 0 && piece.end < damaged_.size())
        reach(from, cost + name.cost + kNoPadByte, piece);
    }
  }

  /// A size that reaches to one of the next known headers, or to the file's end.
  struct Reach {
    uint64_t end;
    uint64_t passed; ///< known headers that it swallows
    bool passes_audio;
  };

  std::vector<Reach> reaches(const Chunk& chunk) const {
    std::vector<Reach> all;
    Reach reach = {0, 0, false};
    auto next = std::lower_bound(headers_.begin(), headers_.end(), chunk.data,
                                 [](const Chunk& header, uint64_t at) { return header.at < at; });
    for (; next != headers_.end() && reach.passed < kMaxReached; ++next, ++reach.passed) {
      reach.end = next->at;
      all.push_back(reach);
      reach.passes_audio = reach.passes_audio || next->id == layout_.audio_id;
    }
    reach.end = damaged_.size();
    all.push_back(reach);
    return all;
  }

  uint64_t cost_of_size(const Chunk& chunk, const Name& name, const Reach& to) const {
    const bool is_audio = name.id == layout_.audio_id;
    const bool is_named = name.id == chunk.id;
    uint64_t cost = is_audio && is_named && chunk.is_open ? kOpenSize : name.cost_of_size;
    cost += to.passed * kPassedHeader;
    if (to.end == damaged_.size()) cost += is_audio ? kAudioToTheEnd : kToTheEnd;
    if (is_audio && !is_named && to.passes_audio) cost += kPassedAudio;
    return cost;
  }

  void read_another_size(const Key& from, uint64_t cost, const Chunk& chunk) {
    const bool is_record = chunk.id == layout_.format_id;
    if (is_record && is_usual_record(chunk.size) && record_makes_sense(layout_, damaged_.read(chunk.data, chunk.size)))
      cost += kSoundRecord;
    else if (is_known(layout_, chunk.id) && damaged_.is_whole(chunk) &&
             is_known(layout_, damaged_.read(chunk.data + layout_.padded(chunk.size), layout_.id_bytes())))
      cost += kSoundSize;
    for (const Reach& to : reaches(chunk)) {
      if (to.end < chunk.data || to.end == chunk.data + chunk.size) continue;
      const uint64_t size = to.end - chunk.data;
      for (const Name& name : names(chunk, size))
        if (size >= least_bytes(layout_, name.id))
          reach(from, cost + name.cost + cost_of_size(chunk, name, to),
                {Piece::Kind::kChunk, name.id, chunk.at, chunk.data, size, to.end, false});
    }
    if (!is_record || layout_.family == HeaderLayout::Family::kAiff) return;
    for (const uint64_t record : kUsualRecords) {
      const uint64_t end = chunk.data + layout_.padded(record);
      if (record != chunk.size && end <= damaged_.size())
        reach(from, cost + kUsualRecordSize, {Piece::Kind::kChunk, chunk.id, chunk.at, chunk.data, record, end, false});
    }
  }

  void skip_zeros(const Key& from, uint64_t cost) {
    if (from.first >= zeros_end_) zeros_end_ = damaged_.zeros_end(from.first);
    const uint64_t end = zeros_end_;
    if (end == from.first) return;
    const auto zeros_to = [&](uint64_t at) {
      reach(from, cost + kZeroBytes, {Piece::Kind::kZeros, {}, from.first, from.first, at - from.first, at});
    };
    if (end == damaged_.size()) zeros_to(end);
    for (const Chunk& header : headers_)
      if (header.at > from.first && header.at <= end) zeros_to(header.at);
  }

  void end_here(const Key& from, uint64_t cost, const Chunk& chunk) {
    if (!(from.second & kAudioSeen)) {
      if (nodes_.size() < kMaxNodes) return;
    } else if (!damaged_.is_whole(chunk) && is_known(layout_, chunk.id) && chunk.id != layout_.audio_id) {
      Piece piece = {Piece::Kind::kChunk,          chunk.id,       chunk.at, chunk.data,
                     damaged_.size() - chunk.data, damaged_.size()};
      const bool tells = looks_like(layout_, chunk.id, damaged_.read(chunk.data, kTellingBytes));
      // A size of the file that is right says that nothing was cut.
      if (!agrees_) reach(from, cost + (tells ? kCutTellingChunk : kCutChunk), piece);
    }
    const bool is_behind_audio = nodes_.at(from).piece.id == layout_.audio_id;
    const bool is_tag = is_known_trailer(damaged_.read(from.first, kTrailerBytes));
    reach(from, cost + (is_tag ? kKnownTrailer : is_behind_audio ? kTrailerBehindAudio : kTrailer), rest(from.first));
  }

  ChunkReading best() {
    const Key* end = nullptr;
    uint64_t lowest = ~uint64_t{0};
    for (auto node = nodes_.lower_bound({damaged_.size(), 0}); node != nodes_.end(); ++node) {
      const int seen = node->first.second;
      const uint64_t cost =
          node->second.cost + (seen & kFormatSeen ? kSound : kNoFormat) + (seen & kAudioSeen ? kSound : kNoAudio);
      if (cost >= lowest) continue;
      lowest = cost;
      end = &node->first;
    }
    ChunkReading reading;
    for (const Key* key = end; key && key->first > layout_.file_header();
         key = &nodes_.find(nodes_.at(*key).from)->first)
      reading.pieces.push_back(nodes_.at(*key).piece);
    std::reverse(reading.pieces.begin(), reading.pieces.end());
    for (const Piece& piece : reading.pieces) {
      if (piece.kind != Piece::Kind::kChunk) continue;
      if (piece.id == layout_.format_id && !reading.format) reading.format = &piece;
      if (piece.id == layout_.audio_id && !reading.audio) reading.audio = &piece;
    }
    reading.is_trusted =
        reading.audio && (reading.format || damaged_.header_at(reading.audio->at)->id == layout_.audio_id);
    return reading;
  }

  const DamagedFile& damaged_;
  const HeaderLayout& layout_;
  bool agrees_;
  std::vector<Chunk> headers_;
  uint64_t zeros_end_ = 0; ///< of the zeros that were met last
  std::map<Key, Node> nodes_;
};

} // namespace

ChunkReading read_chunks(const DamagedFile& damaged) { return Search(damaged).run(); }

} // namespace qv::tool
