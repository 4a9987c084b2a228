#include "fileutil/track/media_copy.h"

#include "qv/mp4/box_writer.h"
#include "qv/mp4/prepare_write.h"
#include "qv/mp4/track_writer.h"
#include "qv/result.h"

#include <algorithm>
#include <filesystem>

namespace fileutil {
namespace {

namespace fs = std::filesystem;

/// Makes room in front of the media, and the media's header wide enough. Null where the tree has no media.
MediaDataBox* make_ready(Boxes& tree) {
  const auto is_media = [](const IBox* box) { return dynamic_cast<const MediaDataBox*>(box) != nullptr; };
  const auto at = std::find_if(tree.begin(), tree.end(), is_media);
  if (at == tree.end()) return nullptr;
  auto* const media = static_cast<MediaDataBox*>(*at);
  if (media->headerSize() == 8 && media->size() > UINT32_MAX) { // the payload fits 32 bits, with its header no longer
    media->setHeaderSize(16);
    media->setPosition(media->payloadStart - 16);
    media->setSize(media->size() + 8);
  }
  if (at == tree.begin() || !dynamic_cast<FreeBox*>(*std::prev(at))) (*tree.insert(at, new FreeBox))->setSize(8);
  return media;
}

/// Whether every offset is still one when it is shifted.
class ShiftedOffsets : public BoxVisitor {
public:
  explicit ShiftedOffsets(uint64_t shift) : shift_(shift) {}
  using BoxVisitor::visit;
  void visit(ChunkOffsetBox* box) override {
    for (const uint32_t offset : box->offsets)
      fit = fit && offset + shift_ <= UINT32_MAX;
  }
  bool fit = true;

private:
  uint64_t shift_; // modulo 2^64
};

HRESULT result_of(std::ostream& out) { return out.flush() ? S_OK : QVERR_RIFF_WRITE; }

HRESULT copy_beside(std::fstream& file, const fs::path& path, Boxes* tree) {
  fs::path beside = path;
  beside += ".tmp";
  std::fstream target(beside, std::ios::in | std::ios::out | std::ios::binary | std::ios::trunc);
  if (!target) return QVERR_FILE_OPEN;
  HRESULT result = copyTrack(file, target, tree);
  target.close();
  if (result == S_OK && !target) result = QVERR_RIFF_WRITE;
  file.close();
  std::error_code error;
  if (result == S_OK) fs::rename(beside, path, error);
  if (error) result = QVERR_RIFF_WRITE;
  if (FAILED(result)) fs::remove(beside, error);
  return result;
}

} // namespace

HRESULT finishTrack(std::fstream& file, Boxes* tree) {
  MediaDataBox* const media = make_ready(*tree);
  if (!media) return E_INVALIDARG;
  if (media->payloadStart < media->headerSize()) return S_FALSE;
  media->mustCopy = false;
  PrepareWrite plan(tree);
  plan.doIt();
  if (plan.mustCopy()) return S_FALSE;
  file.seekp(0);
  BoxWriter(file, tree, 0).doIt();
  return result_of(file);
}

HRESULT copyTrack(std::istream& source, std::fstream& target, Boxes* tree) {
  MediaDataBox* const media = make_ready(*tree);
  if (!media) return E_INVALIDARG;
  media->mustCopy = true;
  PrepareWrite plan(tree);
  plan.doIt();
  const int64_t shift = plan.getMediaDataOffset();
  ShiftedOffsets offsets(static_cast<uint64_t>(shift));
  for (IBox* box : *tree)
    box->accept(&offsets);
  if (!offsets.fit) return QVERR_MP4_OFFSETS;
  MediaCopy(target, source, tree, shift).doIt();
  return result_of(target);
}

HRESULT finishTrack(const WCHAR* path, Boxes* tree) {
  const fs::path file_path(path);
  std::fstream file(file_path, std::ios::in | std::ios::out | std::ios::binary);
  if (!file) return QVERR_FILE_OPEN;
  const HRESULT result = finishTrack(file, tree);
  if (result == S_FALSE) return copy_beside(file, file_path, tree);
  file.close();
  return result == S_OK && !file ? QVERR_RIFF_WRITE : result;
}

} // namespace fileutil
