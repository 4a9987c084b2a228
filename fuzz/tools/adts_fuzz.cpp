// Any bytes as an ADTS stream: reading ends, and what was found, put into plain frames, is found again.
// Sources: tools/qv/mp4
#include "fuzz/require.h"
#include "tests/cli/mp4/adts_bytes.h"
#include "tools/qv/failure.h"
#include "tools/qv/mp4/adts.h"
#include "tools/qv/mp4/adts_channels.h"

#include <algorithm>

using namespace fuzz;
using namespace qv::tool;

namespace {

/// All blocks of a stream, as far as it can be read.
struct Stream {
  explicit Stream(const std::string& bytes)
      : reader("stream", [&bytes, at = size_t{0}](uint8_t* to, size_t count) mutable {
          const size_t part = std::min(count, bytes.size() - at);
          std::copy_n(bytes.data() + at, part, to);
          at += part;
          return part;
        }) {
    try {
      for (std::vector<char> block; reader.next(block);)
        blocks.emplace_back(block.begin(), block.end());
      is_whole = true;
    } catch (const Failure&) {
    }
  }

  AdtsReader reader;
  std::vector<std::string> blocks;
  bool is_whole = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const Stream found(bytes);
  uint64_t total = found.reader.losses().gap_bytes + found.reader.losses().cut_bytes;
  for (const std::string& block : found.blocks)
    total += block.size();
  require(total <= size);
  if (found.blocks.empty()) return 0;

  const AdtsFormat format = *found.reader.format();
  require(format.sample_rate() != 0);
  const auto program = read_program_config({found.blocks.front().begin(), found.blocks.front().end()});
  require(!program || (program->channels != 0 && program->bytes.size() <= found.blocks.front().size() + 1));
  std::string plain;
  for (const std::string& block : found.blocks)
    plain += cli_test::adts_frame({block}, {.profile = format.object_type - 1u,
                                            .rate_index = format.rate_index,
                                            .channels = format.channel_configuration});
  const Stream again(plain);
  require(again.is_whole && again.blocks == found.blocks && again.reader.losses() == AdtsLosses());
  return 0;
}
