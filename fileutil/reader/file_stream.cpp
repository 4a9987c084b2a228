#include "qv/mp4/data_handler.h"

#include <algorithm>
#include <cstring>

namespace fileutil {

class ifstream::Buffer : public std::streambuf {
public:
  Buffer() = default;
  ~Buffer() override { close(); }

  bool open(const WCHAR* path, DWORD share) {
    close();
    if (path != nullptr)
      file_ = CreateFileW(path, GENERIC_READ, share, nullptr, OPEN_EXISTING,
                          FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    return isOpen();
  }
  bool isOpen() const { return file_ != INVALID_HANDLE_VALUE; }
  void close() {
    if (isOpen()) CloseHandle(file_);
    file_ = INVALID_HANDLE_VALUE;
    forget(0);
    step_ = sizeof bytes_;
    pointer_ = 0;
  }
  bool skip(uint64_t bytes) {
    if (bytes > static_cast<uint64_t>(egptr() - gptr())) return false;
    gbump(static_cast<int>(bytes));
    return true;
  }
  uint64_t length() const {
    LARGE_INTEGER size{};
    if (!isOpen() || !GetFileSizeEx(file_, &size)) return DataHandler::kUnknownLength;
    return static_cast<uint64_t>(size.QuadPart);
  }

protected:
  int_type underflow() override {
    if (!hasJumped_) step_ = sizeof bytes_;
    hasJumped_ = false;
    const size_t got = read(bytes_, step_);
    setg(bytes_, bytes_, bytes_ + got);
    return got == 0 ? traits_type::eof() : traits_type::to_int_type(bytes_[0]);
  }

  std::streamsize xsgetn(char* to, std::streamsize count) override {
    if (count <= egptr() - gptr()) { // as nearly always
      std::memcpy(to, gptr(), static_cast<size_t>(count));
      gbump(static_cast<int>(count));
      return count;
    }
    std::streamsize done = 0;
    while (done < count) {
      const std::streamsize wanted = count - done;
      std::streamsize got = std::min<std::streamsize>(egptr() - gptr(), wanted);
      if (got > 0) {
        std::memcpy(to + done, gptr(), static_cast<size_t>(got));
        setg(eback(), gptr() + got, egptr());
      } else if (wanted >= static_cast<std::streamsize>(sizeof bytes_)) {
        forget(next_);
        got = static_cast<std::streamsize>(read(to + done, static_cast<uint64_t>(wanted)));
        if (got == 0) break;
      } else if (traits_type::eq_int_type(underflow(), traits_type::eof())) {
        break;
      }
      done += got;
    }
    return done;
  }

  pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode) override {
    const uint64_t size = from == std::ios_base::end ? length() : 0;
    if (!isOpen() || size == DataHandler::kUnknownLength) return pos_type(off_type(-1));
    const uint64_t base = from == std::ios_base::beg   ? 0
                          : from == std::ios_base::cur ? next_ - static_cast<uint64_t>(egptr() - gptr())
                                                       : size;
    const uint64_t target = base + static_cast<uint64_t>(offset);
    if (static_cast<off_type>(target) < 0) return pos_type(off_type(-1));
    const uint64_t buffered = next_ - static_cast<uint64_t>(egptr() - eback());
    if (target >= buffered && target <= next_)
      setg(eback(), eback() + (target - buffered), egptr());
    else
      jump(target);
    return pos_type(static_cast<off_type>(target));
  }

  pos_type seekpos(pos_type position, std::ios_base::openmode which) override {
    return seekoff(off_type(position), std::ios_base::beg, which);
  }

private:
  /// Empties the buffer; the next read is at `position`.
  void forget(uint64_t position) {
    setg(bytes_, bytes_, bytes_);
    next_ = position;
  }

  /// Where visits are short and far apart, as in a file of fragments, less is read at each, down to a quarter of the
  /// buffer; reading on takes whole buffers again.
  void jump(uint64_t position) {
    constexpr size_t kLeastStep = 1024;
    const auto used = static_cast<size_t>(gptr() - eback());
    if (!hasJumped_) step_ = used <= step_ / 2 ? std::max(step_ / 2, kLeastStep) : sizeof bytes_;
    hasJumped_ = true;
    forget(position);
  }

  size_t read(char* to, uint64_t count) {
    LARGE_INTEGER target{};
    target.QuadPart = static_cast<LONGLONG>(next_);
    if (!isOpen()) return 0;
    if (pointer_ != next_ && !SetFilePointerEx(file_, target, nullptr, FILE_BEGIN)) fail();
    DWORD got = 0;
    constexpr uint64_t kMostAtOnce = uint64_t{1} << 30;
    if (!ReadFile(file_, to, static_cast<DWORD>(std::min(count, kMostAtOnce)), &got, nullptr)) fail();
    next_ += got;
    pointer_ = next_;
    return got;
  }

  /// The stream turns it into badbit.
  [[noreturn]] static void fail() { throw std::ios_base::failure("the file cannot be read"); }

  HANDLE file_ = INVALID_HANDLE_VALUE;
  uint64_t next_ = 0;     ///< position behind what is buffered
  uint64_t pointer_ = 0;  ///< where the file's own pointer stands
  bool hasJumped_ = true; ///< since the buffer was filled
  char bytes_[4096];
  size_t step_ = sizeof bytes_; ///< how much to read next
};

ifstream::ifstream() : std::istream(nullptr), buffer_(std::make_unique<Buffer>()) { rdbuf(buffer_.get()); }

ifstream::ifstream(const WCHAR* path) : ifstream() { open(path); }

ifstream::~ifstream() = default;

void ifstream::open(const WCHAR* path, DWORD share) {
  clear();
  if (!buffer_->open(path, share)) setstate(failbit);
}

bool ifstream::is_open() const { return buffer_->isOpen(); }

void ifstream::close() { buffer_->close(); }

uint64_t ifstream::length() const { return buffer_->length(); }

bool ifstream::skipInBuffer(uint64_t bytes) { return good() && buffer_->skip(bytes); }

} // namespace fileutil
