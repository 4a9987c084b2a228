// ID3v2 tags as data: a header and frames. Frames are kept as bytes.
#pragma once

#include "qv/export.h"
#include "qv/mp4/four_cc.h"

#include <cstdint>
#include <istream>
#include <list>
#include <memory>
#include <vector>

namespace id3meta {

/// 2.3.0 is {3, 0}, 2.4.0 is {4, 0}.
struct Version {
  uint8_t major = 3;
  uint8_t minor = 0;
};

/// One frame: its id, its two flag bytes, and its bytes behind the ten of the header.
class QV_API Frame {
public:
  virtual ~Frame() = default;
  fileutil::FourCC id = 0;
  uint16_t flags = 0;
  std::vector<uint8_t> bytes;
  uint64_t plannedPosition = 0; ///< set by fileutil::PrepareWrite
};

/// A tag: what its header says, and its frames in file order.
class QV_API Header {
public:
  virtual ~Header() = default;
  Version version;
  uint8_t flags = 0;
  uint32_t size = 0; ///< bytes behind the header's ten
  std::list<std::unique_ptr<Frame>> frames;
};

} // namespace id3meta
