#include "tools/qv/mp4/box_file.h"

#include "tools/qv/failure.h"
#include "tools/qv/text.h"

#include "qv/mp4/box_printer.h"
#include "qv/mp4/box_reader.h"

#include <algorithm>

namespace qv::tool {

namespace {

using namespace fileutil;

/// Whether a file may begin with such a box: one that such files are known to begin with, or any other with a readable
/// type that lies in the file as a whole. The first words of a text would claim gigabytes.
bool can_be_first(const IBox& box) {
  static constexpr FourCC kKnown[] = {QvFourCC("ftyp"), QvFourCC("styp"), QvFourCC("moov"), QvFourCC("mdat"),
                                      QvFourCC("free"), QvFourCC("skip"), QvFourCC("wide"), QvFourCC("pnot"),
                                      QvFourCC("moof"), QvFourCC("sidx"), QvFourCC("uuid"), QvFourCC("meta")};
  if (std::find(std::begin(kKnown), std::end(kKnown), box.type()) != std::end(kKnown)) return true;
  return box.sizeInHeader() == box.size() && boxTypeText(box.type()).find('\\') == std::string::npos;
}

std::string quoted(const IBox& box) {
  return "\"" + boxTypeText(box.type()) + "\" at " + std::to_string(box.position());
}

/// Bytes of a level that are in no box. Null: the file's own.
std::string tail_text(uint64_t bytes, const IBox* parent) {
  const std::string count = std::to_string(bytes) + " bytes ";
  if (parent == nullptr) return count + "behind the last box belong to none";
  return count + "at the end of " + quoted(*parent) + " are no box";
}

std::string limit_text(const IBox* parent) {
  return (parent == nullptr ? std::string("the file") : quoted(*parent)) + " holds more boxes than are read";
}

/// Finds what the reader had to do without.
class Damage : public BoxVisitor {
public:
  using BoxVisitor::visit;

  void look_at(Boxes& boxes, const IBox* parent) {
    for (IBox* box : boxes) {
      if (box->sizeInHeader() > box->size())
        found(quoted(*box) + " claims " + std::to_string(box->sizeInHeader()) + " bytes, of which " +
              std::to_string(box->size()) + " are there");
      box->accept(this);
    }
    if (boxes.isLimited) found(limit_text(parent));
    // Old "udta" boxes end in a zero of 32 bits.
    const bool is_old = parent != nullptr && parent->type() == QvFourCC("udta") && boxes.tailSize == 4;
    if (boxes.tailSize > 0 && !is_old) found(tail_text(boxes.tailSize, parent));
  }

  void visit(ChunkOffsetBox* box) override { look_at_offsets(*box); }
  void visit(ChunkLargeOffsetBox* box) override { look_at_offsets(*box); }

  std::vector<std::string> lines() const {
    std::vector<std::string> lines = lines_;
    if (count_ > kMaxLines) lines.push_back("there are " + std::to_string(count_ - kMaxLines) + " more of such");
    return lines;
  }

protected:
  void visitContainer(IContainerBox* box) override { look_at(box->children(), box); }

private:
  static constexpr size_t kMaxLines = 10;

  void look_at_offsets(const IChunkOffsetBox& box) {
    if (!box.isComplete) found(quoted(box) + " has another length than its count of offsets says");
  }

  void found(const std::string& line) {
    if (++count_ <= kMaxLines) lines_.push_back(line);
  }

  std::vector<std::string> lines_;
  size_t count_ = 0;
};

} // namespace

BoxFile read_box_file(const std::string& name) {
  BoxFile file{open_existing(name, GENERIC_READ), nullptr};
  BoxReader reader(path_from(name).c_str());
  file.boxes.reset(reader.readFile());
  if (reader.in().in().bad()) throw Failure(name, "cannot be read");
  if (file.boxes == nullptr) throw std::bad_alloc();
  if (file.boxes->empty() || !can_be_first(*file.boxes->front()))
    throw Failure(name, "is no MP4 file: it does not begin with a box");
  file.is_cut_short = reader.isCutShort();
  return file;
}

std::vector<std::string> damage_of(Boxes& boxes) {
  Damage damage;
  damage.look_at(boxes, nullptr);
  return damage.lines();
}

std::vector<std::string> damage_of(const BoxFile& file) {
  std::vector<std::string> lines = damage_of(*file.boxes);
  if (file.is_cut_short) lines.emplace_back("it could not be read to its end");
  return lines;
}

} // namespace qv::tool
