#include "tools/qv/undo/undo_record.h"

#include "tools/qv/failure.h"

#include <array>
#include <string_view>

namespace qv::tool {

namespace {

constexpr std::string_view kMagic("qv undo\0", 8);
constexpr uint32_t kVersion = 1;
constexpr size_t kHeaderBytes = 40;
constexpr size_t kHeaderCheckAt = 36;
constexpr size_t kPieceBytes = 32;

constexpr std::array<uint32_t, 256> kCrcTable = [] {
  std::array<uint32_t, 256> table = {};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t rest = byte;
    for (int bit = 0; bit < 8; ++bit)
      rest = (rest & 1) ? rest >> 1 ^ 0xEDB88320 : rest >> 1;
    table[byte] = rest;
  }
  return table;
}();

/// CRC-32 of ISO 3309.
uint32_t crc_of(std::string_view bytes) {
  uint32_t crc = ~uint32_t{0};
  for (const char byte : bytes)
    crc = crc >> 8 ^ kCrcTable[(crc ^ static_cast<unsigned char>(byte)) & 0xFF];
  return ~crc;
}

void put(std::string& to, uint64_t value, int bytes) {
  for (; bytes > 0; --bytes, value >>= 8)
    to += static_cast<char>(value & 0xFF);
}

/// Takes numbers and bytes off the front of a record; throws where there are too few.
class Reader {
public:
  Reader(const std::string& name, std::string_view bytes) : name_(name), rest_(bytes) {}

  std::string_view take(uint64_t bytes) {
    if (bytes > rest_.size()) damaged();
    const std::string_view taken = rest_.substr(0, bytes);
    rest_.remove_prefix(bytes);
    return taken;
  }
  uint64_t number(size_t bytes) {
    const std::string_view taken = take(bytes);
    uint64_t value = 0;
    for (size_t k = bytes; k > 0; --k)
      value = value << 8 | static_cast<unsigned char>(taken[k - 1]);
    return value;
  }
  uint32_t number32() { return static_cast<uint32_t>(number(4)); }
  uint64_t bytes_left() const { return rest_.size(); }
  [[noreturn]] void damaged() const { throw Failure(name_, "is a damaged undo file"); }

private:
  const std::string& name_;
  std::string_view rest_;
};

/// The check sum of header and table; that and the state are left out.
uint32_t header_check(std::string_view front) {
  return crc_of(std::string(front.substr(0, kUndoStateAt)) +
                std::string(front.substr(kUndoStateAt + 4, kHeaderCheckAt - kUndoStateAt - 4)) +
                std::string(front.substr(kHeaderBytes)));
}

std::string checked_bytes(Reader& reader, uint64_t bytes, uint32_t check) {
  const std::string_view taken = reader.take(bytes);
  if (crc_of(taken) != check) reader.damaged();
  return std::string(taken);
}

} // namespace

std::string state_bytes(UndoState state) {
  std::string bytes;
  put(bytes, static_cast<uint32_t>(state), 4);
  return bytes;
}

uint64_t size_in_bytes(const FileChange& change) {
  uint64_t bytes = kHeaderBytes + kPieceBytes * change.replacements.size();
  for (const Replacement& piece : change.replacements)
    bytes += piece.old_bytes.size() + piece.new_bytes.size();
  return bytes;
}

std::string to_bytes(const UndoRecord& record) {
  const FileChange& change = record.change;
  std::string bytes(kMagic);
  put(bytes, kVersion, 4);
  bytes += state_bytes(record.state);
  put(bytes, change.old_length, 8);
  put(bytes, change.new_length, 8);
  put(bytes, change.replacements.size(), 4);
  put(bytes, 0, 4); // the check sum, once the table is there
  for (const Replacement& piece : change.replacements) {
    put(bytes, piece.offset, 8);
    put(bytes, piece.old_bytes.size(), 8);
    put(bytes, piece.new_bytes.size(), 8);
    put(bytes, crc_of(piece.old_bytes), 4);
    put(bytes, crc_of(piece.new_bytes), 4);
  }
  std::string check;
  put(check, header_check(bytes), 4);
  bytes.replace(kHeaderCheckAt, check.size(), check);
  for (const Replacement& piece : change.replacements)
    bytes += piece.old_bytes + piece.new_bytes;
  return bytes;
}

UndoRecord undo_record_from(const std::string& name, const std::string& bytes) {
  Reader header(name, bytes);
  if (!bytes.starts_with(kMagic)) throw Failure(name, "is no undo file");
  header.take(kMagic.size());
  if (header.number32() != kVersion) throw Failure(name, "is an undo file of another version of qv");
  UndoRecord record = {static_cast<UndoState>(header.number32()), {}};
  FileChange& change = record.change;
  change.old_length = header.number(8);
  change.new_length = header.number(8);
  const uint32_t count = header.number32();
  const uint32_t check = header.number32();
  if (record.state < UndoState::kBegun || record.state > UndoState::kPassing) header.damaged();
  const uint64_t table_bytes = kPieceBytes * count;
  Reader table(name, header.take(table_bytes));
  if (header_check(std::string_view(bytes).substr(0, kHeaderBytes + table_bytes)) != check) header.damaged();
  for (uint32_t k = 0; k < count; ++k) {
    Replacement piece = {table.number(8), {}, {}};
    const uint64_t old_bytes = table.number(8);
    const uint64_t new_bytes = table.number(8);
    const uint32_t old_check = table.number32();
    piece.old_bytes = checked_bytes(header, old_bytes, old_check);
    piece.new_bytes = checked_bytes(header, new_bytes, table.number32());
    change.replacements.push_back(std::move(piece));
  }
  const bool fits = are_sound(change.replacements, change.old_length) &&
                    length_after(change.replacements, change.old_length) == change.new_length;
  if (!fits || header.bytes_left() != 0) header.damaged();
  return record;
}

} // namespace qv::tool
