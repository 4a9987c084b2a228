#include "qv/mp4/box_reader.h"

#include "fileutil/box/big_endian.h"
#include "fileutil/box/factory_set.h"

#include <algorithm>
#include <limits>
#include <new>

namespace fileutil {

namespace {

constexpr uint32_t kShortHeader = 8;
constexpr uint32_t kLongHeader = 16;
constexpr uint64_t kMost = std::numeric_limits<uint64_t>::max();

/// Sets a value until the end of a scope.
template <class Value>
class Temporarily {
public:
  Temporarily(Value& place, Value value) : place_(place), before_(place) { place = value; }
  ~Temporarily() { place_ = before_; }
  Temporarily(const Temporarily&) = delete;
  Temporarily& operator=(const Temporarily&) = delete;

private:
  Value& place_;
  Value before_;
};

} // namespace

BoxReader::BoxReader(std::unique_ptr<DataHandler> source) : source_(std::move(source)), factories_(useFactories()) {}
BoxReader::BoxReader(const WCHAR* path) : BoxReader(std::make_unique<FileHandler>(path)) {}
BoxReader::BoxReader(std::ifstream& in) : BoxReader(std::make_unique<FileStreamHandler>(in)) {}
BoxReader::BoxReader(std::istream& in, uint64_t length) : BoxReader(std::make_unique<StreamHandler>(in, length)) {}
BoxReader::BoxReader(const BoxReader& other)
    : BoxVisitor(other), source_(other.source_), factories_(other.factories_), mode_(other.mode_) {}
BoxReader::~BoxReader() = default;

DataHandler& BoxReader::in() { return *source_; }

Boxes* BoxReader::readFile() { return readAll(Mode::file); }
Boxes* BoxReader::readMeta() { return readAll(Mode::meta); }
Boxes* BoxReader::readMetaForUpdate() { return readAll(Mode::update); }

Boxes* BoxReader::readAll(Mode mode) {
  mode_ = mode;
  bytesRead_ = 0;
  aheadCount_ = 0;
  hasEnded_ = endedBetweenBoxes_ = false;
  auto* const boxes = new (std::nothrow) Boxes;
  if (boxes == nullptr) return nullptr;
  try {
    source_->rewind();
  } catch (...) {
    hasEnded_ = true; // a stream that throws where it cannot be read
  }
  readBoxes(boxes, source_->length());
  return boxes;
}

uint64_t BoxReader::readBoxes(Boxes* list, uint64_t limit) {
  const uint64_t start = bytesRead_;
  limit = std::min(limit, kMost - start);
  const Temporarily tooDeep(isTooDeep_, false);
  uint64_t total = 0;
  try {
    while (total < limit && !isAtEnd()) {
      std::unique_ptr<IBox> box(readBox(limit - total));
      if (box == nullptr) break;
      const uint64_t size = box->size();
      list->push_back(box.release());
      total += size;
    }
  } catch (const std::exception&) { // the list is full, or memory has run out
    isTooDeep_ = true;
  }
  if (isTooDeep_) list->isLimited = true;
  list->tailSize = (limit < kMost - start ? limit : bytesRead_ - start) - total;
  return total;
}

IBox* BoxReader::readBox(uint64_t limit) {
  const uint64_t start = bytesRead_;
  uint64_t size = 0;
  uint32_t headerSize = 0;
  FourCC type = 0;
  if (!readHeader(limit, size, headerSize, type)) return nullptr;
  const uint64_t sizeInHeader = size;
  if (size == 0 && type == QvFourCC("mdat")) size = limit;
  size = std::min(size, limit);
  if (size < headerSize) return nullptr;
  std::unique_ptr<IBox> box = createBox(type, size - headerSize);
  box->setSize(size);
  box->setSizeInHeader(sizeInHeader);
  box->setPosition(start);
  box->setHeaderSize(headerSize);
  box->bytesRead() = bytesRead_ - start;
  box->accept(this);
  leaveBox(*box, start + size);
  return box.release();
}

/// A box is left at its end, whatever its payload reader has consumed. Where nobody knows the source's length, it is
/// found to end here when it does.
void BoxReader::leaveBox(IBox& box, uint64_t end) {
  if (bytesRead_ < end) skip(end - bytesRead_);
  box.bytesRead() = bytesRead_ - box.position();
  if (endTellsLength()) box.setSize(box.bytesRead());
}

/// False where no header is left; the bytes that the source had of one are counted all the same.
bool BoxReader::readHeader(uint64_t limit, uint64_t& size, uint32_t& headerSize, FourCC& type) {
  uint8_t bytes[8];
  if (limit < kShortHeader) return false;
  const uint64_t got = fetch(bytes, sizeof bytes);
  if (got == 0 && depth_ == 0 && source_->length() == DataHandler::kUnknownLength)
    endedBetweenBoxes_ = !source_->in().bad();
  if (got < sizeof bytes) return false;
  size = bigEndian<uint32_t>(bytes);
  std::memcpy(&type, bytes + 4, sizeof type);
  headerSize = kShortHeader;
  if (size != 1) return true;
  if (limit < kLongHeader || fetch(bytes, sizeof bytes) < sizeof bytes) return false;
  size = bigEndian<uint64_t>(bytes);
  headerSize = kLongHeader;
  return true;
}

// ---- which class a type has ----------------------------------------------------------------------------------------

namespace {

std::unique_ptr<IBox> unknown(FourCC type) {
  auto box = std::make_unique<UnknownBox>();
  box->setType(type);
  return box;
}

} // namespace

std::unique_ptr<IBox> BoxReader::createBox(FourCC type, uint64_t payloadSize) {
  std::unique_ptr<IBox> box = createKnown(type, payloadSize);
  if (depth_ < kMaxDepth || dynamic_cast<IContainerBox*>(box.get()) == nullptr) return box;
  isTooDeep_ = true;
  return unknown(type);
}

/// By the table's places. The key that stands in the payload of "data" and "uuid" is read; a payload that is too short
/// for it makes an unknown box.
std::unique_ptr<IBox> BoxReader::createKnown(FourCC type, uint64_t payloadSize) {
  if (place_ == Place::itemList) return std::unique_ptr<IBox>(factories_->items.create(type));
  const bool inItem = place_ == Place::item;
  switch (type) {
  case QvFourCC("data"): {
    uint8_t indicator[4];
    if (!inItem || payloadSize < sizeof indicator || fetch(indicator, sizeof indicator) < sizeof indicator) break;
    return std::unique_ptr<IBox>(factories_->data.create(bigEndian<uint32_t>(indicator)));
  }
  case QvFourCC("uuid"): {
    uint8_t bytes[16];
    if (payloadSize < sizeof bytes || fetch(bytes, sizeof bytes) < sizeof bytes) break;
    return std::unique_ptr<IBox>(factories_->guids.create(guidOf(bytes)));
  }
  case QvFourCC("mean"):
  case QvFourCC("name"):
    if (!inItem) break;
    return std::unique_ptr<IBox>(factories_->general.create(type));
  case QvFourCC("meta"):
    if (inItem || startsWithChild(payloadSize)) break;
    [[fallthrough]];
  default:
    if (inItem || (type == QvFourCC("hdlr") && mode_ != Mode::file && place_ != Place::meta)) break;
    const TypeFactory& factory = mode_ == Mode::file   ? static_cast<const TypeFactory&>(factories_->general)
                                 : mode_ == Mode::meta ? static_cast<const TypeFactory&>(factories_->meta)
                                                       : factories_->update;
    return std::unique_ptr<IBox>(factory.create(type));
  }
  return unknown(type);
}

/// QuickTime's "meta" has no version word: where a header of a child stands that fits, and whose type is text. As a
/// version word and a size, these bytes would mean a child of half a gigabyte.
bool BoxReader::startsWithChild(uint64_t payloadSize) {
  if (payloadSize < kShortHeader || peek(kShortHeader) < kShortHeader) return false;
  const uint64_t size = bigEndian<uint32_t>(ahead_.data());
  return size >= kShortHeader && size <= payloadSize &&
         std::all_of(ahead_.begin() + 4, ahead_.end(), [](uint8_t c) { return (c >= ' ' && c < 0x7F) || c == 0xA9; });
}

void BoxReader::readChildren(IContainerBox* box, Place place) {
  if (box->size() <= box->bytesRead()) return;
  const Temporarily deeper(depth_, depth_ + 1);
  const Temporarily inside(place_, place);
  const uint64_t begin = bytesRead_;
  const uint64_t room = box->size() - box->bytesRead();
  const uint64_t used = readBoxes(&box->children(), room);
  box->bytesRead() += used;
  // The tail is passed over here already, to learn whether it is there.
  if (bytesRead_ - begin < room) skip(room - (bytesRead_ - begin));
  if (endTellsLength()) box->children().tailSize = bytesRead_ - begin - used;
}

void BoxReader::visitContainer(IContainerBox* box) {
  readChildren(box, place_ == Place::itemList         ? Place::item
                    : box->type() == QvFourCC("ilst") ? Place::itemList
                                                      : Place::anywhere);
}

// ---- the source ----------------------------------------------------------------------------------------------------

void BoxReader::incBytesRead(IBox* box, uint64_t bytes) {
  bytesRead_ += bytes;
  box->bytesRead() += bytes;
}

/// Takes bytes that lie ahead first. Counts what it got.
uint64_t BoxReader::fetch(void* to, uint64_t bytes) {
  const uint64_t kept = aheadCount_ == 0 ? 0 : takeAhead(to, bytes);
  uint64_t got = kept;
  if (kept < bytes && !hasEnded_) got += readStream(static_cast<char*>(to) + kept, bytes - kept);
  if (got < bytes) hasEnded_ = true;
  bytesRead_ += got;
  return got;
}

namespace {

void markBad(std::istream& in) {
  try {
    in.setstate(std::ios::badbit);
  } catch (...) { // the state is set all the same
  }
}

} // namespace

/// Without a stream's own functions, which take as long again. The stream's state is what it would be with them.
uint64_t BoxReader::readStream(char* to, uint64_t bytes) {
  std::istream& in = source_->in();
  uint64_t got = 0;
  try {
    if (!in.good()) return 0;
    got = static_cast<uint64_t>(in.rdbuf()->sgetn(to, static_cast<std::streamsize>(bytes)));
    if (got < bytes) in.setstate(std::ios::eofbit | std::ios::failbit);
    return got;
  } catch (...) { // of the buffer, or of a stream that throws what its state is
    hasEnded_ = true;
    if (in.good()) markBad(in);
    return got;
  }
}

/// How many there were. `to` may be null.
uint64_t BoxReader::takeAhead(void* to, uint64_t bytes) {
  const size_t kept = static_cast<size_t>(std::min<uint64_t>(aheadCount_, bytes));
  if (to != nullptr) std::memcpy(to, ahead_.data(), kept);
  std::copy(ahead_.begin() + kept, ahead_.begin() + aheadCount_, ahead_.begin());
  aheadCount_ -= kept;
  return kept;
}

uint64_t BoxReader::skip(uint64_t bytes) {
  const uint64_t kept = aheadCount_ == 0 ? 0 : takeAhead(nullptr, bytes);
  uint64_t done = kept;
  try {
    if (kept < bytes && !hasEnded_) done += source_->skip(bytes - kept);
  } catch (...) {
    hasEnded_ = true;
  }
  if (done < bytes) hasEnded_ = true;
  bytesRead_ += done;
  return done;
}

/// Makes that many bytes lie ahead; returns how many do.
size_t BoxReader::peek(size_t bytes) {
  uint8_t taken[sizeof ahead_];
  aheadCount_ = static_cast<size_t>(fetch(taken, bytes));
  bytesRead_ -= aheadCount_;
  std::copy_n(taken, aheadCount_, ahead_.begin());
  return aheadCount_;
}

} // namespace fileutil
