// qv mux: ADTS streams of every kind into M4A files.
#include "tests/cli/mp4/adts_bytes.h"
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/fileutil/bytes.h"
#include "tests/fileutil/track/track_file.h"

#include <gtest/gtest.h>

using namespace cli_test;
using namespace fileutil;
using fileutil_test::find;

namespace {

/// The samples of an M4A file, found through its tables.
Blocks samples_of(const std::string& file) {
  const auto tree = fileutil_test::tree_of(file);
  const auto* const offsets = find<IChunkOffsetBox>(*tree);
  const auto* const sizes = find<SampleSizeBox>(*tree);
  Blocks samples;
  for (size_t k = 0; offsets && sizes && k < std::min(offsets->offsetCount(), sizes->sizes.size()); ++k)
    samples.push_back(file.substr(offsets->offset(k), sizes->sizes[k]));
  return samples;
}

const std::string kA = adts_frame({"first"});
const std::string kB = adts_frame({std::string("\xFF\xF1\x50\x80 in the audio", 17)});
const std::string kC = adts_frame({"third"});
const Blocks kABC = {"first", std::string("\xFF\xF1\x50\x80 in the audio", 17), "third"};
const std::string kOdd = adts_frame({"odd"}, {.rate_index = 3});
/// A program config element behind its id, 101: tag 1, LC, 44.1 kHz; one front single and pair, a side pair, a back
/// single, an LFE, two of data, one coupling channel; mono mixdown 6 and matrix 5; the elements' own tags; a comment of
/// two bytes.
const std::string kProgramBits =
    "0001 01 0100 0010 0001 0001 01 010 0001 10110 0 1101  0 0000 1 0001 1 0010 0 0011 0101 1000 1001 1 0110";
/// The bits as bytes, zeros at the end.
std::string packed(std::string bits) {
  std::erase(bits, ' ');
  bits.resize((bits.size() + 7) / 8 * 8, '0');
  std::string bytes;
  for (size_t k = 0; k < bits.size(); k += 8)
    bytes += static_cast<char>(std::stoi(bits.substr(k, 8), nullptr, 2));
  return bytes;
}
const std::string kProgram = packed("101 " + kProgramBits) + "\2hi";
const std::string kProgramConfig = packed("00010 0100 0000 000 " + kProgramBits) + "\2hi";
constexpr AdtsFields kSummed = {.check_sums = true};

TEST(Mux, TakesEachBlockAsASample) {
  // A header that promises 200 bytes, where no frame follows.
  const std::string decoy = adts_frame({std::string(193, 'x')}).substr(0, 50);
  const struct {
    const char* what;
    std::string stream;
    Blocks samples;
    const char* warning;
  } rows[] = {
      {"frames", kA + kB + kC, kABC, ""},
      {"one frame", kA, {"first"}, ""},
      {"MPEG-2", adts_frame({"two"}, {.mpeg2 = 1}) + kA, {"two", "first"}, ""},
      {"check sums", adts_frame({"one"}, kSummed) + kB + adts_frame({"1"}, kSummed), {"one", kABC[1], "1"}, ""},
      {"two blocks", adts_frame({"one", "second"}, kSummed) + kA, {"one", "second", "first"}, ""},
      {"four blocks", adts_frame({"1", "22", "333", "4444"}, kSummed), {"1", "22", "333", "4444"}, ""},
      {"the longest frame", adts_frame({std::string(8184, 'l')}) + kA, {std::string(8184, 'l'), "first"}, ""},
      {"a tag in front", id3_tag(std::string(300, '\0') + kC + kC) + kA + kB + kC, kABC, ""},
      {"tags everywhere", id3_tag("x", true) + id3_tag("") + kA + id3_tag(kC) + kB + kC + id3_tag(kC), kABC, ""},
      {"a tag longer than the window", id3_tag(std::string(200000, 'x')) + kA + kB + kC, kABC, ""},
      {"a cut last frame", kA + kB + kC + kA.substr(0, 9), kABC, "the last frame is cut off, and was left out"},
      {"a cut last header", kA + kB + kC + kA.substr(0, 5), kABC,
       "5 bytes that are no ADTS frames were passed over, in 1 place, at byte 48"},
      {"something in front", "RIFF" + kA + kB + kC, kABC,
       "4 bytes that are no ADTS frames were passed over, in 1 place, at byte 0"},
      {"something between", kA + "\xFF\xFF" + kB + decoy + kC, kABC,
       "52 bytes that are no ADTS frames were passed over, in 2 places, first at byte 12"},
      {"what looks like a frame in a gap", kA + "zz" + adts_frame({"fake"}) + "zz" + kB + kC, kABC,
       "15 bytes that are no ADTS frames were passed over, in 1 place, at byte 12"},
      {"something longer than the window", kA + std::string(100000, '\xFF') + kB + kC, kABC,
       "100000 bytes that are no ADTS frames were passed over, in 1 place, at byte 12"},
      {"another format that nothing follows", kA + adts_frame({"odd"}, {.rate_index = 3}).substr(0, 8) + kB + kC, kABC,
       "8 bytes that are no ADTS frames were passed over, in 1 place, at byte 12"},
      {"another format that ours follows", kA + kOdd + kB + kC, kABC,
       "10 bytes that are no ADTS frames were passed over, in 1 place, at byte 12"},
      {"another format inside a block",
       kA + adts_frame({kOdd + kOdd}) + "zz" + kB + kC,
       {kABC[0], kOdd + kOdd, kABC[1], kABC[2]},
       "2 bytes that are no ADTS frames were passed over, in 1 place, at byte 39"},
      {"blocks without positions that nothing follows", kA + adts_frame({"1", "2"}) + "zz" + kB + kC, kABC,
       "11 bytes that are no ADTS frames were passed over, in 1 place, at byte 12"},
      {"an empty frame", kA + adts_frame({""}) + kB + kC, kABC,
       "7 bytes that are no ADTS frames were passed over, in 1 place, at byte 12"},
      {"an empty block", kA + adts_frame({"1", ""}, kSummed) + kB + kC, kABC,
       "16 bytes that are no ADTS frames were passed over, in 1 place, at byte 12"},
      {"a tag whose size is none", std::string("ID3\4\0\0\x80\0\0\0", 10) + kA + kB + kC, kABC,
       "10 bytes that are no ADTS frames were passed over, in 1 place, at byte 0"},
      {"positions past the frame", kA + adts_frame({"1", "2"}, kSummed).replace(7, 2, "\x7F\xFF") + kB + kC, kABC,
       "17 bytes that are no ADTS frames were passed over, in 1 place, at byte 12"},
  };
  const ScratchFolder folder;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const std::string in = folder.put("in.aac", row.stream);
    const std::string out = folder.file("out.m4a");
    const Outcome outcome = run_qv({"mux", in, out});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.error, *row.warning ? "qv: " + in + ": warning: " + row.warning + "\n" : "");
    EXPECT_EQ(samples_of(read_file(out)), row.samples);
  }
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"in.aac", "out.m4a"}));
}

