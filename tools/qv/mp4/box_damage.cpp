#include "tools/qv/mp4/box_damage.h"

#include "tools/qv/mp4/raw_boxes.h"
#include "tools/qv/text.h"

namespace qv::tool {

namespace {

using namespace fileutil;

/// How many are told.
constexpr size_t kMostProblems = 8;

/// The size in the header that stands at a place; 0 where that says "to the end", or there is none.
uint64_t claimed_size(const Mp4File& file, uint64_t position) {
  const std::string bytes = file.bytes_at(position, 16);
  ChunkBytes header = big_endian(bytes);
  const DWORD size = header.word<DWORD>();
  header.take(4);
  return size == 1 ? header.word<uint64_t>() : size;
}

std::string place_of(const IBox& box) {
  return "\"" + code_text(box.type()) + "\" at " + std::to_string(box.position());
}

/// Looks at each list of boxes: where its last one ends, and where it should.
class DamageFinder final : public BoxVisitor {
public:
  explicit DamageFinder(const Mp4File& file) : file_(file) {}

  void look_at(const Boxes& list, uint64_t end, const IBox* parent) {
    if (list.empty()) return;
    const IBox& last = *list.back();
    const uint64_t last_end = last.position() + last.size();
    const std::string inside = parent ? "the box " + place_of(*parent) : "the file";
    if (claimed_size(file_, last.position()) > last.size())
      add("the box " + place_of(last) + " claims more than " + inside + " holds");
    else if (last_end < end && !is_terminator(last_end, end))
      add(std::to_string(end - last_end) + " bytes behind the last box of " + inside + " are no boxes");
  }

  std::vector<std::string> problems;

protected:
  void visitContainer(IContainerBox* box) override {
    look_at(box->children(), box->position() + box->size(), box);
    BoxVisitor::visitContainer(box);
  }

private:
  /// QuickTime ends a "udta" in four zeros; some writers end the file so.
  bool is_terminator(uint64_t from, uint64_t end) const {
    return end - from <= 8 && file_.bytes_at(from, end - from).find_first_not_of('\0') == std::string::npos;
  }
  void add(std::string problem) {
    if (problems.size() < kMostProblems) problems.push_back(std::move(problem));
  }

  const Mp4File& file_;
};

} // namespace

std::vector<std::string> describe_damage(const Mp4File& file, Boxes& boxes) {
  DamageFinder finder(file);
  finder.look_at(boxes, file.size(), nullptr);
  for (IBox* const box : boxes)
    box->accept(&finder);
  return std::move(finder.problems);
}

} // namespace qv::tool
