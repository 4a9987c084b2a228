#include "qv/memory_stream.h"

#include <gtest/gtest.h>
#include <string>

namespace {

class Stream {
public:
  explicit Stream(const std::string& text = {}) {
    EXPECT_EQ(QvCreateMemoryStream(text.data(), text.size(), &stream_), S_OK);
  }
  explicit Stream(IStream* stream) : stream_(stream) {}
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() { EXPECT_EQ(stream_->Release(), 0u); }
  IStream* operator->() { return stream_; }
  operator IStream*() { return stream_; }

  HRESULT seek(LONGLONG by, DWORD origin) {
    LARGE_INTEGER move;
    move.QuadPart = by;
    ULARGE_INTEGER position;
    position.QuadPart = 77;
    const HRESULT result = stream_->Seek(move, origin, &position);
    if (SUCCEEDED(result)) EXPECT_EQ(position.QuadPart, at());
    return result;
  }
  ULONGLONG at() {
    ULARGE_INTEGER position{};
    stream_->Seek(LARGE_INTEGER{}, STREAM_SEEK_CUR, &position);
    return position.QuadPart;
  }
  HRESULT write(const std::string& text) {
    ULONG written = 77;
    const HRESULT result = stream_->Write(text.data(), static_cast<ULONG>(text.size()), &written);
    EXPECT_EQ(written, SUCCEEDED(result) ? text.size() : 0);
    return result;
  }
  /// What is read, after a "!" where that is less than was asked for.
  std::string read(ULONG count) {
    std::string text(count, '?');
    ULONG read = 77;
    const HRESULT result = stream_->Read(text.data(), count, &read);
    return (result == S_FALSE ? "!" : "") + text.substr(0, read);
  }
  /// All bytes; the position stays.
  std::string whole() {
    const auto position = static_cast<LONGLONG>(at());
    STATSTG status{};
    EXPECT_EQ(stream_->Stat(&status, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(status.type, static_cast<DWORD>(STGTY_STREAM));
    seek(0, STREAM_SEEK_SET);
    const std::string text = read(static_cast<ULONG>(status.cbSize.QuadPart));
    seek(position, STREAM_SEEK_SET);
    return text;
  }

private:
  IStream* stream_ = nullptr;
};

ULARGE_INTEGER bytes(ULONGLONG count) {
  ULARGE_INTEGER number;
  number.QuadPart = count;
  return number;
}

TEST(MemoryStream, ReadsAndWritesWhereItStands) {
  Stream stream("hello world");
  EXPECT_EQ(stream.read(5), "hello");
  EXPECT_EQ(stream.write("-there-all"), S_OK);
  EXPECT_EQ(stream.whole(), "hello-there-all");
  EXPECT_EQ(stream.seek(-3, STREAM_SEEK_END), S_OK);
  EXPECT_EQ(stream.read(32), "!all");
  EXPECT_EQ(stream->Read(&stream, 1, nullptr), S_FALSE);
}

TEST(MemoryStream, SeeksWithinItsNumbers) {
  Stream stream("0123456789");
  EXPECT_EQ(stream.seek(4, STREAM_SEEK_SET), S_OK);
  const std::pair<LONGLONG, DWORD> refused[] = {
      {-1, STREAM_SEEK_SET}, {-5, STREAM_SEEK_CUR}, {INT64_MAX, STREAM_SEEK_CUR}, {-11, STREAM_SEEK_END}, {0, 3}};
  for (const auto& [by, origin] : refused)
    EXPECT_EQ(stream.seek(by, origin), STG_E_INVALIDFUNCTION) << by << " from " << origin;
  EXPECT_EQ(stream.at(), 4u);
  EXPECT_EQ(stream.seek(INT64_MAX, STREAM_SEEK_SET), S_OK);
  EXPECT_EQ(stream.read(2), "!");
  EXPECT_TRUE(FAILED(stream.write("x"))) << "there is no such memory";
  EXPECT_EQ(stream.whole(), "0123456789");
}

TEST(MemoryStream, GapsAndNewBytesAreZero) {
  Stream stream("ab");
  EXPECT_EQ(stream.seek(4, STREAM_SEEK_SET), S_OK);
  EXPECT_EQ(stream.write("cd"), S_OK);
  EXPECT_EQ(stream.whole(), std::string("ab\0\0cd", 6));
  EXPECT_EQ(stream->SetSize(bytes(1)), S_OK);
  EXPECT_EQ(stream->SetSize(bytes(3)), S_OK);
  EXPECT_EQ(stream.whole(), std::string("a\0\0", 3));
  EXPECT_EQ(stream.at(), 6u);
  EXPECT_TRUE(FAILED(stream->SetSize(bytes(UINT64_MAX))));
  EXPECT_EQ(stream.whole(), std::string("a\0\0", 3));
}

TEST(MemoryStream, CopiesToOthersAndToItself) {
  Stream from("0123456789"), to("xy");
  from.seek(2, STREAM_SEEK_SET);
  ULARGE_INTEGER read{}, written{};
  EXPECT_EQ(from->CopyTo(to, bytes(5), &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 5u);
  EXPECT_EQ(written.QuadPart, 5u);
  EXPECT_EQ(to.whole(), "23456");
  EXPECT_EQ(from.at(), 7u);
  EXPECT_EQ(from->CopyTo(to, bytes(UINT64_MAX), nullptr, nullptr), S_OK);
  EXPECT_EQ(to.whole(), "23456789");

  IStream* clone = nullptr;
  from.seek(0, STREAM_SEEK_SET);
  ASSERT_EQ(from->Clone(&clone), S_OK);
  Stream shared(clone);
  shared.seek(0, STREAM_SEEK_END);
  EXPECT_EQ(from->CopyTo(shared, bytes(UINT64_MAX), nullptr, nullptr), S_OK);
  EXPECT_EQ(from.whole(), "01234567890123456789") << "clones share the bytes, and the copy ends";
  EXPECT_EQ(from.at(), 10u);
  EXPECT_EQ(shared.at(), 20u);
}

TEST(MemoryStream, IsACountedObjectThatRefusesWhatItCannotDo) {
  Stream stream;
  EXPECT_EQ(stream->AddRef(), 2u);
  EXPECT_EQ(stream->Release(), 1u);
  for (const IID& iid : {IID_IUnknown, IID_ISequentialStream, IID_IStream}) {
    void* object = nullptr;
    EXPECT_EQ(stream->QueryInterface(iid, &object), S_OK);
    EXPECT_EQ(object, static_cast<IStream*>(stream));
    stream->Release();
  }
  void* object = &object;
  EXPECT_EQ(stream->QueryInterface(GUID{}, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(stream->QueryInterface(IID_IStream, nullptr), E_POINTER);
  EXPECT_EQ(stream->Read(nullptr, 1, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(stream->Write(nullptr, 1, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(stream->CopyTo(nullptr, bytes(1), nullptr, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(stream->Stat(nullptr, 0), STG_E_INVALIDPOINTER);
  EXPECT_EQ(stream->Clone(nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(stream->LockRegion(bytes(0), bytes(1), 1), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream->UnlockRegion(bytes(0), bytes(1), 1), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream->Commit(0), S_OK);
  EXPECT_EQ(stream->Revert(), S_OK);
  EXPECT_EQ(stream.whole(), "");
  IStream* none = stream;
  EXPECT_EQ(QvCreateMemoryStream(nullptr, 3, &none), E_POINTER);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(QvCreateMemoryStream(nullptr, 0, nullptr), E_POINTER);
}

} // namespace
