// A real file for one test: created with given bytes, open for reading and writing, removed at the end.
#pragma once

#include "tests/riff/riff_bytes.h"

#include "qv/win32.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <stdexcept>

namespace riff_test {

class ScratchFile {
public:
  explicit ScratchFile(const Bytes& bytes = {}) {
    std::ofstream(path_, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    handle_ = CreateFileW(name().c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle_ == INVALID_HANDLE_VALUE) throw std::runtime_error("the scratch file did not open");
  }
  ~ScratchFile() { erase(); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  operator HANDLE() const { return handle_; }
  qv::WString name() const { return path_.string<WCHAR>(); }
  bool exists() const { return std::filesystem::exists(path_); }

  /// Closes the handle, for functions that open the file themselves and do not share it with a writer.
  void close() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
  }
  /// Closes the handle and removes the file, for functions that make one of that name.
  void erase() {
    close();
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  /// The file's bytes as another reader sees them.
  Bytes contents() const {
    std::ifstream in(path_, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
  }
  int64_t position() const { return move(0, FILE_CURRENT); }
  void move_to(int64_t position) const { move(position, FILE_BEGIN); }

private:
  static std::filesystem::path fresh_path() {
    static std::mt19937_64 random(std::random_device{}());
    return std::filesystem::temp_directory_path() / ("qv-riff-test-" + std::to_string(random()));
  }
  int64_t move(int64_t by, DWORD method) const {
    LARGE_INTEGER to, at;
    to.QuadPart = by;
    if (!SetFilePointerEx(handle_, to, &at, method)) throw std::runtime_error("no move");
    return at.QuadPart;
  }

  std::filesystem::path path_ = fresh_path();
  HANDLE handle_;
};

/// Does `check` with a file that was cut after each byte from `from` on, and with the whole one; the file must not
/// grow.
template <class Check>
void cut_after_each_byte(const Bytes& whole, size_t from, Check check) {
  for (size_t length = from; length <= whole.size(); ++length) {
    SCOPED_TRACE(testing::Message() << "cut after " << length);
    const ScratchFile file(whole.substr(0, length));
    check(file, length);
    EXPECT_LE(file.contents().size(), length);
  }
}

} // namespace riff_test
