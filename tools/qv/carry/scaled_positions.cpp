#include "tools/qv/carry/scaled_positions.h"

#include "tools/qv/metadata/chunk_bytes.h"
#include "tools/qv/metadata/sampler.h"

#include "qv/chunk_id.h"

namespace qv::tool {

namespace {

// A cue point of the "cue " chunk: id, position in play order, chunk, start of the chunk, start of the block, frame.
constexpr size_t kCueBytes = 24;
constexpr size_t kPlayOrder = 4;
constexpr size_t kBlockStart = 16;
constexpr size_t kFrame = 20;

/// Calls work(at) for each record of a table that is there: a count, then the records.
template <class Work>
void for_each_record(const std::string_view data, size_t record_bytes, Work work) {
  if (data.size() < 4) return;
  uint64_t left = word_at<DWORD>(data, 0);
  for (size_t at = 4; left > 0 && at + record_bytes <= data.size(); at += record_bytes, --left)
    work(at);
}

void scale_at(std::string& data, size_t at, RateRatio rate) {
  put_word_at(data, at, rate.scaled32(word_at<DWORD>(data, at)));
}

/// A record of a cue point's id and a length in frames from there.
void scale_region(std::string& data, size_t at, const PositionChange& change) {
  const uint64_t begin = change.cues.frame_of(word_at<DWORD>(data, at));
  const uint64_t end = change.rate.scaled(begin + word_at<DWORD>(data, at + 4));
  put_word_at(data, at + 4, RateRatio{}.scaled32(end - change.rate.scaled(begin)));
}

} // namespace

CueFrames::CueFrames(std::string_view cue) {
  for_each_record(
      cue, kCueBytes,
      [&](size_t at) { sorted_.emplace_back(word_at<DWORD>(cue, at), word_at<DWORD>(cue, at + kFrame)); });
  std::stable_sort(sorted_.begin(), sorted_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
}

DWORD CueFrames::frame_of(DWORD id) const {
  const auto found = std::lower_bound(sorted_.begin(), sorted_.end(), id,
                                      [](const auto& point, DWORD wanted) { return point.first < wanted; });
  return found == sorted_.end() || found->first != id ? 0 : found->second;
}

void scale_cue(std::string& data, const PositionChange& change) {
  for_each_record(
      data, kCueBytes,
      [&](size_t at) {
        scale_at(data, at + kPlayOrder, change.rate);
        scale_at(data, at + kFrame, change.rate);
        put_word_at(data, at + kBlockStart, DWORD{0}); // bytes of the old samples
      });
}

void scale_labels(std::string& data, const PositionChange& change) {
  for (size_t at = 4; at + 8 <= data.size();) {
    const auto size = uint64_t{word_at<DWORD>(data, at + 4)};
    if (word_at<DWORD>(data, at) == QvFourCC("ltxt") && size >= 8 && at + 16 <= data.size())
      scale_region(data, at + 8, change);
    if (size > data.size() - at) return;
    at += 8 + size + size % 2;
  }
}

void scale_playlist(std::string& data, const PositionChange& change) {
  constexpr size_t kSegmentBytes = 12; // cue point, length, loops
  for_each_record(data, kSegmentBytes, [&](size_t at) { scale_region(data, at, change); });
}

void scale_sampler(std::string& data, const PositionChange& change) {
  if (data.size() < kSamplerBytes) return;
  put_word_at(data, kSamplePeriodAt, static_cast<DWORD>((1'000'000'000 + change.rate.to / 2) / change.rate.to));
  uint64_t left = word_at<DWORD>(data, kLoopCountAt);
  for (size_t at = kSamplerBytes; left > 0 && at + kLoopBytes <= data.size(); at += kLoopBytes, --left) {
    const uint64_t end = uint64_t{word_at<DWORD>(data, at + kLoopEndAt)} + 1; // its last frame is played
    scale_at(data, at + kLoopStartAt, change.rate);
    const DWORD start = word_at<DWORD>(data, at + kLoopStartAt);
    put_word_at(data, at + kLoopEndAt, std::max(start, change.rate.scaled32(end) - 1));
  }
}

void scale_cart(std::string& data, const PositionChange& change) {
  constexpr size_t kTimersAt = 684;
  constexpr size_t kTimers = 8;
  for (size_t at = kTimersAt; at + 8 <= data.size() && at < kTimersAt + 8 * kTimers; at += 8)
    scale_at(data, at + 4, change.rate);
}

void scale_marks(std::string& data, const PositionChange& change) {
  if (data.size() < 2) return;
  unsigned left = word_at<WORD>(data, 0, ByteOrder::kBig);
  for (size_t at = 2; left > 0 && at + 7 <= data.size(); --left) {
    put_word_at(data, at + 2, change.rate.scaled32(word_at<DWORD>(data, at + 2, ByteOrder::kBig)), ByteOrder::kBig);
    // The name's length and characters are an even number of bytes.
    at += 6 + (size_t{static_cast<BYTE>(data[at + 6])} + 2) / 2 * 2;
  }
}

} // namespace qv::tool
