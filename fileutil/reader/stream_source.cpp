#include "qv/mp4/data_handler.h"

#include <algorithm>
#include <limits>

namespace fileutil {

namespace {

constexpr std::streamoff kNowhere = -1;

std::streamoff seek(std::istream& in, std::streamoff offset, std::ios_base::seekdir from) {
  return std::streamoff(in.rdbuf()->pubseekoff(offset, from, std::ios_base::in));
}

bool isBuffered(std::istream& in, uint64_t bytes) {
  const std::streamsize buffered = in.rdbuf()->in_avail();
  return buffered >= 0 && bytes <= static_cast<uint64_t>(buffered);
}

} // namespace

StreamSource::StreamSource(std::istream& in, bool seeksFreely) : in_(&in), seeksFreely_(seeksFreely) {
  if (!in.good() || in.rdbuf() == nullptr) return;
  const std::streamoff begin = seek(in, 0, std::ios_base::cur);
  if (begin == kNowhere) return;
  const std::streamoff end = seek(in, 0, std::ios_base::end);
  if (seek(in, begin, std::ios_base::beg) != begin || end < begin) return;
  begin_ = begin;
  available_ = static_cast<uint64_t>(end - begin);
}

uint64_t StreamSource::skip(uint64_t bytes) {
  if (!in_->good()) return 0;
  if (begin_ == kNowhere || (!seeksFreely_ && isBuffered(*in_, bytes))) return readOver(bytes);
  const uint64_t wanted = std::min(bytes, available_);
  const std::streamoff position = seek(*in_, static_cast<std::streamoff>(wanted), std::ios_base::cur);
  if (position == kNowhere) return readOver(bytes);
  const uint64_t reached = static_cast<uint64_t>(position - begin_);
  if (reached <= available_) return wanted;
  seek(*in_, begin_ + static_cast<std::streamoff>(available_), std::ios_base::beg);
  return wanted - std::min(wanted, reached - available_);
}

uint64_t StreamSource::readOver(uint64_t bytes) {
  uint64_t done = 0;
  while (done < bytes && in_->good()) {
    constexpr uint64_t kMost = std::numeric_limits<std::streamsize>::max() - 1;
    in_->ignore(static_cast<std::streamsize>(std::min(bytes - done, kMost)));
    done += static_cast<uint64_t>(in_->gcount());
  }
  return done;
}

bool StreamSource::rewind() {
  if (begin_ == kNowhere) return false;
  in_->clear();
  return seek(*in_, begin_, std::ios_base::beg) == begin_;
}

} // namespace fileutil
