// A tree of boxes as a line of text, for tests to compare: "moov(udta(titl{0 55C4 'A'} ?xyz ))".
//
// A box is its type, "?" before it where it is unknown; its fields in braces; its children in parentheses, with "+N"
// where N bytes behind the last are in no box, and "!" where a limit left boxes out. "<N" says that the header has
// another size, N. A byte A9 is '@', other bytes that are no text are in hexadecimal.
#pragma once

#include "qv/mp4/boxes.h"

#include <cctype>
#include <cstring>
#include <string>

namespace fileutil_test {

using namespace fileutil;

class Describe : public BoxVisitor {
public:
  static std::string list(const Boxes& boxes) {
    Describe describe;
    describe.add(boxes);
    return describe.text_;
  }

  using BoxVisitor::visit;
  void visit(FileTypeBox* box) override {
    std::string brands;
    for (const FourCC brand : box->compatibleBrands)
      brands += "," + code(brand);
    leaf(box, code(box->majorBrand) + " " + bytes(box->minorVersion) + brands);
  }
  void visit(MovieHeaderBox* box) override {
    full(box, numbers(box->creationTime, box->modificationTime, box->timescale, box->duration, box->rate, box->volume,
                      box->reserved, box->reservedWords, box->matrix, box->preDefined, box->nextTrackId) +
                  bytes(box->payload));
  }
  void visit(TrackHeaderBox* box) override {
    full(box, numbers(box->creationTime, box->modificationTime, box->trackId, box->reserved, box->duration,
                      box->reservedWords, box->layer, box->alternateGroup, box->volume, box->reservedAfterVolume,
                      box->matrix, box->width, box->height) +
                  bytes(box->payload));
  }
  void visit(MediaHeaderBox* box) override {
    full(box, numbers(box->creationTime, box->modificationTime, box->timescale, box->duration, box->language,
                      box->preDefined) +
                  bytes(box->payload));
  }
  void visit(MediaHandlerReferenceBox* box) override {
    full(box,
         bytes(box->preDefined) + " " + code(box->handlerType) + " " + bytes(box->reserved) + " " + bytes(box->name));
  }
  void visit(SoundMediaInfoHeaderBox* box) override { full(box, numbers(box->balance, box->reserved)); }
  void visit(UrlBox* box) override { full(box, bytes(box->location)); }
  void visit(MetaBox* box) override { full(box, ""), children(box); }
  void visit(DataReferenceBox* box) override { full(box, numbers(box->entryCount)), children(box); }
  void visit(SampleDescriptionBox* box) override { full(box, numbers(box->entryCount)), children(box); }
  void visit(Mpeg4AudioSampleEntry* box) override {
    leaf(box, numbers(box->reserved, box->dataReferenceIndex, box->reservedForSound, box->channelCount, box->sampleSize,
                      box->preDefined, box->reservedAfterSize, box->sampleRate) +
                  bytes(box->quickTimeFields));
    children(box);
  }
  void visit(PNGSampleEntryBox* box) override {
    leaf(box, numbers(box->reserved, box->dataReferenceIndex) + bytes(box->payload));
  }
  void visit(ElementaryStreamDescriptorBox* box) override { full(box, descriptor(box)); }
  void visit(InitialObjectDescriptorBox* box) override { full(box, descriptor(box)); }
  void visit(TimeToSampleBox* box) override {
    std::string fields;
    for (const auto& entry : box->entries)
      fields += numbers(entry.sampleCount, entry.sampleDelta);
    full(box, fields);
  }
  void visit(SampleToChunkBox* box) override {
    std::string fields;
    for (const auto& entry : box->entries)
      fields += numbers(entry.firstChunk, entry.samplesPerChunk, entry.sampleDescriptionIndex);
    full(box, fields);
  }
  void visit(SampleSizeBox* box) override {
    full(box, numbers(box->commonSize, box->sampleCount) + ":" + all(box->sizes));
  }
  void visit(ChunkOffsetBox* box) override { full(box, all(box->offsets) + (box->isComplete ? "" : "incomplete")); }
  void visit(ChunkLargeOffsetBox* box) override {
    full(box, all(box->offsets) + (box->isComplete ? "" : "incomplete"));
  }
  void visit(MediaDataBox* box) override {
    leaf(box, std::to_string(box->payloadStart) + "-" + std::to_string(box->payloadEnd));
  }
  void visit(ID3v2MetaBox* box) override {
    std::string frames;
    if (box->tag != nullptr)
      for (const auto& frame : box->tag->frames)
        frames += " " + code(frame->id) + "=" + bytes(frame->bytes);
    full(box, numbers(box->language) + (box->tag == nullptr ? "no tag" : "tag" + frames));
  }
  void visit(RecordingYearBox* box) override { full(box, bytes(box->payload)); }
  void visit(MetaDataSampleManagerHeaderBox* box) override { full(box, bytes(box->payload)); }
  void visit(MetaDataSampleTableBox* box) override { full(box, bytes(box->payload)); }
  void visit(MetaTypeDefinitionBox* box) override { leaf(box, bytes(box->payload)); }
  void visit(MetaDataBox* box) override { leaf(box, bytes(box->payload)); }
  void visit(ID3v23MetaDataBox* box) override { full(box, numbers(box->language) + bytes(box->frame)); }
  void visit(UnknownGuidBox* box) override {
    char start[9];
    std::snprintf(start, sizeof start, "%08X", static_cast<unsigned>(box->extendedType.Data1));
    unknown(box, start);
  }
  void visit(UnknownBox* box) override { unknown(box, ""); }
  void visit(UnknownItemBox* box) override {
    unknown(box, "");
    children(box);
  }
  void visit(UnknownDataBox* box) override {
    text_ += '?';
    visitData(box);
  }

protected:
  void visitContainer(IContainerBox* box) override { leaf(box, ""), children(box); }
  void visitLeaf(IBox* box) override { leaf(box, ""); }
  void visitTag(ITagBox* box) override { full(box, bytes(box->text)); }
  void visitData(IDataBox* box) override {
    leaf(box, std::to_string(box->typeIndicator()) + " " + bytes(box->locale) + " " + bytes(box->value));
  }
  void visitAsset(IThreeGPPAssetMetaBox* box) override { full(box, numbers(box->language) + bytes(box->text)); }

private:
  static std::string code(FourCC type) {
    std::string text(4, ' ');
    std::memcpy(text.data(), &type, 4);
    for (char& character : text)
      character = character == '\xA9' ? '@' : std::isprint(static_cast<unsigned char>(character)) ? character : '.';
    return text;
  }
  template <class Container>
  static std::string bytes(const Container& from) {
    std::string text;
    for (const uint8_t byte : from) {
      char digits[3];
      std::snprintf(digits, sizeof digits, "%02X", byte);
      text += digits;
    }
    return text;
  }
  template <class Numbers>
  static std::string all(const Numbers& from) {
    std::string text;
    for (const auto number : from)
      text += std::to_string(number) + " ";
    return text;
  }
  template <class Number>
  static std::string one(const Number& number) {
    if constexpr (requires { number.size(); })
      return all(number);
    else
      return std::to_string(number) + " ";
  }
  template <class... Numbers>
  static std::string numbers(const Numbers&... number) {
    return (one(number) + ...);
  }
  static std::string descriptor(const DescriptorBox* box) {
    if (box->descriptor == nullptr) return "none";
    std::string tags = std::to_string(box->descriptor->tag());
    for (const auto& child : box->descriptor->children())
      tags += " " + std::to_string(child->tag());
    return tags;
  }

  void leaf(const IBox* box, const std::string& fields) {
    text_ += code(box->type());
    if (box->sizeInHeader() != box->size()) text_ += "<" + std::to_string(box->sizeInHeader());
    if (!fields.empty()) text_ += "{" + fields.substr(0, fields.find_last_not_of(' ') + 1) + "}";
  }
  template <class Box>
  void full(const Box* box, const std::string& fields) {
    uint32_t version = 0;
    for (const uint8_t byte : box->versionFlags)
      version = version << 8 | byte;
    leaf(box, std::to_string(version) + (fields.empty() ? "" : " " + fields));
  }
  void unknown(const IBox* box, const std::string& fields) {
    text_ += '?';
    leaf(box, fields);
  }
  void children(const IContainerBox* box) {
    text_ += '(';
    add(box->children());
    text_ += ')';
  }
  void add(const Boxes& boxes) {
    const char* separator = "";
    for (IBox* box : boxes) {
      text_ += separator;
      box->accept(this);
      separator = " ";
    }
    if (boxes.tailSize != 0) text_ += "+" + std::to_string(boxes.tailSize);
    if (boxes.isLimited) text_ += '!';
  }

  std::string text_;
};

} // namespace fileutil_test
