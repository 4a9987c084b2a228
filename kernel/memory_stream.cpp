#include "qv/memory_stream.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace qv::kernel {

namespace {

using Bytes = std::vector<BYTE>;

/// The largest size that a vector and an offset within it can have.
constexpr ULONGLONG kMaxBytes = PTRDIFF_MAX;

/// Changes the size, or leaves the bytes as they are when there is no memory for it.
HRESULT resize(Bytes& bytes, ULONGLONG size) {
  if (size > kMaxBytes) return STG_E_MEDIUMFULL;
  try {
    bytes.resize(size);
    return S_OK;
  } catch (const std::exception&) { // bad_alloc, length_error
    return E_OUTOFMEMORY;
  }
}

// The system's own IStream has no virtual destructor: objects delete themselves.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class MemoryStream final : public IStream {
public:
  MemoryStream(std::shared_ptr<Bytes> bytes, ULONGLONG position) : bytes_(std::move(bytes)), position_(position) {}
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (!object) return E_POINTER;
    const bool known = iid == IID_IUnknown || iid == IID_ISequentialStream || iid == IID_IStream;
    *object = known ? static_cast<IStream*>(this) : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return references_.fetch_add(1) + 1; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = references_.fetch_sub(1) - 1;
    if (left == 0) delete this;
    return left;
  }

  HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* read) override {
    if (read) *read = 0;
    if (!buffer) return STG_E_INVALIDPOINTER;
    const auto taken = static_cast<ULONG>(std::min<ULONGLONG>(count, left()));
    if (taken != 0) std::memcpy(buffer, bytes_->data() + position_, taken);
    position_ += taken;
    if (read) *read = taken;
    return taken < count ? S_FALSE : S_OK;
  }

  HRESULT STDMETHODCALLTYPE Write(const void* buffer, ULONG count, ULONG* written) override {
    if (written) *written = 0;
    if (!buffer) return STG_E_INVALIDPOINTER;
    if (count == 0) return S_OK;
    if (position_ > kMaxBytes - count) return STG_E_MEDIUMFULL;
    if (position_ + count > bytes_->size()) {
      const HRESULT result = resize(*bytes_, position_ + count);
      if (FAILED(result)) return result;
    }
    std::memcpy(bytes_->data() + position_, buffer, count);
    position_ += count;
    if (written) *written = count;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    const ULONGLONG bases[] = {0, position_, bytes_->size()};
    if (origin >= std::size(bases)) return STG_E_INVALIDFUNCTION;
    const ULONGLONG base = bases[origin];
    // All bases are below 2^63: a sum past that comes out negative.
    const auto target = static_cast<LONGLONG>(base + static_cast<ULONGLONG>(move.QuadPart));
    if (target < 0) return STG_E_INVALIDFUNCTION;
    position_ = static_cast<ULONGLONG>(target);
    if (position) position->QuadPart = position_;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override { return resize(*bytes_, size.QuadPart); }

  HRESULT STDMETHODCALLTYPE CopyTo(IStream* stream, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                                   ULARGE_INTEGER* written) override {
    if (read) read->QuadPart = 0;
    if (written) written->QuadPart = 0;
    if (!stream) return STG_E_INVALIDPOINTER;
    // The bytes go through a buffer, and no further than the end is now: the other stream may share them.
    BYTE block[4096];
    HRESULT result = S_OK;
    for (ULONGLONG rest = std::min<ULONGLONG>(count.QuadPart, left()); rest != 0 && result == S_OK;) {
      ULONG taken = 0;
      ULONG put = 0;
      Read(block, static_cast<ULONG>(std::min<ULONGLONG>(rest, sizeof block)), &taken);
      result = stream->Write(block, taken, &put);
      if (read) read->QuadPart += taken;
      if (written) written->QuadPart += put;
      if (SUCCEEDED(result) && put < taken) result = STG_E_MEDIUMFULL;
      rest -= taken;
    }
    return result;
  }

  HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Revert() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return STG_E_INVALIDFUNCTION;
  }

  HRESULT STDMETHODCALLTYPE Stat(STATSTG* status, DWORD) override {
    if (!status) return STG_E_INVALIDPOINTER;
    *status = {};
    status->type = STGTY_STREAM;
    status->cbSize.QuadPart = bytes_->size();
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Clone(IStream** stream) override {
    if (!stream) return STG_E_INVALIDPOINTER;
    *stream = new (std::nothrow) MemoryStream(bytes_, position_);
    return *stream ? S_OK : E_OUTOFMEMORY;
  }

private:
  ULONGLONG left() const { return position_ < bytes_->size() ? bytes_->size() - position_ : 0; }

  std::shared_ptr<Bytes> bytes_;
  ULONGLONG position_;
  std::atomic<ULONG> references_{1};
};
#pragma GCC diagnostic pop

} // namespace

} // namespace qv::kernel

HRESULT QvCreateMemoryStream(const void* bytes, ULONGLONG size, IStream** stream) {
  if (!stream) return E_POINTER;
  *stream = nullptr;
  if (!bytes && size != 0) return E_POINTER;
  if (size > qv::kernel::kMaxBytes) return E_OUTOFMEMORY;
  try {
    const auto* first = static_cast<const BYTE*>(bytes);
    auto copy = std::make_shared<qv::kernel::Bytes>(first, first + size);
    *stream = new qv::kernel::MemoryStream(std::move(copy), 0);
    return S_OK;
  } catch (const std::exception&) {
    return E_OUTOFMEMORY;
  }
}
