#include "tools/qv/metadata/sampler.h"

#include "tools/qv/file/byte_string.h"
#include "tools/qv/metadata/chunk_bytes.h"

#include "qv/chunk_id.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qv::tool {

namespace {

constexpr DWORD kSmplId = QvFourCC("smpl");
constexpr DWORD kInstId = QvFourCC("inst");
constexpr DWORD kAiffInstId = QvFourCC("INST");
constexpr size_t kInstBytes = 7;
constexpr size_t kAiffInstBytes = 20;
constexpr double kSemitone = 4294967296.0; ///< of the fraction in "smpl"
constexpr size_t kAiffLoops = 2;

std::optional<std::string> first_chunk(const AudioFile& audio, DWORD id, size_t at_least, uint64_t limit) {
  for (const ChunkEntry& chunk : audio.chunks) {
    if (chunk.id != id) continue;
    std::string data = chunk_data(audio, chunk, limit);
    if (data.size() >= at_least) return data;
  }
  return std::nullopt;
}

void take_smpl(Sampler& sampler, const std::string& data, ByteOrder order) {
  sampler.note = static_cast<BYTE>(std::min<DWORD>(word_at<DWORD>(data, 12, order), 127));
  sampler.cents = static_cast<int>(std::lround(word_at<DWORD>(data, 16, order) / kSemitone * 100));
  const size_t count =
      std::min<size_t>(word_at<DWORD>(data, kLoopCountAt, order), (data.size() - kSamplerBytes) / kLoopBytes);
  for (size_t k = 0, at = kSamplerBytes; k < count; ++k, at += kLoopBytes)
    sampler.loops.push_back(
        {static_cast<LoopKind>(word_at<DWORD>(data, at + 4, order)), word_at<DWORD>(data, at + kLoopStartAt, order),
         uint64_t{word_at<DWORD>(data, at + kLoopEndAt, order)} + 1, word_at<DWORD>(data, at + 20, order)});
}

/// The "inst" chunk: note, cents, gain, notes, velocities, a byte each. "smpl" rules what both say.
void take_inst(Sampler& sampler, const std::string& data, bool has_smpl) {
  const auto byte = [&](size_t at) { return static_cast<BYTE>(data[at]); };
  if (!has_smpl) {
    sampler.note = byte(0);
    sampler.cents = static_cast<signed char>(byte(1));
  }
  sampler.range = {byte(3), byte(4), byte(5), byte(6), static_cast<signed char>(byte(2))};
}

void take_aiff_inst(Sampler& sampler, const std::string& data, const std::vector<Marker>& markers) {
  ChunkBytes bytes(data, ByteOrder::kBig);
  sampler.note = bytes.byte();
  sampler.cents = static_cast<signed char>(bytes.byte());
  KeyRange range;
  range.low_note = bytes.byte();
  range.high_note = bytes.byte();
  range.low_velocity = bytes.byte();
  range.high_velocity = bytes.byte();
  range.gain_db = static_cast<int16_t>(bytes.word<WORD>());
  sampler.range = range;
  const auto position_of = [&](DWORD id) {
    const auto found =
        std::find_if(markers.begin(), markers.end(), [=](const Marker& marker) { return marker.id == id; });
    return found == markers.end() ? std::optional<uint64_t>() : found->position;
  };
  for (size_t k = 0; k < kAiffLoops; ++k) {
    const unsigned mode = bytes.word<WORD>();
    const auto start = position_of(bytes.word<WORD>());
    const auto end = position_of(bytes.word<WORD>());
    if ((mode == 1 || mode == 2) && start && end && *start < *end)
      sampler.loops.push_back({mode == 1 ? LoopKind::kForward : LoopKind::kAlternating, *start, *end, 0});
  }
}

DWORD free_id(const std::vector<Marker>& markers) {
  std::vector<bool> taken(markers.size() + 2);
  for (const Marker& marker : markers)
    if (marker.id < taken.size()) taken[marker.id] = true;
  DWORD id = 1;
  while (taken[id])
    ++id;
  return id;
}

DWORD add_marker(std::vector<Marker>& markers, uint64_t position, const char* name) {
  Marker marker;
  marker.id = free_id(markers);
  marker.position = position;
  marker.name = name;
  markers.insert(markers.begin(), marker);
  return marker.id;
}

} // namespace