std::string with_layer(std::string frame) {
  frame[1] = static_cast<char>(frame[1] | 2);
  return frame;
}

TEST(Mux, RefusesWhatIsNoTrack) {
  const std::string none = "holds no AAC in ADTS frames";
  const struct {
    const char* what;
    std::string stream, reason;
  } rows[] = {
      {"nothing", "", none},
      {"a text", "this is no audio, whatever its name may say", none},
      {"a tag alone", id3_tag("x"), none},
      {"a tag that claims more than there is", id3_tag(std::string(100, 'x')).substr(0, 50) + kA, none},
      {"MPEG layer 3", std::string("\xFF\xFB\x90\x00", 4) + std::string(413, '\0'), none},
      {"another layer", with_layer(kA) + with_layer(kA), none},
      {"a rate that is none", adts_frame({"x"}, {.rate_index = 13}) + adts_frame({"x"}, {.rate_index = 13}), none},
      {"another rate", kA + kB + adts_frame({"x"}, {.rate_index = 3}) + adts_frame({"x"}, {.rate_index = 3}),
       "at byte 36 the format changes from 44100 Hz, 2 channels, object type 2 to 48000 Hz, 2 channels, object type 2"},
      {"another rate at the end", kA + adts_frame({"x"}, {.rate_index = 8}),
       "at byte 12 the format changes from 44100 Hz, 2 channels, object type 2 to 16000 Hz, 2 channels, object type 2"},
      {"other channels", kA + adts_frame({"x"}, {.channels = 7}),
       "at byte 12 the format changes from 44100 Hz, 2 channels, object type 2 to 44100 Hz, 8 channels, object type 2"},
      {"another profile", kA + adts_frame({"x"}, {.profile = 0}),
       "at byte 12 the format changes from 44100 Hz, 2 channels, object type 2 to 44100 Hz, 2 channels, object type 1"},
      {"blocks without positions", kA + adts_frame({"1", "2"}) + kB,
       "at byte 12 a frame has several blocks of audio without their positions, which is not supported"},
      {"no channels", adts_frame({"1"}, {.channels = 0}), "does not say which channels it has"},
      {"channels that are cut", adts_frame({kProgram.substr(0, kProgram.size() - 1)}, {.channels = 0}),
       "does not say which channels it has"},
  };
  const ScratchFolder folder;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const std::string in = folder.put("in.aac", row.stream);
    expect_refused(run_qv({"mux", in, folder.file("out.m4a")}), 1, in, row.reason);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"in.aac"}));
  }
  const std::string in = folder.put("in.aac", kA);
  expect_refused(run_qv({"mux", in, in}), 1, in, "is the input file itself");
  EXPECT_EQ(read_file(in), kA);
  expect_refused(run_qv({"mux", in, folder.file("none/out.m4a")}), 1, folder.file("none/out.m4a"), "no such folder");
  const std::string missing = folder.file("missing.aac");
  EXPECT_EQ(run_qv({"mux", missing, folder.file("out.m4a")}).exit_code, 1);
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"in.aac"}));
}

