#include "qv/mp4/track_writer.h"

#include <memory>
#include <string_view>

namespace fileutil {
namespace {

constexpr uint32_t kMovieTimescale = 600;
constexpr uint8_t kSelfContained = 1;   // flags of "url ": the media is in the same file
constexpr uint8_t kEnabledInMovie = 3;  // flags of "tkhd"
constexpr uint16_t kFullVolume = 0x100; // 8.8
constexpr std::string_view kHandlerName("SoundHandler\0", 13);

/// Appends a new box and gives it to be filled.
template <class Box>
Box& add(Boxes& list) {
  auto* const box = new Box;
  list.push_back(box);
  return *box;
}

template <class Box>
Boxes& add_container(Boxes& list) {
  return add<Box>(list).children();
}

void add_file_type(Boxes& tree) {
  auto& type = add<FileTypeBox>(tree);
  type.majorBrand = QvFourCC("M4A ");
  type.compatibleBrands = {QvFourCC("M4A "), QvFourCC("isom"), QvFourCC("mp42")};
}

void add_movie_header(Boxes& movie) {
  auto& header = add<MovieHeaderBox>(movie);
  header.timescale = kMovieTimescale;
  header.nextTrackId = 2;
}

void add_track_header(Boxes& track) {
  auto& header = add<TrackHeaderBox>(track);
  header.versionFlags[3] = kEnabledInMovie;
  header.trackId = 1;
  header.volume = kFullVolume;
}

void add_media_headers(Boxes& media, uint32_t sample_rate) {
  add<MediaHeaderBox>(media).timescale = sample_rate;
  auto& handler = add<MediaHandlerReferenceBox>(media);
  handler.handlerType = QvFourCC("soun");
  handler.name.assign(kHandlerName.begin(), kHandlerName.end());
}

void add_data_reference(Boxes& information) {
  auto& references = add<DataReferenceBox>(add_container<DataInformationBox>(information));
  references.entryCount = 1;
  add<UrlBox>(references.children()).versionFlags[3] = kSelfContained;
}

void add_description(Boxes& tables, uint32_t sample_rate, uint16_t channels, const Bytes& config) {
  auto& description = add<SampleDescriptionBox>(tables);
  description.entryCount = 1;
  auto& entry = add<Mpeg4AudioSampleEntry>(description.children());
  entry.channelCount = channels;
  entry.sampleRate = sample_rate <= UINT16_MAX ? sample_rate << 16 : 0;
  auto stream = std::make_unique<esds::ElementaryStreamDescriptor>();
  stream->init({}, config);
  add<ElementaryStreamDescriptorBox>(entry.children()).descriptor = std::move(stream);
}

} // namespace

Boxes* makeAudioTree(uint32_t sampleRate, uint16_t channels, const Bytes& decoderSpecificInfo, OffsetWidth width) {
  auto tree = std::make_unique<Boxes>();
  add_file_type(*tree);
  Boxes& movie = add_container<MovieBox>(*tree);
  add_movie_header(movie);
  Boxes& track = add_container<TrackBox>(movie);
  add_track_header(track);
  Boxes& media = add_container<MediaBox>(track);
  add_media_headers(media, sampleRate);
  Boxes& information = add_container<MediaInformationBox>(media);
  add<SoundMediaInfoHeaderBox>(information);
  add_data_reference(information);
  Boxes& tables = add_container<SampleTableBox>(information);
  add_description(tables, sampleRate, channels, decoderSpecificInfo);
  add<TimeToSampleBox>(tables);
  add<SampleToChunkBox>(tables);
  add<SampleSizeBox>(tables);
  width == OffsetWidth::k32 ? void(add<ChunkOffsetBox>(tables)) : void(add<ChunkLargeOffsetBox>(tables));
  add<FreeBox>(*tree).setSize(8);
  add<MediaDataBox>(*tree);
  return tree.release();
}

} // namespace fileutil
