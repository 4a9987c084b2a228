// What BoxWriter writes behind the header of each class, except for the sample tables.
#include "fileutil/writer/field_bytes.h"

#include "qv/mp4/box_writer.h"

namespace fileutil {

void BoxWriter::visit(FileTypeBox* box) {
  Bytes bytes = fieldBytes(Code(box->majorBrand), box->minorVersion);
  for (const FourCC brand : box->compatibleBrands)
    append(bytes, Code(brand));
  writeBytes(bytes);
}

void BoxWriter::visit(MovieHeaderBox* box) {
  if (holdsBytes(box)) return writeBytes(fieldBytes(box->versionFlags, box->payload));
  writeBytes(fieldBytes(box->versionFlags, box->creationTime, box->modificationTime, box->timescale, box->duration,
                        box->rate, box->volume, box->reserved, box->reservedWords, box->matrix, box->preDefined,
                        box->nextTrackId));
}

void BoxWriter::visit(TrackHeaderBox* box) {
  if (holdsBytes(box)) return writeBytes(fieldBytes(box->versionFlags, box->payload));
  writeBytes(fieldBytes(box->versionFlags, box->creationTime, box->modificationTime, box->trackId, box->reserved,
                        box->duration, box->reservedWords, box->layer, box->alternateGroup, box->volume,
                        box->reservedAfterVolume, box->matrix, box->width, box->height));
}

void BoxWriter::visit(MediaHeaderBox* box) {
  if (holdsBytes(box)) return writeBytes(fieldBytes(box->versionFlags, box->payload));
  writeBytes(fieldBytes(box->versionFlags, box->creationTime, box->modificationTime, box->timescale, box->duration,
                        box->language, box->preDefined));
}

void BoxWriter::visit(MediaHandlerReferenceBox* box) {
  writeBytes(fieldBytes(box->versionFlags, box->preDefined, Code(box->handlerType), box->reserved, box->name));
}

void BoxWriter::visit(SoundMediaInfoHeaderBox* box) {
  writeBytes(fieldBytes(box->versionFlags, box->balance, box->reserved));
}

void BoxWriter::visit(UrlBox* box) { writeBytes(fieldBytes(box->versionFlags, box->location)); }
void BoxWriter::visit(RecordingYearBox* box) { writeBytes(fieldBytes(box->versionFlags, box->payload)); }
void BoxWriter::visitTag(ITagBox* box) { writeBytes(fieldBytes(box->versionFlags, box->text)); }
void BoxWriter::visitData(IDataBox* box) { writeBytes(fieldBytes(box->typeIndicator(), box->locale, box->value)); }

void BoxWriter::visitAsset(IThreeGPPAssetMetaBox* box) {
  writeBytes(fieldBytes(box->versionFlags, box->language, box->text));
}

void BoxWriter::visit(ID3v2MetaBox* box) {
  writeBytes(fieldBytes(box->versionFlags, box->language));
  if (box->tag != nullptr) addBytesWritten(id3meta::writeTag(out_, *box->tag));
}

void BoxWriter::visit(ID3v23MetaDataBox* box) {
  writeBytes(fieldBytes(box->extendedType, box->versionFlags, box->language, box->frame));
}

// ---- fields in front of children -----------------------------------------------------------------------------------

void BoxWriter::visit(MetaBox* box) {
  writeBytes(box->versionFlags);
  visitContainer(box);
}

void BoxWriter::visit(DataReferenceBox* box) {
  writeBytes(fieldBytes(box->versionFlags, box->entryCount));
  visitContainer(box);
}

void BoxWriter::visit(SampleDescriptionBox* box) {
  box->entryCount = static_cast<uint32_t>(box->children().size());
  writeBytes(fieldBytes(box->versionFlags, box->entryCount));
  visitContainer(box);
}

void BoxWriter::visit(Mpeg4AudioSampleEntry* box) {
  writeBytes(fieldBytes(box->reserved, box->dataReferenceIndex, box->reservedForSound, box->channelCount,
                        box->sampleSize, box->preDefined, box->reservedAfterSize, box->sampleRate,
                        box->quickTimeFields));
  visitContainer(box);
}

void BoxWriter::visit(UserSpecificMetaData* box) {
  writeBytes(fieldBytes(box->extendedType));
  visitContainer(box);
}

void BoxWriter::visit(MetaDataContainerBox* box) {
  writeBytes(fieldBytes(box->extendedType));
  visitContainer(box);
}

// ---- descriptors ---------------------------------------------------------------------------------------------------

void BoxWriter::visit(ElementaryStreamDescriptorBox* box) { writeDescriptors(box); }
void BoxWriter::visit(InitialObjectDescriptorBox* box) { writeDescriptors(box); }

void BoxWriter::writeDescriptors(DescriptorBox* box) {
  writeBytes(box->versionFlags);
  addBytesWritten(esds::writeDescriptor(out_, box->descriptor.get()));
}

} // namespace fileutil
