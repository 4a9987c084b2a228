// Copying a track that has just been written.
#pragma once

#include "qv/mp4/box_writer.h"

#include <algorithm>

namespace fileutil {

/// A BoxCopy that takes media from where its payload begins, so that a header of 16 bytes does it no harm.
class MediaCopy : public BoxCopy {
public:
  using BoxCopy::BoxCopy;
  using BoxCopy::visit;

  void visit(MediaDataBox* box) override {
    uint64_t left = box->payloadEnd - box->payloadStart;
    addBytesWritten(left);
    in().seekg(static_cast<std::streamoff>(box->payloadStart));
    std::vector<char> block(static_cast<size_t>(std::min(left, kBlockBytes)));
    while (left != 0 && out()) {
      const uint64_t part = std::min<uint64_t>(left, block.size());
      if (!in().read(block.data(), static_cast<std::streamsize>(part))) return out().setstate(std::ios::failbit);
      out().write(block.data(), static_cast<std::streamsize>(part));
      left -= part;
    }
  }

private:
  static constexpr uint64_t kBlockBytes = 1 << 18;
};

} // namespace fileutil
