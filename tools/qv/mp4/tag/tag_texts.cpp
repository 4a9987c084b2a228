#include "tools/qv/mp4/tag/tag_texts.h"

#include "tools/qv/mp4/codec_names.h"
#include "tools/qv/mp4/raw_boxes.h"
#include "tools/qv/mp4/tag/item_value.h"
#include "tools/qv/text.h"

namespace qv::tool {

namespace {

using namespace fileutil;

constexpr size_t kMostTags = 16'384;
constexpr uint64_t kMostKeysBytes = 64 << 10;
constexpr uint64_t kMostTextBytes = 64 << 10;

std::string_view text_view(const Bytes& bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

/// Collects in file order. What tracks have of their own is not the file's.
class TagCollector final : public BoxVisitor {
public:
  TagCollector(const Mp4File& file, Mp4Summary& summary) : file_(file), summary_(summary) {}
  using BoxVisitor::visit;

  void visit(TrackBox*) override {}

  /// QuickTime names items by their place in "keys".
  void visit(MetaBox* meta) override {
    keys_.clear();
    if (const IBox* const keys = meta->children().find(QvFourCC("keys")))
      read_keys(file_.payload(*keys, kMostKeysBytes));
    visitContainer(meta);
    keys_.clear();
  }

  void visit(ItemListBox* list) override {
    for (IBox* const item : list->children())
      if (auto* const container = dynamic_cast<IContainerBox*>(item)) add_item(*container);
  }

  void visit(UserDataBox* data) override {
    for (IBox* const child : data->children())
      if (dynamic_cast<UnknownBox*>(child)) add_unknown(*child);
    visitContainer(data);
  }

  void visit(RecordingYearBox* box) override {
    const std::string_view year = text_view(box->payload);
    if (year.size() >= 2) add({code_text(box->type()), "", std::to_string(word_at<WORD>(year, 0, ByteOrder::kBig)), 2});
  }

  void visit(ID3v2MetaBox* box) override {
    constexpr uint64_t kBeforeTag = 6; // version and flags, language
    if (summary_.id3) return;
    const std::string payload = file_.payload(*box, kBeforeTag + kMaxId3Bytes);
    summary_.id3 = parse_id3(std::string_view(payload).substr(std::min<size_t>(kBeforeTag, payload.size())));
  }

protected:
  void visitAsset(IThreeGPPAssetMetaBox* box) override { add_asset(box->type(), box->language, text_view(box->text)); }

private:
  void add(Mp4Text text) {
    if (summary_.texts.size() < kMostTags) summary_.texts.push_back(std::move(text));
  }

  void add_asset(FourCC type, uint16_t language, std::string_view text) {
    add({code_text(type), language_code(language), text_of_either(text), text.size()});
  }

  void read_keys(std::string_view payload) {
    ChunkBytes fields = big_endian(payload);
    fields.take(4);
    for (DWORD count = fields.word<DWORD>(); count > 0 && !fields.is_short(); --count) {
      const DWORD size = fields.word<DWORD>();
      fields.take(4); // namespace
      keys_.emplace_back(fields.take(size < 8 ? 0 : size - 8));
    }
  }

  std::string item_name(const IContainerBox& item) const {
    const auto* const mean = dynamic_cast<ITagBox*>(item.children().find(QvFourCC("mean")));
    const auto* const name = dynamic_cast<ITagBox*>(item.children().find(QvFourCC("name")));
    if (item.type() == QvFourCC("----"))
      return std::string(mean ? text_view(mean->text) : "") + ":" + std::string(name ? text_view(name->text) : "");
    char place[4];
    std::memcpy(place, std::data({item.type()}), sizeof place);
    const DWORD key = word_at<DWORD>({place, sizeof place}, 0, ByteOrder::kBig);
    return key >= 1 && key <= keys_.size() ? keys_[key - 1] : code_text(item.type());
  }

  void add_item(const IContainerBox& item) {
    for (IBox* const child : item.children()) {
      const auto* const data = dynamic_cast<IDataBox*>(child);
      if (!data) continue;
      const uint64_t before = data->headerSize() + 8; // and indicator, locale
      const uint64_t bytes = data->size() - std::min<uint64_t>(before, data->size());
      if (is_picture(item.type(), data->typeIndicator())) {
        if (summary_.pictures.size() < kMostTags)
          summary_.pictures.push_back({picture_type(file_.bytes_at(data->position() + before, 8)), bytes});
        continue;
      }
      const auto text = item_text(item.type(), data->typeIndicator(), text_view(data->value));
      add({item_name(item), "", text.value_or(""), bytes});
    }
  }

  /// QuickTime's texts, each with its length and language, and the 3GPP author, which the library's tree does not have.
  void add_unknown(const IBox& box) {
    const std::string type = code_text(box.type());
    const std::string payload = file_.payload(box, kMostTextBytes);
    ChunkBytes fields = big_endian(payload);
    if (box.type() == QvFourCC("auth")) {
      fields.take(4);
      const WORD language = fields.word<WORD>();
      add_asset(box.type(), language, fields.rest());
    }
    while (type.starts_with("\xC2\xA9") && fields.rest().size() > 4) {
      const WORD size = fields.word<WORD>();
      const WORD language = fields.word<WORD>();
      add_asset(box.type(), language, fields.take(size));
    }
  }

  const Mp4File& file_;
  Mp4Summary& summary_;
  std::vector<std::string> keys_;
};

} // namespace

void read_tags(const Mp4File& file, Boxes& boxes, Mp4Summary& summary) {
  TagCollector collector(file, summary);
  for (IBox* const box : boxes)
    box->accept(&collector);
}

} // namespace qv::tool
