// How long PrepareWrite plans the payload of each class: as many bytes as BoxWriter writes.
#include "fileutil/writer/field_bytes.h"

#include "qv/mp4/prepare_write.h"

#include <algorithm>

namespace fileutil {

namespace {

constexpr uint64_t kVersionFlags = 4;

template <class Box>
uint64_t timedHeader(const Box* box, uint64_t fields) {
  return kVersionFlags + (holdsBytes(box) ? box->payload.size() : fields);
}

} // namespace

void PrepareWrite::visit(FileTypeBox* box) { planLeaf(box, 8 + 4 * uint64_t{box->compatibleBrands.size()}); }
void PrepareWrite::visit(MovieHeaderBox* box) { planLeaf(box, timedHeader(box, 96)); }
void PrepareWrite::visit(TrackHeaderBox* box) { planLeaf(box, timedHeader(box, 80)); }
void PrepareWrite::visit(MediaHeaderBox* box) { planLeaf(box, timedHeader(box, 20)); }
void PrepareWrite::visit(MediaHandlerReferenceBox* box) { planLeaf(box, kVersionFlags + 20 + box->name.size()); }
void PrepareWrite::visit(SoundMediaInfoHeaderBox* box) { planLeaf(box, kVersionFlags + 4); }
void PrepareWrite::visit(UrlBox* box) { planLeaf(box, kVersionFlags + box->location.size()); }
void PrepareWrite::visit(RecordingYearBox* box) { planLeaf(box, kVersionFlags + box->payload.size()); }
void PrepareWrite::visitTag(ITagBox* box) { planLeaf(box, kVersionFlags + box->text.size()); }
void PrepareWrite::visitData(IDataBox* box) { planLeaf(box, 8 + box->value.size()); }
void PrepareWrite::visitAsset(IThreeGPPAssetMetaBox* box) { planLeaf(box, kVersionFlags + 2 + box->text.size()); }

void PrepareWrite::visit(TimeToSampleBox* box) { planLeaf(box, 8 + 8 * uint64_t{box->entries.size()}); }
void PrepareWrite::visit(SampleToChunkBox* box) { planLeaf(box, 8 + 12 * uint64_t{box->entries.size()}); }
void PrepareWrite::visit(SampleSizeBox* box) { planLeaf(box, 12 + 4 * uint64_t{box->sizes.size()}); }
void PrepareWrite::visit(ChunkOffsetBox* box) { planLeaf(box, 8 + 4 * uint64_t{box->offsets.size()}); }
void PrepareWrite::visit(ChunkLargeOffsetBox* box) { planLeaf(box, 8 + 8 * uint64_t{box->offsets.size()}); }

void PrepareWrite::visit(MetaBox* box) { planContainer(box, kVersionFlags); }
void PrepareWrite::visit(SampleDescriptionBox* box) { planContainer(box, kVersionFlags + 4); }
void PrepareWrite::visit(DataReferenceBox* box) { planContainer(box, kVersionFlags + 4); }
void PrepareWrite::visit(Mpeg4AudioSampleEntry* box) { planContainer(box, 28 + box->quickTimeFields.size()); }
void PrepareWrite::visit(UserSpecificMetaData* box) { planContainer(box, sizeof(GUID)); }
void PrepareWrite::visit(MetaDataContainerBox* box) { planContainer(box, sizeof(GUID)); }

void PrepareWrite::visit(ID3v23MetaDataBox* box) {
  planLeaf(box, sizeof(GUID) + kVersionFlags + 2 + box->frame.size());
}

void PrepareWrite::visit(ElementaryStreamDescriptorBox* box) {
  planLeaf(box, kVersionFlags + esds::prepareDescriptor(box->descriptor.get()));
}

void PrepareWrite::visit(InitialObjectDescriptorBox* box) {
  planLeaf(box, kVersionFlags + esds::prepareDescriptor(box->descriptor.get()));
}

void PrepareWrite::visit(ID3v2MetaBox* box) {
  constexpr uint64_t kTagHeader = 10;
  if (box->tag == nullptr) return planLeaf(box, kVersionFlags + 2);
  const uint64_t frames = id3meta::frameBytes(*box->tag);
  planLeaf(box, kVersionFlags + 2 + kTagHeader + frames);
  uint64_t position = currentPos_ - frames;
  for (const auto& frame : box->tag->frames) {
    frame->plannedPosition = position;
    position += 10 + frame->size();
  }
  // A number past what the tag's field holds stays past it, and fails when it is written.
  box->tag->size = static_cast<uint32_t>(std::min<uint64_t>(frames, ~uint32_t{0}));
}

// Nothing writes these.
void PrepareWrite::visit(ContainerBox<QvFourCC("MTSM")>* /*box*/) {}
void PrepareWrite::visit(PNGSampleEntryBox* /*box*/) {}

} // namespace fileutil
