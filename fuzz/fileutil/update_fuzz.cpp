// Any file, any growth of its metadata: what is planned is a file whose media is found through its tables as before,
// and whose metadata is the new.
// Sources: fileutil/plan fileutil/update/update_planner.cpp fileutil/reader fileutil/writer
#include "fileutil/update/update_planner.h"
#include "fuzz/require.h"

#include "qv/mp4/box_reader.h"

#include <memory>
#include <sstream>
#include <string>

using namespace fileutil;
using fuzz::require;

namespace {

Boxes* userDataOf(Boxes* tree, bool make) {
  auto* const movie = dynamic_cast<IContainerBox*>(tree->find(QvFourCC("moov")));
  if (movie == nullptr) return nullptr;
  auto* userData = dynamic_cast<IContainerBox*>(movie->children().find(QvFourCC("udta")));
  if (userData == nullptr && make) movie->children().push_back(userData = new UserDataBox);
  return userData == nullptr ? nullptr : &userData->children();
}

/// Puts a text of that length in front of the user data.
TreeChange textOf(size_t length) {
  return [=](Boxes* tree) {
    Boxes* const userData = userDataOf(tree, true);
    if (userData == nullptr) return S_FALSE;
    auto* const text = new ThreeGPPAssetMetaBox<QvFourCC("perf")>;
    userData->push_front(text);
    text->text.assign(length, 'p');
    return S_OK;
  };
}

/// Takes the user data's first box away.
HRESULT removal(Boxes* tree) {
  Boxes* const userData = userDataOf(tree, false);
  if (userData == nullptr || userData->empty()) return S_FALSE;
  userData->erase(userData->begin());
  return S_OK;
}

std::string planned(const std::string& file, const TreeChange& change, const UpdateOptions& options, bool& isPlanned) {
  std::istringstream in(file);
  UpdatePlan plan;
  isPlanned = planUpdate(in, file.size(), change, options, plan) == S_OK;
  std::string result;
  for (const Segment& segment : plan.segments) {
    if (plan.isInPlace && segment.bytes.empty()) require(segment.source == result.size());
    result += segment.bytes.empty() ? file.substr(segment.source, segment.length)
                                    : std::string(segment.bytes.begin(), segment.bytes.end());
  }
  require(result.size() == plan.newLength && (isPlanned || result.empty()));
  return result;
}

// ---- a walk of its own: chunk offsets, and what they point to ------------------------------------------------------

uint64_t number(const std::string& file, size_t at, size_t width) {
  uint64_t value = 0;
  for (size_t k = 0; k < width; ++k)
    value = value << 8 | static_cast<uint8_t>(file[at + k]);
  return value;
}

struct Walk {
  std::vector<std::pair<size_t, size_t>> media; // payloads
  std::vector<uint64_t> offsets;
};

void walk(const std::string& file, size_t begin, size_t end, Walk& to, unsigned depth) {
  while (end - begin >= 8) {
    uint64_t size = number(file, begin, 4);
    const std::string type = file.substr(begin + 4, 4);
    const size_t header = size == 1 ? 16 : 8;
    if (header > end - begin) return;
    if (size == 1) size = number(file, begin + 8, 8);
    if (size == 0 && type == "mdat") size = end - begin;
    if (size < header) return;
    const size_t next = begin + static_cast<size_t>(std::min<uint64_t>(size, end - begin));
    const size_t payload = begin + header;
    if (depth == 0 && type == "mdat") to.media.emplace_back(payload, next);
    const size_t width = type == "stco" ? 4 : type == "co64" ? 8 : 0;
    if (width > 0 && next - payload >= 8)
      for (size_t at = payload + 8; next - at >= width; at += width)
        to.offsets.push_back(number(file, at, width));
    for (const char* container : {"moov", "trak", "mdia", "minf", "stbl"})
      if (type == container && depth < 8) walk(file, payload, next, to, depth + 1);
    begin = next;
  }
}

Walk walked(const std::string& file) {
  Walk result;
  walk(file, 0, file.size(), result, 0);
  return result;
}

/// What a chunk offset leads to in the media; empty outside.
std::string found(const std::string& file, const Walk& in, uint64_t offset) {
  for (const auto& [begin, end] : in.media)
    if (offset >= begin && offset < end) return file.substr(offset, std::min<size_t>(end - offset, 16));
  return "";
}

bool isForeign(const std::string& file) { return file.find("dref") != file.npos; }

void requireSameMedia(const std::string& old, const std::string& now) {
  const Walk before = walked(old);
  const Walk after = walked(now);
  require(before.media.size() == after.media.size() && before.offsets.size() == after.offsets.size());
  for (size_t k = 0; k < before.media.size(); ++k) {
    const auto [begin, end] = before.media[k];
    const auto [newBegin, newEnd] = after.media[k];
    require(old.compare(begin, end - begin, now, newBegin, newEnd - newBegin) == 0);
  }
  if (isForeign(old)) return; // those of media in other files stay
  for (size_t k = 0; k < before.offsets.size(); ++k) {
    const std::string was = found(old, before, before.offsets[k]);
    require(was.empty() || was == found(now, after, after.offsets[k]));
  }
}

/// The new tree is the old one with the text in front of its user data.
void requireText(const std::string& file, size_t length) {
  std::istringstream in(file);
  const std::unique_ptr<Boxes> tree(BoxReader(in, file.size()).readMetaForUpdate());
  Boxes* const userData = userDataOf(tree.get(), false);
  require(userData != nullptr && !userData->empty());
  const auto* const text = dynamic_cast<const IThreeGPPAssetMetaBox*>(userData->front());
  require(text != nullptr && text->text == Bytes(length, 'p'));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const std::string file(reinterpret_cast<const char*>(data) + 2, size - 2);
  const size_t length = data[0];
  const UpdateOptions options{.padding = data[1]};
  bool isPlanned = false;
  const std::string same = planned(
      file, [](Boxes*) { return S_OK; }, {}, isPlanned);
  require(!isPlanned || same == file);
  const std::string longer = planned(file, textOf(length), options, isPlanned);
  if (!isPlanned) return 0;
  requireSameMedia(file, longer);
  requireText(longer, length);
  const std::string shorter = planned(longer, removal, {}, isPlanned);
  require(isPlanned); // what can grow can shrink
  requireSameMedia(longer, shorter);
  return 0;
}
