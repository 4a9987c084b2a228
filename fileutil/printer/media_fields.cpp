// What the boxes hold that describe a file, its tracks and their samples.
#include "fileutil/printer/field_text.h"

#include "qv/mp4/box_printer.h"

namespace fileutil {

namespace {

/// Numbers of 16 bits whose lower half is the fraction, and of 8.
double fixed16(uint32_t value) { return value / 65536.0; }
double fixed8(uint16_t value) { return static_cast<int16_t>(value) / 256.0; }

template <size_t kCount>
BoxTable tableOf(const std::array<uint32_t, kCount>& numbers) {
  return {{""}, kCount, [&](size_t row, size_t /*column*/) { return numbers[row]; }};
}

/// The big-endian number at a place in bytes; 0 where they end before.
uint64_t numberAt(const Bytes& bytes, size_t at, size_t width) {
  uint64_t number = 0;
  for (size_t k = at; k < at + width && at + width <= bytes.size(); ++k)
    number = number << 8 | bytes[k];
  return number;
}

/// Times and durations of version 1, which stand in the payload with 64 bits.
struct LongTimes {
  explicit LongTimes(const Bytes& payload, size_t beforeDuration)
      : creation(numberAt(payload, 0, 8)), modification(numberAt(payload, 8, 8)),
        first(static_cast<uint32_t>(numberAt(payload, 16, 4))), duration(numberAt(payload, 16 + beforeDuration, 8)) {}
  uint64_t creation, modification;
  uint32_t first; ///< what stands behind the times: timescale, or the track's id
  uint64_t duration;
};

/// Another version than 0 and 1, or too short for its fields.
template <class Box>
bool isOfNoKnownForm(const Box* box) {
  return box->version() > 1 || (box->version() == 0 && !box->payload.empty());
}

} // namespace

void BoxPrinter::visit(FileTypeBox* box) {
  field("major_brand", boxTypeText(box->majorBrand));
  number("minor_version", numberAt({box->minorVersion.begin(), box->minorVersion.end()}, 0, 4));
  std::vector<std::string> brands;
  for (const FourCC brand : box->compatibleBrands)
    brands.push_back(boxTypeText(brand));
  field("compatible_brands", brands);
}

void BoxPrinter::visit(MovieHeaderBox* box) {
  versionFlags(box->versionFlags);
  const bool isLong = box->version() == 1;
  const LongTimes times(box->payload, 4);
  if (isOfNoKnownForm(box)) return field("payload", std::span<const uint8_t>(box->payload));
  number("creation_time", isLong ? times.creation : box->creationTime);
  number("modification_time", isLong ? times.modification : box->modificationTime);
  number("timescale", isLong ? times.first : box->timescale);
  number("duration", isLong ? times.duration : box->duration);
  if (isLong) return;
  field("rate", fixed16(box->rate));
  field("volume", fixed8(box->volume));
  field("matrix", tableOf(box->matrix));
  number("next_track_id", box->nextTrackId);
}

void BoxPrinter::visit(TrackHeaderBox* box) {
  versionFlags(box->versionFlags);
  const bool isLong = box->version() == 1;
  const LongTimes times(box->payload, 8);
  if (isOfNoKnownForm(box)) return field("payload", std::span<const uint8_t>(box->payload));
  number("creation_time", isLong ? times.creation : box->creationTime);
  number("modification_time", isLong ? times.modification : box->modificationTime);
  number("track_id", isLong ? times.first : box->trackId);
  number("duration", isLong ? times.duration : box->duration);
  if (isLong) return;
  field("layer", int64_t{static_cast<int16_t>(box->layer)});
  number("alternate_group", box->alternateGroup);
  field("volume", fixed8(box->volume));
  field("matrix", tableOf(box->matrix));
  field("width", fixed16(box->width));
  field("height", fixed16(box->height));
}

void BoxPrinter::visit(MediaHeaderBox* box) {
  versionFlags(box->versionFlags);
  const bool isLong = box->version() == 1;
  const LongTimes times(box->payload, 4);
  if (isOfNoKnownForm(box)) return field("payload", std::span<const uint8_t>(box->payload));
  number("creation_time", isLong ? times.creation : box->creationTime);
  number("modification_time", isLong ? times.modification : box->modificationTime);
  number("timescale", isLong ? times.first : box->timescale);
  number("duration", isLong ? times.duration : box->duration);
  field("language", languageText(isLong ? static_cast<uint16_t>(numberAt(box->payload, 28, 2)) : box->language));
}

void BoxPrinter::visit(MediaHandlerReferenceBox* box) {
  versionFlags(box->versionFlags);
  field("handler_type", boxTypeText(box->handlerType));
  field("name", handlerName(box->name));
}

void BoxPrinter::visit(SoundMediaInfoHeaderBox* box) {
  versionFlags(box->versionFlags);
  field("balance", fixed8(box->balance));
}

void BoxPrinter::visit(DataReferenceBox* box) {
  versionFlags(box->versionFlags);
  number("entry_count", box->entryCount);
  visitContainer(box);
}

void BoxPrinter::visit(UrlBox* box) {
  versionFlags(box->versionFlags);
  field("location", storedText(box->location));
}

// ---- samples -------------------------------------------------------------------------------------------------------

void BoxPrinter::visit(SampleDescriptionBox* box) {
  versionFlags(box->versionFlags);
  number("entry_count", box->entryCount);
  visitContainer(box);
}

void BoxPrinter::sampleEntry(const SampleEntry& entry) { number("data_reference_index", entry.dataReferenceIndex); }

void BoxPrinter::visit(Mpeg4AudioSampleEntry* box) {
  sampleEntry(*box);
  number("channel_count", box->channelCount);
  number("sample_size", box->sampleSize);
  field("sample_rate", fixed16(box->sampleRate));
  visitContainer(box);
}

void BoxPrinter::visit(PNGSampleEntryBox* box) {
  sampleEntry(*box);
  field("payload", std::span<const uint8_t>(box->payload));
  visitContainer(box);
}

void BoxPrinter::visit(TimeToSampleBox* box) {
  versionFlags(box->versionFlags);
  field("entries", BoxTable{{"sample_count", "sample_delta"}, box->entries.size(), [=](size_t row, size_t column) {
                              const auto& entry = box->entries[row];
                              return column == 0 ? entry.sampleCount : entry.sampleDelta;
                            }});
}

void BoxPrinter::visit(SampleToChunkBox* box) {
  versionFlags(box->versionFlags);
  field("entries", BoxTable{{"first_chunk", "samples_per_chunk", "sample_description_index"},
                            box->entries.size(),
                            [=](size_t row, size_t column) {
                              const auto& entry = box->entries[row];
                              return column == 0   ? entry.firstChunk
                                     : column == 1 ? entry.samplesPerChunk
                                                   : entry.sampleDescriptionIndex;
                            }});
}

void BoxPrinter::visit(SampleSizeBox* box) {
  versionFlags(box->versionFlags);
  number("sample_size", box->commonSize);
  number("sample_count", box->sampleCount);
  field("sizes", BoxTable{{""}, box->sizes.size(), [=](size_t row, size_t /*column*/) { return box->sizes[row]; }});
}

void BoxPrinter::offsets(const IChunkOffsetBox& box) {
  versionFlags(box.versionFlags);
  field("offsets", BoxTable{{""}, box.offsetCount(), [&](size_t row, size_t /*column*/) { return box.offset(row); }});
}

void BoxPrinter::visit(ChunkOffsetBox* box) { offsets(*box); }
void BoxPrinter::visit(ChunkLargeOffsetBox* box) { offsets(*box); }

} // namespace fileutil
