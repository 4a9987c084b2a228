#include "tests/riff/summary/summary_text.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

using namespace riff_test;

namespace {

constexpr HRESULT kOwnFailure = static_cast<HRESULT>(0x80030005u); // access denied, in a stream's own words

/// A stream without a size or a seat: it gives at most `at_once` bytes, and after `calls` more calls it fails, or with
/// S_OK takes and gives nothing.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class Pipe final : public IStream {
public:
  explicit Pipe(Bytes content = {}, int calls = -1, HRESULT failure = S_OK, size_t at_once = ~size_t{0})
      : bytes(std::move(content)), at_once_(at_once), calls_(calls), failure_(failure) {}

  HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* read) override {
    *read = 0;
    if (calls_-- == 0) return failure_;
    *read = static_cast<ULONG>(std::min<size_t>({count, at_once_, bytes.size()}));
    std::memcpy(buffer, bytes.data(), *read);
    bytes.erase(0, *read);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG count, ULONG* written) override {
    *written = 0;
    if (calls_-- == 0) return failure_;
    bytes.append(static_cast<const char*>(buffer), count);
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

  Bytes bytes; ///< what is to be read, or was written

private:
  size_t at_once_;
  int calls_;
  HRESULT failure_;
};
#pragma GCC diagnostic pop

Bytes persisted(const _summarylisttag& list) {
  Pipe pipe;
  EXPECT_EQ(list.Persist(&pipe), S_OK);
  return pipe.bytes;
}

const char* const kItems = "INAM=ab;IART;ICMT=;INAM=c";
const Bytes kPersisted = u32(4) + "INAM" + u32(3) + Bytes("a\0b\0\0\0", 6) + "IART" + u32(0) + "ICMT" + u32(1) +
                         Bytes(2, '\0') + "INAM" + u32(2) + Bytes("c\0\0\0", 4);

TEST(SummaryStream, WritesTheseBytesAndReadsThem) {
  EXPECT_EQ(persisted(SummaryList(kItems)), kPersisted);
  EXPECT_EQ(persisted(SummaryList()), u32(0));
  Model long_model;
  for (const size_t length : {2046, 2047, 2048, 2049, 4095, 4096, 100000})
    long_model.push_back({"ICMT", qv::WString(length, QV_TEXT('x')) + QV_TEXT('\u4E2D')});
  for (int k = 0; k < 1000; ++k)
    long_model.push_back({"I" + std::to_string(100 + k % 900), wide(std::to_string(k))});
  for (const Model& model : {parse(kItems), Model(), long_model})
    for (const size_t at_once : {size_t{7}, ~size_t{0}}) {
      Pipe pipe(persisted(SummaryList(model)) + "more", -1, S_OK, at_once);
      SummaryList list("IOLD=replaced");
      EXPECT_EQ(list.Create(&pipe), S_OK);
      EXPECT_EQ(describe(list) == describe(model), true);
      EXPECT_EQ(pipe.bytes, "more") << "the position is behind what was read";
    }
}

TEST(SummaryStream, BadStreamsLeaveTheListEmpty) {
  struct Bad {
    Bytes bytes;
    HRESULT result = QVERR_RIFF_READ;
    const char* items = "";
  };
  std::vector<Bad> cases = {
      {u32(0xFFFFFFFF) + kPersisted.substr(4)},                        // all items claimed
      {u32(1) + "INAM" + u32(0xFFFFFFFF) + Bytes(5000, 'x')},          // all characters claimed
      {u32(1) + "INAM" + u32(2) + Bytes("a\0b\0", 4), S_OK, "INAM=a"}, // no terminator
  };
  for (size_t length = 0; length < kPersisted.size(); ++length)
    cases.push_back({kPersisted.substr(0, length)});
  for (const Bad& row : cases) {
    SCOPED_TRACE(row.bytes.size());
    Pipe pipe(row.bytes);
    SummaryList list("IOLD=replaced");
    EXPECT_EQ(list.Create(&pipe), row.result);
    EXPECT_EQ(describe(list), row.items);
  }
}

TEST(SummaryStream, PassesOnTheStreamsFailures) {
  // Reading: the count, four headers and three texts. Writing takes the same calls.
  const SummaryList items(kItems);
  for (int calls = 0; calls <= 8; ++calls) {
    SCOPED_TRACE(calls);
    Pipe broken(kPersisted, calls, kOwnFailure), ended(kPersisted, calls);
    Pipe refusing("", calls, kOwnFailure), full("", calls);
    SummaryList list("IOLD=replaced");
    EXPECT_EQ(list.Create(&broken), calls < 8 ? kOwnFailure : S_OK);
    EXPECT_EQ(describe(list), calls < 8 ? "" : kItems);
    EXPECT_EQ(list.Create(&ended), calls < 8 ? QVERR_RIFF_READ : S_OK);
    EXPECT_EQ(items.Persist(&refusing), calls < 8 ? kOwnFailure : S_OK);
    EXPECT_EQ(items.Persist(&full), calls < 8 ? QVERR_RIFF_WRITE : S_OK);
  }
  SummaryList list("IOLD=kept");
  EXPECT_EQ(list.Create(nullptr), E_INVALIDARG);
  EXPECT_EQ(list.Persist(nullptr), E_INVALIDARG);
  EXPECT_EQ(describe(list), "IOLD=kept");
}

} // namespace
