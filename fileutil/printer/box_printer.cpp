// The tree, and what boxes of metadata hold.
#include "qv/mp4/box_printer.h"

#include "fileutil/printer/field_text.h"

namespace fileutil {

BoxPrinter::BoxPrinter(Boxes* root, IBoxReport& report, unsigned levels)
    : root_(root), report_(report), levelsLeft_(levels) {}

BoxPrinter::~BoxPrinter() = default;

void BoxPrinter::doIt() { print(*root_); }

void BoxPrinter::print(Boxes& boxes) {
  for (IBox* box : boxes) {
    report_.beginBox(*box);
    box->accept(this);
    report_.endBox();
  }
}

void BoxPrinter::visitContainer(IContainerBox* box) {
  if (levelsLeft_ <= 1) return;
  --levelsLeft_;
  print(box->children());
  ++levelsLeft_;
}

void BoxPrinter::versionFlags(const std::array<uint8_t, 4>& word) {
  number("version", word[0]);
  number("flags", uint32_t{word[1]} << 16 | uint32_t{word[2]} << 8 | word[3]);
}

void BoxPrinter::visit(MetaBox* box) {
  versionFlags(box->versionFlags);
  visitContainer(box);
}

namespace {

/// A big-endian number of one to eight bytes.
uint64_t unsignedNumber(const Bytes& value) {
  uint64_t number = 0;
  for (const uint8_t byte : value)
    number = number << 8 | byte;
  return number;
}

int64_t signedNumber(const Bytes& value) {
  const bool isNegative = value[0] >= 0x80;
  const uint64_t above = isNegative && value.size() < 8 ? ~uint64_t{0} << 8 * value.size() : 0;
  return static_cast<int64_t>(unsignedNumber(value) | above);
}

} // namespace

// Well-known types of values: 1 UTF-8, 2 UTF-16, 13, 14, 27 pictures, 21 and 22 integers with and without sign.
void BoxPrinter::visitData(IDataBox* box) {
  const uint32_t type = box->typeIndicator();
  number("type_indicator", type);
  number("locale", uint32_t{box->locale[0]} << 24 | uint32_t{box->locale[1]} << 16 | uint32_t{box->locale[2]} << 8 |
                       box->locale[3]);
  const bool isInteger = !box->value.empty() && box->value.size() <= 8;
  if (type == 1)
    field("value", std::string(box->value.begin(), box->value.end()));
  else if (type == 2)
    field("value", utf16Text(box->value));
  else if (type == 21 && isInteger)
    field("value", signedNumber(box->value));
  else if (type == 22 && isInteger)
    number("value", unsignedNumber(box->value));
  else
    field("value", std::span<const uint8_t>(box->value));
}

void BoxPrinter::visitTag(ITagBox* box) {
  versionFlags(box->versionFlags);
  field("text", std::string(box->text.begin(), box->text.end()));
}

void BoxPrinter::visitAsset(IThreeGPPAssetMetaBox* box) {
  versionFlags(box->versionFlags);
  field("language", languageText(box->language));
  field("text", storedText(box->text));
}

void BoxPrinter::visit(RecordingYearBox* box) {
  versionFlags(box->versionFlags);
  if (box->payload.size() >= 2)
    number("year", uint32_t{box->payload[0]} << 8 | box->payload[1]);
  else
    field("payload", std::span<const uint8_t>(box->payload));
}

void BoxPrinter::visit(ID3v2MetaBox* box) {
  versionFlags(box->versionFlags);
  field("language", languageText(box->language));
  if (box->tag == nullptr) return;
  field("tag_version", "2." + std::to_string(box->tag->version.major) + "." + std::to_string(box->tag->version.minor));
  number("tag_flags", box->tag->flags);
  number("tag_size", box->tag->size);
  for (const auto& frame : box->tag->frames) {
    report_.beginPart("frames", boxTypeText(frame->id));
    number("flags", frame->flags);
    field("value", std::span<const uint8_t>(frame->bytes));
    report_.endPart();
  }
}

// ---- timed metadata and "uuid" -------------------------------------------------------------------------------------

void BoxPrinter::visit(MetaDataSampleManagerHeaderBox* box) {
  versionFlags(box->versionFlags);
  field("payload", std::span<const uint8_t>(box->payload));
}

void BoxPrinter::visit(MetaDataSampleTableBox* box) {
  versionFlags(box->versionFlags);
  field("payload", std::span<const uint8_t>(box->payload));
}

void BoxPrinter::visit(MetaTypeDefinitionBox* box) { field("payload", std::span<const uint8_t>(box->payload)); }
void BoxPrinter::visit(MetaDataBox* box) { field("payload", std::span<const uint8_t>(box->payload)); }

void BoxPrinter::visit(MetaDataSampleData* box) {
  field("extended_type", guidText(box->extendedType));
  field("payload", std::span<const uint8_t>(box->payload));
}

void BoxPrinter::visit(ID3v23MetaDataBox* box) {
  field("extended_type", guidText(box->extendedType));
  versionFlags(box->versionFlags);
  field("language", languageText(box->language));
  field("frame", std::span<const uint8_t>(box->frame));
}

void BoxPrinter::visit(UnknownGuidBox* box) { field("extended_type", guidText(box->extendedType)); }

void BoxPrinter::visit(UserSpecificMetaData* box) {
  field("extended_type", guidText(box->extendedType));
  visitContainer(box);
}

void BoxPrinter::visit(MetaDataContainerBox* box) {
  field("extended_type", guidText(box->extendedType));
  visitContainer(box);
}

} // namespace fileutil
