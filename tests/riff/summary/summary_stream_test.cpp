#include "tests/riff/summary/summary_text.h"

#include "qv/memory_stream.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

using namespace riff_test;

namespace {

constexpr HRESULT kOwnFailure = static_cast<HRESULT>(0x80030005u); // access denied, in a stream's own words

struct Release {
  void operator()(IStream* stream) const { stream->Release(); }
};
using StreamPointer = std::unique_ptr<IStream, Release>;

StreamPointer memory_stream(const Bytes& bytes) {
  IStream* stream = nullptr;
  EXPECT_EQ(QvCreateMemoryStream(bytes.data(), bytes.size(), &stream), S_OK);
  return StreamPointer(stream);
}

Bytes persisted(const _summarylisttag& list) {
  const StreamPointer stream = memory_stream("");
  EXPECT_EQ(list.Persist(stream.get()), S_OK);
  STATSTG status{};
  EXPECT_EQ(stream->Stat(&status, STATFLAG_NONAME), S_OK);
  Bytes bytes(status.cbSize.QuadPart, '?');
  EXPECT_EQ(stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr), S_OK);
  EXPECT_EQ(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr), S_OK);
  return bytes;
}

/// A stream without a size or a seat: it gives at most `at_once` bytes, and after `calls` more calls it fails.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class Pipe final : public IStream {
public:
  Pipe(Bytes bytes, size_t at_once, int calls, HRESULT failure)
      : bytes_(std::move(bytes)), at_once_(at_once), calls_(calls), failure_(failure) {}

  HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* read) override {
    *read = 0;
    if (calls_-- == 0) return failure_;
    *read = static_cast<ULONG>(std::min<size_t>({count, at_once_, bytes_.size()}));
    std::memcpy(buffer, bytes_.data(), *read);
    bytes_.erase(0, *read);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Write(const void*, ULONG count, ULONG* written) override {
    *written = 0;
    if (calls_-- == 0) return failure_;
    *written = count;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

private:
  Bytes bytes_;
  size_t at_once_;
  int calls_;
  HRESULT failure_;
};
#pragma GCC diagnostic pop

const char* const kItems = "INAM=ab;IART;ICMT=;INAM=c";
const Bytes kPersisted = u32(4) + "INAM" + u32(3) + Bytes("a\0b\0\0\0", 6) + "IART" + u32(0) + "ICMT" + u32(1) +
                         Bytes(2, '\0') + "INAM" + u32(2) + Bytes("c\0\0\0", 4);

TEST(SummaryStream, WritesTheseBytesAndReadsThem) {
  EXPECT_EQ(persisted(SummaryList(kItems)), kPersisted);
  EXPECT_EQ(persisted(SummaryList()), u32(0));
  const StreamPointer stream = memory_stream(kPersisted + u32(0) + "more");
  SummaryList list("IOLD=replaced");
  EXPECT_EQ(list.Create(stream.get()), S_OK);
  EXPECT_EQ(describe(list), kItems);
  EXPECT_EQ(list.Create(stream.get()), S_OK) << "the position is behind what was read";
  EXPECT_EQ(describe(list), "");
}

TEST(SummaryStream, LongTextsAndManyItems) {
  Model model;
  for (const size_t length : {2046, 2047, 2048, 2049, 4095, 4096, 100000})
    model.push_back({"ICMT", qv::WString(length, QV_TEXT('x')) + QV_TEXT('\u4E2D')});
  for (int k = 0; k < 1000; ++k)
    model.push_back({"I" + std::to_string(100 + k % 900), wide(std::to_string(k))});
  const Bytes bytes = persisted(SummaryList(model));
  for (const size_t at_once : {size_t{7}, bytes.size()}) {
    Pipe pipe(bytes, at_once, -1, S_OK);
    SummaryList list;
    EXPECT_EQ(list.Create(&pipe), S_OK);
    EXPECT_EQ(describe(list) == describe(model), true);
  }
}

TEST(SummaryStream, BadStreamsLeaveTheListEmpty) {
  const struct {
    const char* name;
    Bytes bytes;
    HRESULT result;
    const char* items;
  } cases[] = {
      {"all items claimed", u32(0xFFFFFFFF) + kPersisted.substr(4), QVERR_RIFF_READ, ""},
      {"all characters claimed", u32(1) + "INAM" + u32(0xFFFFFFFF) + Bytes(5000, 'x'), QVERR_RIFF_READ, ""},
      {"no terminator", u32(1) + "INAM" + u32(2) + Bytes("a\0b\0", 4), S_OK, "INAM=a"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const StreamPointer stream = memory_stream(row.bytes);
    SummaryList list("IOLD=replaced");
    EXPECT_EQ(list.Create(stream.get()), row.result);
    EXPECT_EQ(describe(list), row.items);
  }
  for (size_t length = 0; length < kPersisted.size(); ++length) {
    SCOPED_TRACE(length);
    const StreamPointer stream = memory_stream(kPersisted.substr(0, length));
    SummaryList list("IOLD=replaced");
    EXPECT_EQ(list.Create(stream.get()), QVERR_RIFF_READ);
    EXPECT_EQ(describe(list), "");
  }
}

TEST(SummaryStream, PassesOnTheStreamsFailures) {
  // Reading: the count, four headers and three texts. Writing takes the same calls.
  for (int calls = 0; calls < 8; ++calls) {
    SCOPED_TRACE(calls);
    Pipe broken(kPersisted, kPersisted.size(), calls, kOwnFailure);
    Pipe ended(kPersisted, kPersisted.size(), calls, S_OK);
    SummaryList list("IOLD=replaced");
    EXPECT_EQ(list.Create(&broken), kOwnFailure);
    EXPECT_EQ(describe(list), "");
    EXPECT_EQ(list.Create(&ended), QVERR_RIFF_READ);
    const SummaryList items(kItems);
    Pipe refusing("", 0, calls, kOwnFailure);
    Pipe full("", 0, calls, S_OK);
    EXPECT_EQ(items.Persist(&refusing), kOwnFailure);
    EXPECT_EQ(items.Persist(&full), QVERR_RIFF_WRITE);
  }
  Pipe enough(kPersisted, kPersisted.size(), 8, kOwnFailure);
  SummaryList list("IOLD=kept");
  EXPECT_EQ(list.Create(nullptr), E_INVALIDARG);
  EXPECT_EQ(list.Persist(nullptr), E_INVALIDARG);
  EXPECT_EQ(describe(list), "IOLD=kept");
  EXPECT_EQ(list.Create(&enough), S_OK);
  EXPECT_EQ(describe(list), kItems);
}

} // namespace
