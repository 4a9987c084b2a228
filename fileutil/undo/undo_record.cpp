#include "fileutil/undo/crc.h"

#include "qv/undo.h"

namespace qv::undo {

namespace {

constexpr std::string_view kMagic("qv undo\0", 8);
constexpr uint32_t kVersion = 1;
constexpr uint32_t kCopyVersion = 2;
constexpr size_t kHeaderBytes = 40;
constexpr size_t kHeaderCheckAt = 36;
constexpr size_t kPieceBytes = 32;
constexpr size_t kTokenBytes = 8;
constexpr size_t kCopySumBytes = 12;

void put(std::string& to, uint64_t value, int bytes) {
  for (; bytes > 0; --bytes, value >>= 8)
    to += static_cast<char>(value & 0xFF);
}

/// Takes numbers and bytes off the front of a record. Past its end there are zeros, and the reader has failed.
class Reader {
public:
  explicit Reader(std::string_view bytes) : rest_(bytes) {}

  std::string_view take(uint64_t bytes) {
    if (bytes > rest_.size()) {
      has_failed_ = true;
      rest_ = {};
      return {};
    }
    const std::string_view taken = rest_.substr(0, bytes);
    rest_.remove_prefix(bytes);
    return taken;
  }
  uint64_t number(size_t bytes) {
    uint64_t value = 0;
    const std::string_view taken = take(bytes);
    for (size_t k = taken.size(); k > 0; --k)
      value = value << 8 | static_cast<unsigned char>(taken[k - 1]);
    return value;
  }
  uint32_t number32() { return static_cast<uint32_t>(number(4)); }
  bool is_at_end() const { return !has_failed_ && rest_.empty(); }
  bool has_failed() const { return has_failed_; }
  size_t bytes_left() const { return rest_.size(); }

private:
  std::string_view rest_;
  bool has_failed_ = false;
};

/// The check sum of header and table; that and the state are left out.
uint32_t header_check(std::string_view front) {
  const std::string header =
      std::string(front.substr(0, kStateAt)) + std::string(front.substr(kStateAt + 4, kHeaderCheckAt - kStateAt - 4));
  return crc_of(header, front.substr(kHeaderBytes));
}

bool is_of_copy(State state) { return state == State::kPreparing || state == State::kCopying; }

void put_table(std::string& to, const FileChange& change) {
  for (const Replacement& piece : change.replacements) {
    put(to, piece.offset, 8);
    put(to, piece.old_bytes.size(), 8);
    put(to, piece.new_bytes.size(), 8);
    put(to, crc_of(piece.old_bytes), 4);
    put(to, crc_of(piece.new_bytes), 4);
  }
}

/// Whether the piece's bytes are there and are what the table says.
bool read_bytes(Reader& bytes, uint64_t count, uint32_t check, std::string& to) {
  const std::string_view taken = bytes.take(count);
  if (bytes.has_failed() || crc_of(taken) != check) return false;
  to = taken;
  return true;
}

bool read_pieces(Reader table, Reader& bytes, uint32_t count, FileChange& change) {
  for (uint32_t k = 0; k < count; ++k) {
    Replacement piece = {table.number(8), {}, {}};
    const uint64_t old_bytes = table.number(8);
    const uint64_t new_bytes = table.number(8);
    const uint32_t old_check = table.number32();
    const uint32_t new_check = table.number32();
    if (!read_bytes(bytes, old_bytes, old_check, piece.old_bytes)) return false;
    if (!read_bytes(bytes, new_bytes, new_check, piece.new_bytes)) return false;
    change.replacements.push_back(std::move(piece));
  }
  return bytes.is_at_end() && are_sound(change.replacements, change.old_length) &&
         length_after(change.replacements, change.old_length) == change.new_length;
}

/// What follows the token. While the copy is being prepared its check sum may be there in part.
bool read_copy_sum(Reader& bytes, Record& record) {
  if (record.state == State::kPreparing) return bytes.bytes_left() <= kCopySumBytes;
  const std::string_view sum = bytes.take(8);
  record.copy_sum = Reader(sum).number(8);
  return bytes.number32() == crc_of(sum) && bytes.is_at_end();
}

/// Whether the writer was broken off before it had set the state.
bool is_unbegun(std::string_view bytes) {
  if (bytes.size() < kStateAt + 4) return kMagic.starts_with(bytes.substr(0, kMagic.size()));
  Reader header(bytes.substr(0, kStateAt + 4));
  const bool is_ours = header.take(kMagic.size()) == kMagic;
  const uint32_t version = header.number32();
  return is_ours && (version == kVersion || version == kCopyVersion) && header.number32() == 0;
}

} // namespace

std::string state_bytes(State state) {
  std::string bytes;
  put(bytes, static_cast<uint32_t>(state), 4);
  return bytes;
}

std::string copy_sum_bytes(uint64_t sum) {
  std::string bytes;
  put(bytes, sum, 8);
  put(bytes, crc_of(bytes), 4);
  return bytes;
}

uint64_t size_in_bytes(const FileChange& change) {
  uint64_t bytes = kHeaderBytes + kPieceBytes * change.replacements.size();
  for (const Replacement& piece : change.replacements)
    bytes += piece.old_bytes.size() + piece.new_bytes.size();
  return bytes;
}

std::string to_bytes(const Record& record) {
  const FileChange& change = record.change;
  std::string bytes(kMagic);
  bytes.reserve(static_cast<size_t>(size_in_bytes(change)));
  put(bytes, is_of_copy(record.state) ? kCopyVersion : kVersion, 4);
  bytes += state_bytes(record.state);
  put(bytes, change.old_length, 8);
  put(bytes, change.new_length, 8);
  put(bytes, change.replacements.size(), 4);
  put(bytes, 0, 4); // the check sum, once the table is there
  if (is_of_copy(record.state))
    put(bytes, record.copy_token, kTokenBytes);
  else
    put_table(bytes, change);
  std::string check;
  put(check, header_check(bytes), 4);
  bytes.replace(kHeaderCheckAt, check.size(), check);
  for (const Replacement& piece : change.replacements) {
    bytes += piece.old_bytes;
    bytes += piece.new_bytes;
  }
  if (record.state == State::kCopying) bytes += copy_sum_bytes(record.copy_sum);
  return bytes;
}

Trouble read_record(std::string_view bytes, Record& record) {
  record = {};
  if (is_unbegun(bytes)) return Trouble::kNone;
  if (!bytes.starts_with(kMagic)) return Trouble::kNoRecord;
  Reader header(bytes.substr(kMagic.size()));
  const uint32_t version = header.number32();
  if (version != kVersion && version != kCopyVersion) return Trouble::kOtherVersion;
  record.state = static_cast<State>(header.number32());
  record.change.old_length = header.number(8);
  record.change.new_length = header.number(8);
  const uint32_t count = header.number32();
  const uint32_t check = header.number32();
  const bool is_copy = version == kCopyVersion;
  const std::string_view table = header.take(is_copy ? kTokenBytes : kPieceBytes * uint64_t{count});
  if (header.has_failed() || header_check(bytes.substr(0, kHeaderBytes + table.size())) != check)
    return Trouble::kDamaged;
  if (record.state > State::kCopying || is_of_copy(record.state) != is_copy || (is_copy && count != 0))
    return Trouble::kDamaged;
  if (is_copy) record.copy_token = Reader(table).number(kTokenBytes);
  const bool is_sound =
      is_copy ? read_copy_sum(header, record) : read_pieces(Reader(table), header, count, record.change);
  return is_sound ? Trouble::kNone : Trouble::kDamaged;
}

} // namespace qv::undo