TEST(Mux, TakesChannelsFromTheAudio) {
  const ScratchFolder folder;
  const std::string in =
      folder.put("in.aac", adts_frame({kProgram + "audio"}, {.channels = 0}) + adts_frame({"2"}, {.channels = 0}));
  qv_says({"mux", in, folder.file("out.m4a")});
  const auto tree = fileutil_test::tree_of(read_file(folder.file("out.m4a")));
  EXPECT_EQ(find<Mpeg4AudioSampleEntry>(*tree)->channelCount, 7);
  const auto* const config =
      find<ElementaryStreamDescriptorBox>(*tree)->descriptor->child<esds::DecoderConfigDescriptor>();
  EXPECT_EQ(config->child<esds::DecoderSpecificInfo>()->info, fileutil_test::vector_of(kProgramConfig));
}

TEST(Mux, DescribesEveryFormat) {
  constexpr uint32_t kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                 22050, 16000, 12000, 11025, 8000,  7350};
  constexpr uint16_t kChannels[] = {1, 2, 3, 4, 5, 6, 8};
  const ScratchFolder folder;
  for (unsigned k = 0; k < std::size(kRates); ++k) {
    const unsigned configuration = k % 7 + 1;
    const unsigned profile = k % 4;
    const std::string in =
        folder.put("in.aac", adts_frame({"x"}, {.profile = profile, .rate_index = k, .channels = configuration}));
    qv_says({"mux", in, folder.file("out.m4a")});
    const auto tree = fileutil_test::tree_of(read_file(folder.file("out.m4a")));
    const auto* const entry = find<Mpeg4AudioSampleEntry>(*tree);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->channelCount, kChannels[configuration - 1]);
    EXPECT_EQ(entry->sampleRate, kRates[k] > 65535 ? 0 : kRates[k] * 65536);
    EXPECT_EQ(find<MediaHeaderBox>(*tree)->timescale, kRates[k]);
    EXPECT_EQ(find<MediaHeaderBox>(*tree)->duration, 1024u);
    const auto* const stream = find<ElementaryStreamDescriptorBox>(*tree)->descriptor.get();
    const auto* const config = stream->child<esds::DecoderConfigDescriptor>();
    EXPECT_EQ(config->objectType, 0x40);
    // AudioSpecificConfig: 5 bits of object type, 4 of rate, 4 of channels, 3 zeros.
    const unsigned bits = ((profile + 1) * 16 + k) * 16 + configuration;
    const Bytes info = {static_cast<uint8_t>(bits / 32), static_cast<uint8_t>(bits % 32 * 8)};
    EXPECT_EQ(config->child<esds::DecoderSpecificInfo>()->info, info);
  }
}

} // namespace
