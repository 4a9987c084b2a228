// AAC as a stream of frames that describe themselves: ADTS, ISO/IEC 14496-3, clause 1.A.3.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

/// PCM frames that a raw data block stands for.
inline constexpr uint32_t kAacFrameSamples = 1024;

/// What all frames of a stream have in common.
struct AdtsFormat {
  uint8_t object_type = 2; ///< 1 to 4: Main, LC, SSR, LTP
  uint8_t rate_index = 0;  ///< 0 to 12
  uint8_t channel_configuration = 0;

  bool operator==(const AdtsFormat&) const = default;
  uint32_t sample_rate() const; ///< Hz; with SBR that of the core
  uint16_t channels() const;    ///< 0 where the first block says it: read_program_config()
  /// The same as a decoder of MP4 reads it: clause 1.6.2.1. Where the first block says the channels, that follows.
  std::vector<uint8_t> audio_specific_config() const;
};

/// The header of one frame.
struct AdtsHeader {
  static constexpr size_t kBytes = 7; ///< without check sums and positions of blocks

  AdtsFormat format;
  bool has_check_sums = false;
  uint32_t frame_bytes = 0; ///< with the header
  uint32_t blocks = 1;      ///< 1 to 4
  /// Bytes in front of the first raw data block.
  uint32_t header_bytes() const;
};

/// Reads the header that begins at `bytes`, kBytes long. None where they are not one.
std::optional<AdtsHeader> read_adts_header(const uint8_t* bytes);

/// What of a stream were not frames.
struct AdtsLosses {
  uint64_t gaps = 0;      ///< between frames
  uint64_t gap_bytes = 0; ///< of all of them
  uint64_t first_gap = 0; ///< its position in bytes
  uint64_t cut_bytes = 0; ///< of a last frame that is not whole
  bool operator==(const AdtsLosses&) const = default;
};

/// Takes a stream apart into raw data blocks. ID3v2 tags, in front and between frames, are passed over, and so is what
/// is no frame: behind it a frame counts only where another, or the end, follows it.
class AdtsReader {
public:
  /// Delivers the next bytes of the stream: as many as asked for, fewer at its end. May throw.
  using Source = std::function<size_t(uint8_t* to, size_t count)>;

  /// `name` is the stream's for messages.
  AdtsReader(std::string name, Source source);

  /// The next raw data block; false at the end. Throws Failure where the format changes, and for a frame of several
  /// blocks without the check sums among which their positions are.
  bool next(std::vector<char>& block);
  /// That of the frames read; none before the first.
  const std::optional<AdtsFormat>& format() const { return format_; }
  const AdtsLosses& losses() const { return losses_; }
  /// Bytes of the stream in front of the frame that was read last.
  uint64_t position() const { return position_; }

private:
  enum class Found { kNothing, kFrame, kCutFrame };
  struct Block {
    size_t begin; ///< from that of the frame
    size_t end;
  };

  const uint8_t* at() const { return window_.data() + begin_; }
  bool have(size_t count);
  void skip(uint64_t count);
  bool skip_tag();
  bool find_frame();
  Found look(bool follows_another);
  void skip_gap();
  std::optional<AdtsHeader> confirmed_header(size_t offset);
  bool holds_another(const AdtsHeader& header);
  bool split(const AdtsHeader& header);
  void check(const AdtsHeader& header) const;

  std::string name_;
  Source source_;
  std::vector<uint8_t> window_;
  size_t begin_ = 0; ///< of what is not yet taken, in the window
  size_t end_ = 0;
  uint64_t position_ = 0; ///< of begin_ in the stream
  bool is_at_end_ = false;
  std::optional<AdtsFormat> format_;
  std::vector<Block> blocks_; ///< of the present frame, in the window
  size_t next_block_ = 0;
  size_t frame_bytes_ = 0; ///< of the present frame, to be skipped
  AdtsLosses losses_;
};

} // namespace qv::tool
