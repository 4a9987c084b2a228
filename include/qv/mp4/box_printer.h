// What boxes hold, in words: a tree told to a report, from which text, JSON or anything else is made.
#pragma once

#include "qv/mp4/boxes.h"

#include <functional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace fileutil {

/// A type as text, one character for each byte: A9 is "©", other bytes that cannot be printed and the backslash are
/// "\xNN". UTF-8.
QV_API std::string boxTypeText(FourCC type);

/// A table of numbers that may have millions of rows: what is not asked for costs nothing. It refers to its box.
struct BoxTable {
  std::vector<const char*> columns; ///< names; one that is "" where a row is one number
  size_t rows = 0;
  std::function<uint64_t(size_t row, size_t column)> at;
};

/// The value of a field: a number, a text in UTF-8 as far as the file's is text, several texts, bytes, or a table.
/// Bytes and table refer to the box.
using BoxValue =
    std::variant<uint64_t, int64_t, double, std::string, std::vector<std::string>, std::span<const uint8_t>, BoxTable>;

/// What BoxPrinter tells, in the order of the file: for each box its beginning, its fields, its children as boxes, its
/// end. Names are as in the standards, in small letters; those of parts are the standards' own.
class QV_API IBoxReport {
public:
  virtual ~IBoxReport() = default;
  /// Type, position, size and header size are the box's own.
  virtual void beginBox(const IBox& box) = 0;
  virtual void field(const char* name, const BoxValue& value) = 0;
  /// What stands inside a box and is none itself: fields follow, and parts inside. `group` is what such parts are
  /// called together, "descriptors" or "frames".
  virtual void beginPart(const char* group, const std::string& name) = 0;
  virtual void endPart() = 0;
  virtual void endBox() = 0;
};

/// Tells a report of a tree. Neither is changed but by the report itself; both stay the caller's.
class QV_API BoxPrinter : public BoxVisitor {
public:
  using BoxVisitor::visit;
  static constexpr unsigned kEveryLevel = ~0U;

  /// Tells of `levels` levels, at least one; the file's own list is the first.
  BoxPrinter(Boxes* root, IBoxReport& report, unsigned levels = kEveryLevel);
  ~BoxPrinter() override;

  void doIt();

  void visit(FileTypeBox* box) override;
  void visit(MovieHeaderBox* box) override;
  void visit(TrackHeaderBox* box) override;
  void visit(MediaHeaderBox* box) override;
  void visit(MediaHandlerReferenceBox* box) override;
  void visit(SoundMediaInfoHeaderBox* box) override;
  void visit(DataReferenceBox* box) override;
  void visit(UrlBox* box) override;
  void visit(SampleDescriptionBox* box) override;
  void visit(Mpeg4AudioSampleEntry* box) override;
  void visit(PNGSampleEntryBox* box) override;
  void visit(ElementaryStreamDescriptorBox* box) override;
  void visit(InitialObjectDescriptorBox* box) override;
  void visit(TimeToSampleBox* box) override;
  void visit(SampleToChunkBox* box) override;
  void visit(SampleSizeBox* box) override;
  void visit(ChunkOffsetBox* box) override;
  void visit(ChunkLargeOffsetBox* box) override;
  void visit(MetaBox* box) override;
  void visit(ID3v2MetaBox* box) override;
  void visit(RecordingYearBox* box) override;
  void visit(MetaDataSampleManagerHeaderBox* box) override;
  void visit(MetaTypeDefinitionBox* box) override;
  void visit(MetaDataSampleTableBox* box) override;
  void visit(MetaDataBox* box) override;
  void visit(UserSpecificMetaData* box) override;
  void visit(MetaDataContainerBox* box) override;
  void visit(MetaDataSampleData* box) override;
  void visit(ID3v23MetaDataBox* box) override;
  void visit(UnknownGuidBox* box) override;

protected:
  void visitContainer(IContainerBox* box) override;
  void visitData(IDataBox* box) override;
  void visitTag(ITagBox* box) override;
  void visitAsset(IThreeGPPAssetMetaBox* box) override;

private:
  void print(Boxes& boxes);
  void versionFlags(const std::array<uint8_t, 4>& word);
  void field(const char* name, const BoxValue& value) { report_.field(name, value); }
  void number(const char* name, uint64_t value) { report_.field(name, value); }
  void offsets(const IChunkOffsetBox& box);
  void sampleEntry(const SampleEntry& entry);
  void descriptors(DescriptorBox* box);

  Boxes* root_;
  IBoxReport& report_;
  unsigned levelsLeft_;
};

} // namespace fileutil
