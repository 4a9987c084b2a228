#include "tools/qv/file/disk/output_stream.h"

namespace qv::tool {
namespace {

constexpr size_t kHeldBytes = 1 << 18;

} // namespace

OutputBuffer::OutputBuffer(const OutputFile& file) : file_(file), bytes_(kHeldBytes) { hold_nothing(); }

void OutputBuffer::finish() {
  flush();
  if (failure_) std::rethrow_exception(failure_);
}

/// A stream catches what is thrown to it: it is kept for finish().
bool OutputBuffer::flush() {
  const auto count = static_cast<size_t>(pptr() - pbase());
  try {
    if (!failure_ && count != 0) file_.append(bytes_.data(), static_cast<DWORD>(count));
  } catch (...) {
    failure_ = std::current_exception();
  }
  position_ += count;
  hold_nothing();
  return !failure_;
}

OutputBuffer::int_type OutputBuffer::overflow(int_type byte) {
  if (!flush()) return traits_type::eof();
  if (traits_type::eq_int_type(byte, traits_type::eof())) return traits_type::not_eof(byte);
  return sputc(traits_type::to_char_type(byte));
}

int OutputBuffer::sync() { return flush() ? 0 : -1; }

OutputBuffer::pos_type OutputBuffer::seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode which) {
  const uint64_t here = position_ + static_cast<uint64_t>(pptr() - pbase());
  if (from == std::ios::end) return pos_type(off_type(-1));
  if (offset == 0 && from == std::ios::cur) return pos_type(static_cast<off_type>(here));
  return seekpos(pos_type(from == std::ios::cur ? static_cast<off_type>(here) + offset : offset), which);
}

OutputBuffer::pos_type OutputBuffer::seekpos(pos_type position, std::ios::openmode /*which*/) {
  const auto to = static_cast<uint64_t>(off_type(position));
  if (off_type(position) < 0 || !flush() || !move_to(file_, to)) return pos_type(off_type(-1));
  position_ = to;
  return position;
}

} // namespace qv::tool
