// The reader's overloads: what is read of each payload.

#include "fileutil/reader/payload.h"

namespace fileutil {

// ---- what a file and its tracks are --------------------------------------------------------------------------------

void BoxReader::visit(FileTypeBox* box) {
  Payload payload(*this, box);
  payload.fields(InFileOrder{box->majorBrand}, box->minorVersion);
  constexpr uint64_t kMostBrands = 100;
  const uint64_t count = payload.remaining() / sizeof(FourCC);
  if (count >= kMostBrands) return;
  Bytes brands;
  payload.bytes(count * sizeof(FourCC), brands);
  box->compatibleBrands.resize(brands.size() / sizeof(FourCC));
  std::copy_n(brands.data(), box->compatibleBrands.size() * sizeof(FourCC),
              reinterpret_cast<uint8_t*>(box->compatibleBrands.data()));
}

void BoxReader::visit(MovieHeaderBox* box) {
  Payload(*this, box)
      .header(box, box->creationTime, box->modificationTime, box->timescale, box->duration, box->rate, box->volume,
              box->reserved, box->reservedWords, box->matrix, box->preDefined, box->nextTrackId);
}

void BoxReader::visit(TrackHeaderBox* box) {
  Payload(*this, box)
      .header(box, box->creationTime, box->modificationTime, box->trackId, box->reserved, box->duration,
              box->reservedWords, box->layer, box->alternateGroup, box->volume, box->reservedAfterVolume, box->matrix,
              box->width, box->height);
}

void BoxReader::visit(MediaHeaderBox* box) {
  Payload(*this, box)
      .header(box, box->creationTime, box->modificationTime, box->timescale, box->duration, box->language,
              box->preDefined);
}

void BoxReader::visit(MediaHandlerReferenceBox* box) {
  Payload payload(*this, box);
  payload.fields(box->versionFlags, box->preDefined, InFileOrder{box->handlerType}, box->reserved);
  payload.rest(box->name);
}

void BoxReader::visit(SoundMediaInfoHeaderBox* box) {
  Payload(*this, box).fields(box->versionFlags, box->balance, box->reserved);
}

// ---- containers with fields of their own ---------------------------------------------------------------------------

void BoxReader::visit(MetaBox* box) {
  Payload payload(*this, box);
  if (payload.remaining() >= box->versionFlags.size()) payload.fields(box->versionFlags);
  readChildren(box, Place::meta);
}

void BoxReader::visit(DataReferenceBox* box) {
  Payload(*this, box).fields(box->versionFlags, box->entryCount);
  readChildren(box, Place::anywhere);
}

void BoxReader::visit(SampleDescriptionBox* box) {
  Payload(*this, box).fields(box->versionFlags, box->entryCount);
  stsdVersion_ = box->version();
  readChildren(box, Place::anywhere);
}

/// A QuickTime sound description of version 1 or 2 has more fields in front of its children; that of ISO/IEC 14496-12
/// with version 1, which is told by the version of "stsd", does not.
void BoxReader::visit(Mpeg4AudioSampleEntry* box) {
  Payload payload(*this, box);
  payload.fields(box->reserved, box->dataReferenceIndex, box->reservedForSound, box->channelCount, box->sampleSize,
                 box->preDefined, box->reservedAfterSize, box->sampleRate);
  const uint16_t version = stsdVersion_ == 0 ? bigEndian<uint16_t>(box->reservedForSound.data()) : 0;
  payload.bytes(version == 1 ? 16 : version == 2 ? 36 : 0, box->quickTimeFields);
  readChildren(box, Place::anywhere);
}

void BoxReader::visit(PNGSampleEntryBox* box) {
  Payload payload(*this, box);
  payload.fields(box->reserved, box->dataReferenceIndex);
  payload.rest(box->payload);
}

// ---- tables of samples ---------------------------------------------------------------------------------------------

void BoxReader::visit(TimeToSampleBox* box) {
  Payload payload(*this, box);
  uint32_t count = 0;
  payload.fields(box->versionFlags, count);
  payload.table<uint32_t>(count, box->entries);
}

/// The count is not believed: the table is what remains.
void BoxReader::visit(SampleToChunkBox* box) {
  Payload payload(*this, box);
  uint32_t count = 0;
  payload.fields(box->versionFlags, count);
  payload.table<uint32_t>(box->entries);
}

void BoxReader::visit(SampleSizeBox* box) {
  Payload payload(*this, box);
  payload.fields(box->versionFlags, box->commonSize, box->sampleCount);
  payload.table<uint32_t>(box->sizes);
}

namespace {

/// Where the count is not what remains, the offsets are zeros, for which bytes must be there all the same.
template <class Offset>
void readOffsets(Payload payload, ChunkOffsets<Offset>* box) {
  uint32_t count = 0;
  const bool hasCount = payload.fields(box->versionFlags, count);
  const bool agrees = hasCount && payload.remaining() == uint64_t{count} * sizeof(Offset);
  payload.table<Offset>(count, box->offsets);
  box->isComplete = agrees && box->offsets.size() == count;
  if (!agrees) std::fill(box->offsets.begin(), box->offsets.end(), Offset{0});
}

} // namespace

void BoxReader::visit(ChunkOffsetBox* box) { readOffsets(Payload(*this, box), box); }
void BoxReader::visit(ChunkLargeOffsetBox* box) { readOffsets(Payload(*this, box), box); }

void BoxReader::visit(MediaDataBox* box) {
  box->payloadStart = bytesRead_;
  box->payloadEnd = box->position() + box->size();
}

// ---- descriptors and tags ------------------------------------------------------------------------------------------

void BoxReader::visit(ElementaryStreamDescriptorBox* box) { readDescriptor(box); }
void BoxReader::visit(InitialObjectDescriptorBox* box) { readDescriptor(box); }

void BoxReader::readDescriptor(DescriptorBox* box) {
  Payload payload(*this, box);
  payload.fields(box->versionFlags);
  const auto limit = static_cast<uint32_t>(std::min<uint64_t>(payload.remaining(), UINT32_MAX));
  box->descriptor =
      payload.parsed([=](std::istream& in, uint64_t& consumed) { return esds::readDescriptor(in, limit, consumed); });
}

void BoxReader::visit(ID3v2MetaBox* box) {
  Payload payload(*this, box);
  payload.fields(box->versionFlags, box->language);
  constexpr uint64_t kTagHeader = 10;
  const uint64_t tagBytes = payload.remaining();
  std::array<uint8_t, 3> id{};
  if (tagBytes < kTagHeader || !payload.fields(id) || id != std::array<uint8_t, 3>{'I', 'D', '3'}) return;
  box->tag =
      payload.parsed([=](std::istream& in, uint64_t& consumed) { return id3meta::readTag(in, tagBytes, consumed); });
}

// ---- metadata ------------------------------------------------------------------------------------------------------

/// The indicator has been read to choose the class.
void BoxReader::visitData(IDataBox* box) {
  Payload payload(*this, box);
  if (payload.remaining() >= box->locale.size()) payload.fields(box->locale);
  payload.rest(box->value);
}

void BoxReader::visitAsset(IThreeGPPAssetMetaBox* box) {
  Payload payload(*this, box);
  payload.fields(box->versionFlags, box->language);
  payload.rest(box->text);
}

void BoxReader::visit(ID3v23MetaDataBox* box) {
  Payload payload(*this, box);
  payload.fields(box->versionFlags, box->language);
  payload.rest(box->frame);
}

// ---- bytes, behind the version word where there is one -------------------------------------------------------------

namespace {

void readVersioned(Payload payload, FullBox* box, Bytes& bytes) {
  payload.fields(box->versionFlags);
  payload.rest(bytes);
}

} // namespace

void BoxReader::visitTag(ITagBox* box) { readVersioned(Payload(*this, box), box, box->text); }
void BoxReader::visit(UrlBox* box) { readVersioned(Payload(*this, box), box, box->location); }
void BoxReader::visit(RecordingYearBox* box) { readVersioned(Payload(*this, box), box, box->payload); }
void BoxReader::visit(MetaDataSampleManagerHeaderBox* box) { readVersioned(Payload(*this, box), box, box->payload); }
void BoxReader::visit(MetaDataSampleTableBox* box) { readVersioned(Payload(*this, box), box, box->payload); }
void BoxReader::visit(MetaTypeDefinitionBox* box) { Payload(*this, box).rest(box->payload); }
void BoxReader::visit(MetaDataBox* box) { Payload(*this, box).rest(box->payload); }
void BoxReader::visit(MetaDataSampleData* box) { Payload(*this, box).rest(box->payload); }

} // namespace fileutil
