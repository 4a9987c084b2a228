#include "tests/riff/scratch_file.h"

#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace riff_test {

namespace {

std::filesystem::path fresh_path() {
  static std::mt19937_64 random(std::random_device{}());
  return std::filesystem::temp_directory_path() / ("qv-riff-test-" + std::to_string(random()));
}

} // namespace

ScratchFile::ScratchFile(const Bytes& bytes) : path_(fresh_path()) {
  std::ofstream(path_, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  handle_ = CreateFileW(name().c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle_ == INVALID_HANDLE_VALUE) throw std::runtime_error("the scratch file did not open");
}

ScratchFile::~ScratchFile() { erase(); }

void ScratchFile::erase() {
  close();
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

void ScratchFile::close() {
  if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
  handle_ = INVALID_HANDLE_VALUE;
}

Bytes ScratchFile::contents() const {
  std::ifstream in(path_, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

int64_t ScratchFile::position() const {
  LARGE_INTEGER zero;
  LARGE_INTEGER at;
  zero.QuadPart = 0;
  if (!SetFilePointerEx(handle_, zero, &at, FILE_CURRENT)) throw std::runtime_error("no position");
  return at.QuadPart;
}

void ScratchFile::move_to(int64_t position) const {
  LARGE_INTEGER to;
  to.QuadPart = position;
  if (!SetFilePointerEx(handle_, to, nullptr, FILE_BEGIN)) throw std::runtime_error("no move");
}

} // namespace riff_test
