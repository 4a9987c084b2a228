// ID3v2 tags as data: a header and frames, as "ID32" holds them (id3.org, ID3v2.3.0 and ID3v2.4.0). Frames are kept as
// bytes, in the coding that the file has.
//
// A tag that holds more than frames is read as far as it goes, and says so: Header::isLossless. Nothing here has a
// lock: a tag belongs to one thread at a time.
#pragma once

#include "qv/export.h"
#include "qv/mp4/four_cc.h"

#include <array>
#include <cstdint>
#include <istream>
#include <list>
#include <memory>
#include <ostream>
#include <vector>

namespace id3meta {

/// 2.3.0 is {3, 0}, 2.4.0 is {4, 0}.
struct Version {
  uint8_t major = 3;
  uint8_t minor = 0;
};

/// One frame: its id, its two flag bytes, and its bytes behind the ten of its header, as the file codes them.
class QV_API Frame {
public:
  virtual ~Frame() = default;
  uint64_t size() const { return bytes.size(); }

  fileutil::FourCC id = 0;
  uint16_t flags = 0;
  std::vector<uint8_t> bytes;
  uint64_t plannedPosition = 0; ///< set by fileutil::PrepareWrite
};

/// A frame of which nothing more is known.
class QV_API UnknownFrame : public Frame {};

/// A tag: what its header says, and its frames in file order. Frames are read of versions 2.3 and 2.4; of others none,
/// and their tags are not lossless.
class QV_API Header {
public:
  /// The largest number that a syncsafe integer of four bytes holds.
  static constexpr uint32_t kMaxSize = (1u << 28) - 1;
  /// No tag is read further than this many frames.
  static constexpr size_t kMaxFrames = 1u << 16;

  explicit Header(Version of = {}) : version(of) {}
  virtual ~Header() = default;
  Header(const Header&) = delete;
  Header& operator=(const Header&) = delete;

  /// Whether writing the tag gives what was read. False where it is unsynchronised as a whole (2.3), where it has an
  /// extended header, a footer, padding, bytes that are no frame, a frame that claims more than remains, or another
  /// size than that of its frames: then writeTag writes the frames that were read, as a tag without all this.
  bool isLossless = true;

  Version version;
  /// As in the file, less what writing does not give again: unsynchronisation of 2.3, extended header, footer.
  uint8_t flags = 0;
  /// Bytes behind the header's ten: as read, then as fileutil::PrepareWrite has set it.
  uint32_t size = 0;
  std::list<std::unique_ptr<Frame>> frames;

  /// The size field of a frame, as a number; all ones where it is none.
  virtual uint32_t frameSize(const std::array<uint8_t, 4>& field) const;
  virtual std::array<uint8_t, 4> frameSizeField(uint32_t value) const;
};

/// Frame sizes are plain numbers.
class QV_API Header_2_3_0 : public Header {
public:
  explicit Header_2_3_0(Version of = {3, 0}) : Header(of) {}
};

/// Frame sizes are syncsafe: seven bits a byte.
class QV_API Header_2_4_0 : public Header {
public:
  explicit Header_2_4_0(Version of = {4, 0}) : Header(of) {}
  uint32_t frameSize(const std::array<uint8_t, 4>& field) const override;
  std::array<uint8_t, 4> frameSizeField(uint32_t value) const override;
};

/// Reads a tag whose first three bytes, "ID3", have been read. `remaining` counts the bytes of its box from them on,
/// and is at least 10: the header's other seven bytes are read, then frames over `remaining` less 10, whatever the
/// header says of its size. `consumed` is set to what was read, which is less where the frames end earlier. Null where
/// the header is not there. Not more is allocated than in proportion to what the stream delivers.
QV_API std::unique_ptr<Header> readTag(std::istream& in, uint64_t remaining, uint64_t& consumed);

/// The sum over all frames of 10 and their size.
QV_API uint64_t frameBytes(const Header& header);

/// Writes a tag with the size that its header has, which is frameBytes() unless it was read otherwise. Returns the
/// bytes written. A number that does not fit its field sets the stream's failbit.
QV_API uint64_t writeTag(std::ostream& out, const Header& header);

} // namespace id3meta