std::optional<Sampler> read_sampler(const AudioFile& audio, const std::vector<Marker>& markers) {
  Sampler sampler;
  const auto smpl = first_chunk(audio, kSmplId, kSamplerBytes, kSamplerBytes + kMaxLoops * kLoopBytes);
  const auto inst = first_chunk(audio, kInstId, kInstBytes, kInstBytes);
  const auto aiff = first_chunk(audio, kAiffInstId, kAiffInstBytes, kAiffInstBytes);
  if (smpl) take_smpl(sampler, *smpl, byte_order_of(audio));
  if (inst) take_inst(sampler, *inst, smpl.has_value());
  if (aiff) take_aiff_inst(sampler, *aiff, markers);
  return smpl || inst || aiff ? std::optional(sampler) : std::nullopt;
}

std::string smpl_data(const Sampler& sampler, DWORD rate) {
  // A tuning below the note is one above the note below it.
  const int cents = (sampler.cents % 100 + 100) % 100;
  const int note = std::clamp(sampler.note + (sampler.cents - cents) / 100, 0, 127);
  ByteString out;
  out.little(0, 8).little((1'000'000'000 + rate / 2) / rate, 4).little(static_cast<DWORD>(note), 4);
  out.little(static_cast<DWORD>(cents / 100.0 * kSemitone), 4)
      .little(0, 8)
      .little(sampler.loops.size(), 4)
      .little(0, 4);
  for (size_t k = 0; k < sampler.loops.size(); ++k) {
    const SampleLoop& loop = sampler.loops[k];
    out.little(k, 4).little(static_cast<DWORD>(loop.kind), 4).little(loop.start, 4).little(loop.end - 1, 4);
    out.little(0, 4).little(loop.count, 4);
  }
  return out;
}

std::string inst_data(const Sampler& sampler) {
  const KeyRange range = sampler.range.value_or(KeyRange{});
  const int cents = std::clamp(sampler.cents, -50, 50);
  const int gain = std::clamp(range.gain_db, -64, 64);
  std::string data;
  for (const int value : {int{sampler.note}, cents, gain, int{range.low_note}, int{range.high_note},
                          int{range.low_velocity}, int{range.high_velocity}})
    data += static_cast<char>(value);
  return data;
}

std::string aiff_inst_data(const Sampler& sampler, std::vector<Marker>& markers) {
  const KeyRange range = sampler.range.value_or(KeyRange{});
  // Tuned by 50 cents at the most, from the nearest note.
  const int notes = static_cast<int>(std::floor((sampler.cents + 49) / 100.0));
  const int note = std::clamp(sampler.note + notes, 0, 127);
  ByteString out;
  out.big(static_cast<BYTE>(note), 1).big(static_cast<BYTE>(sampler.cents - 100 * notes), 1);
  out.big(range.low_note, 1).big(range.high_note, 1).big(range.low_velocity, 1).big(range.high_velocity, 1);
  out.big(static_cast<WORD>(range.gain_db), 2);
  for (size_t k = 0; k < kAiffLoops; ++k) {
    if (k >= sampler.loops.size()) {
      out.big(0, 6);
      continue;
    }
    const SampleLoop& loop = sampler.loops[k];
    out.big(loop.kind == LoopKind::kAlternating ? 2 : 1, 2);
    out.big(add_marker(markers, loop.start, "beg loop"), 2).big(add_marker(markers, loop.end, "end loop"), 2);
  }
  return out;
}

} // namespace qv::tool
