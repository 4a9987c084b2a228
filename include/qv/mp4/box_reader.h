// Reading a tree of boxes.
//
//     fileutil::BoxReader reader(QV_TEXT("song.m4a"));
//     const std::unique_ptr<fileutil::Boxes> boxes(reader.readFile());
//
// No file fails to be read: a level of boxes ends at the first header that is cut short, does not fit into what the
// parent has left, or says a size that cannot be (below that of the header; 0, but for "mdat"); what was read until
// then is returned, and the parent's neighbours are found by their sizes. A box that claims more than its parent has
// left is clamped to that (IBox::sizeInHeader() keeps the claim). Boxes::tailSize and Boxes::isLimited tell what of a
// level is in no box, or was left out.
#pragma once

#include "qv/mp4/boxes.h"
#include "qv/mp4/data_handler.h"

namespace fileutil {

struct FactorySet;
class Payload;

/// One source for its life. A reader, and the copies of it, belong to one thread at a time. Constructors throw
/// std::bad_alloc, and what the caller's stream throws.
class QV_API BoxReader : public BoxVisitor {
public:
  /// Lists of boxes lie no deeper than this below the file's own; containers that would need a deeper one are
  /// UnknownBoxes.
  static constexpr uint32_t kMaxDepth = 32;

  /// Opens a file, as FileHandler does. Where that fails, in().in() has failed, and there are no boxes.
  explicit BoxReader(const WCHAR* path);
  explicit BoxReader(std::ifstream& in);
  BoxReader(std::istream& in, uint64_t length);
  /// Takes the source over.
  explicit BoxReader(std::unique_ptr<DataHandler> source);
  /// Shares the source, which lives as long as one of them; a read by one moves it for both.
  BoxReader(const BoxReader& other);
  BoxReader& operator=(const BoxReader&) = delete;
  ~BoxReader() override;

  DataHandler& in();

  /// Each reads the whole source, from its beginning where that can be sought and from where it stands otherwise, and
  /// returns a list that the caller owns; null only where there is no memory for the list itself. readFile() makes an
  /// object of every type that is known, readMeta() of what metadata is read from, readMetaForUpdate() of what changes
  /// when metadata does.
  Boxes* readFile();
  Boxes* readMeta();
  Boxes* readMetaForUpdate();

  /// Appends boxes from the current position to `list` until `limit` bytes are used, as the last of the functions above
  /// reads them, or readFile() where there was none. Returns the bytes that they take.
  uint64_t readBoxes(Boxes* list, uint64_t limit);
  /// Counts bytes read from the source: for the reader, and for the box.
  void incBytesRead(IBox* box, uint64_t bytes);
  /// The last read met the source's end, or an error of it, inside a box: the source is shorter than its length says,
  /// or could not be read to its end.
  bool isCutShort() const { return hasEnded_ && !endedBetweenBoxes_; }

  using BoxVisitor::visit;
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
  void visit(MediaDataBox* box) override;
  void visit(MetaBox* box) override;
  void visit(ID3v2MetaBox* box) override;
  void visit(RecordingYearBox* box) override;
  void visit(MetaDataSampleManagerHeaderBox* box) override;
  void visit(MetaTypeDefinitionBox* box) override;
  void visit(MetaDataSampleTableBox* box) override;
  void visit(MetaDataBox* box) override;
  void visit(MetaDataSampleData* box) override;
  void visit(ID3v23MetaDataBox* box) override;

protected:
  void visitContainer(IContainerBox* box) override;
  void visitData(IDataBox* box) override;
  void visitTag(ITagBox* box) override;
  void visitAsset(IThreeGPPAssetMetaBox* box) override;

private:
  friend class Payload;
  enum class Mode { file, meta, update };
  /// Whose children are being read: it decides which types are known.
  enum class Place { anywhere, meta, itemList, item };

  Boxes* readAll(Mode mode);
  bool readHeader(uint64_t limit, uint64_t& size, uint32_t& headerSize, FourCC& type);
  IBox* readBox(uint64_t limit);
  std::unique_ptr<IBox> createBox(FourCC type, uint64_t payloadSize);
  std::unique_ptr<IBox> createKnown(FourCC type, uint64_t payloadSize);
  void leaveBox(IBox& box, uint64_t end);
  bool startsWithChild(uint64_t payloadSize);
  void readChildren(IContainerBox* box, Place place);

  uint64_t fetch(void* to, uint64_t bytes);
  uint64_t readStream(char* to, uint64_t bytes);
  uint64_t takeAhead(void* to, uint64_t bytes);
  uint64_t skip(uint64_t bytes);
  size_t peek(size_t bytes);
  /// Only by its end is it known how long the source is.
  bool endTellsLength() const { return hasEnded_ && source_->length() == DataHandler::kUnknownLength; }
  bool isAtEnd() const { return hasEnded_ && aheadCount_ == 0; }

  void readDescriptor(DescriptorBox* box);

  std::shared_ptr<DataHandler> source_;
  std::shared_ptr<const FactorySet> factories_;
  Mode mode_ = Mode::file;
  Place place_ = Place::anywhere;
  uint32_t depth_ = 0;     ///< of the list being read, below the file's own
  uint64_t bytesRead_ = 0; ///< the position in the source
  bool hasEnded_ = false;  ///< the source gives no more
  bool endedBetweenBoxes_ = false;
  bool isTooDeep_ = false;         ///< a container was kept as unknown in the list being read
  uint8_t stsdVersion_ = 0;        ///< of the sample descriptions being read
  std::array<uint8_t, 8> ahead_{}; ///< bytes taken from the source that are not read yet
  size_t aheadCount_ = 0;
};

} // namespace fileutil
