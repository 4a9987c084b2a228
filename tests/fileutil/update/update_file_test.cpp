// Files updated through the library's own functions, on every platform: in place, by a copy, refused, and recovered.
#include "tests/fileutil/bytes.h"
#include "tests/fileutil/update/update_subject.h"

#include "qv/mp4.h"
#include "qv/undo.h"

using namespace update_test;
using fileutil::Boxes;
using fileutil::Recovery;
using fileutil_test::hex;

namespace {

std::string u32(uint64_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8)
    bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}

std::string box(const std::string& type, const std::string& payload) {
  return u32(8 + payload.size()) + type + payload;
}

/// A file with one item of metadata, room behind it, and a chunk of media whose offset "stco" tells.
std::string file_of(const std::string& text, size_t room) {
  const std::string data = box("data", u32(1) + u32(0) + text);
  const std::string ilst = box("ilst", box(hex("A9") + "nam", data));
  const std::string handler = box("hdlr", u32(0) + u32(0) + "mdirappl" + std::string(9, '\0'));
  const std::string udta = box("udta", box("meta", u32(0) + handler + ilst));
  const std::string ftyp = box("ftyp", "M4A " + u32(512) + "M4A ");
  const auto with_offset = [&](uint64_t offset) {
    const std::string stco = box("stco", u32(0) + u32(1) + u32(offset));
    return ftyp + box("moov", box("trak", box("mdia", box("minf", box("stbl", stco)))) + udta) +
           box("free", std::string(room, '\0'));
  };
  return with_offset(with_offset(0).size() + 8) + box("mdat", noise(3'000));
}

HRESULT set_text(Boxes* tree, const std::string& text) {
  fileutil::IBox* at = nullptr;
  Boxes* list = tree;
  for (const fileutil::FourCC type : {QvFourCC("moov"), QvFourCC("udta"), QvFourCC("meta"), QvFourCC("ilst"),
                                      QvFourCC("\xA9nam"), QvFourCC("data")}) {
    at = list->find(type);
    if (!at) return E_FAIL;
    if (auto* container = dynamic_cast<fileutil::IContainerBox*>(at)) list = &container->children();
  }
  dynamic_cast<fileutil::IDataBox&>(*at).value.assign(text.begin(), text.end());
  return S_OK;
}

HRESULT update(const Subject& subject, const std::string& text, const fileutil::UpdateOptions& options = {}) {
  return fileutil::updateFile(
      subject.text().c_str(), [&](Boxes* tree) { return set_text(tree, text); }, options);
}

TEST(UpdateFile, InPlaceWhereThereIsRoomAndByACopyWhereThereIsNot) {
  const Subject subject(file_of("old", 100));
  EXPECT_EQ(update(subject, "a title"), S_OK);
  EXPECT_TRUE(subject.bytes() == file_of("a title", 96));
  EXPECT_EQ(update(subject, std::string(150, 't')), S_OK);
  EXPECT_TRUE(subject.bytes().ends_with(noise(3'000)));
  EXPECT_NE(subject.bytes().find(std::string(150, 't')), std::string::npos);
  EXPECT_EQ(update(subject, std::string(500, 'u'), {64, true, false}), S_OK);
  EXPECT_TRUE(subject.bytes() == file_of(std::string(500, 'u'), 64 - 8));
  EXPECT_EQ(subject.names(), kTheFileAlone);
}

TEST(UpdateFile, AnswersTheChangesResultAndWritesNothing) {
  const Subject subject(file_of("old", 100));
  const auto result_of = [&](HRESULT answer) {
    return fileutil::updateFile(subject.text().c_str(), [&](Boxes* tree) {
      set_text(tree, "changed and given up");
      return answer;
    });
  };
  for (const HRESULT answer : {E_FAIL, S_FALSE, E_NOTIMPL})
    EXPECT_EQ(result_of(answer), answer);
  EXPECT_EQ(fileutil::updateFile(
                subject.text().c_str(), [](Boxes*) -> HRESULT { throw std::bad_alloc(); }),
            E_OUTOFMEMORY);
  EXPECT_EQ(fileutil::updateFile(
                subject.text().c_str(), [](Boxes*) -> HRESULT { throw 1; }),
            E_FAIL);
  EXPECT_EQ(fileutil::updateFile(nullptr, [](Boxes*) { return S_OK; }), E_INVALIDARG);
  EXPECT_EQ(fileutil::updateFile(subject.text().c_str(), nullptr), E_INVALIDARG);
  EXPECT_EQ(fileutil::updateFile(QV_TEXT("no such file"), [](Boxes*) { return S_OK; }),
            HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(fileutil::recoverFile(nullptr), E_INVALIDARG);
  EXPECT_EQ(fileutil::recoverFile(QV_TEXT("no such file")), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  subject.put("a.m4a.bak", "mine");
  EXPECT_EQ(update(subject, std::string(500, 'u')), QVERR_MP4_FOREIGN_BAK);
  EXPECT_TRUE(subject.bytes() == file_of("old", 100));
}

TEST(UpdateFile, SettlesAnEarlierOneFirst) {
  const std::string before = file_of("old", 100), after = file_of("new", 100);
  const auto at =
      static_cast<uint64_t>(std::mismatch(before.begin(), before.end(), after.begin()).first - before.begin());
  const qv::undo::FileChange change = {before.size(), before.size(), {{at, "old", "new"}}};
  std::string half = before;
  half[at] = 'n';
  for (const bool recovers : {true, false}) {
    const Subject subject(half);
    subject.put("a.m4a.qv-undo", qv::undo::to_bytes({qv::undo::State::kPassing, change, 0, 0}));
    std::filesystem::permissions(subject.path("a.m4a.qv-undo"), std::filesystem::perms(0600));
    EXPECT_TRUE(fileutil::hasBrokenUpdate(subject.text().c_str()));
    Recovery what = Recovery::kNothing;
    if (recovers) {
      EXPECT_EQ(fileutil::recoverFile(subject.text().c_str(), &what), S_OK);
      EXPECT_EQ(what, Recovery::kUndone);
      EXPECT_TRUE(subject.bytes() == before);
    } else {
      EXPECT_EQ(update(subject, "other"), S_OK);
      EXPECT_TRUE(subject.bytes() == file_of("other", 98));
    }
    EXPECT_FALSE(fileutil::hasBrokenUpdate(subject.text().c_str()));
    EXPECT_EQ(subject.names(), kTheFileAlone);
  }
}

} // namespace
