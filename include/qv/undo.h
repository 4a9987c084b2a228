// Changes of a file that can be taken back: as data, and as the bytes of the undo file that lies beside the file while
// it is changed. docs/decisions/0010 lays the bytes out, and 0011 those of an update by way of a copy.
//
// Any thread may call any of these; a HANDLE is used by one thread at a time. std::bad_alloc leaves those that answer a
// string or a change.
#pragma once

#include "qv/export.h"
#include "qv/win32.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qv::undo {

struct Replacement {
  uint64_t offset = 0; ///< in the file as it is before the change
  std::string old_bytes;
  std::string new_bytes;
};

/// A change of one file: which bytes take the place of which.
struct QV_API FileChange {
  uint64_t old_length = 0;
  uint64_t new_length = 0;
  std::vector<Replacement> replacements; ///< in order; none overlaps another or passes the file's end

  /// Whether nothing but the file's end moves.
  bool is_in_place() const;
  /// What takes it back.
  FileChange reversed() const;
};

/// Whether replacements are in order, apart from each other and within a file of that length, and no sum overflows.
QV_API bool are_sound(const std::vector<Replacement>& replacements, uint64_t length);
/// What the length of a file becomes by them.
QV_API uint64_t length_after(const std::vector<Replacement>& replacements, uint64_t length);

enum class State : uint32_t {
  kUnbegun = 0,   ///< the record is not whole yet, and the file is as it was
  kBegun = 1,     ///< the file may be old, new or anything between
  kDone = 2,      ///< the file is new, and can be made old again
  kPassing = 3,   ///< as kBegun, but nobody wants to go back once the file is new
  kPreparing = 4, ///< a copy with the new bytes is being written, and the file is as it was
  kCopying = 5    ///< that copy is whole, and may be on its way into the file
};

/// What an undo file says: a change for the states up to kPassing, a copy for the others.
struct Record {
  State state = State::kUnbegun;
  FileChange change;       ///< of a copy the lengths alone
  uint64_t copy_token = 0; ///< what the copy is called by until it is whole
  uint64_t copy_sum = 0;   ///< CheckSum of its bytes, which are `change.new_length`; from kCopying on

  /// Whether the record holds no change, but says how far an update has come.
  bool is_of_update() const { return state == State::kUnbegun || state > State::kPassing; }
};

/// No undo file is longer.
constexpr uint64_t kMaxBytes = 64 << 20;
/// Where the state stands.
constexpr uint64_t kStateAt = 12;
/// Where the check sum of a copy stands, from kCopying on the end of the undo file.
constexpr uint64_t kCopySumAt = 48;

QV_API uint64_t size_in_bytes(const FileChange& change);
QV_API std::string to_bytes(const Record& record);
QV_API std::string state_bytes(State state);
QV_API std::string copy_sum_bytes(uint64_t sum);

enum class Trouble {
  kNone,
  kNoRecord,     ///< the bytes are those of another kind of file
  kOtherVersion, ///< a later version's
  kDamaged
};

/// Reads a record. One that was broken off before its state was set is of State::kUnbegun, and holds nothing else.
/// `record` is not to be used where there is trouble.
QV_API Trouble read_record(std::string_view bytes, Record& record);

/// XXH64, of seed 0, of bytes that come in pieces: a check sum that costs less than copying them. The algorithm is
/// published at https://github.com/Cyan4973/xxHash/blob/dev/doc/xxhash_spec.md.
class QV_API CheckSum {
public:
  void add(const void* bytes, size_t count);
  uint64_t value() const;

private:
  void add_stripes(const unsigned char* bytes, size_t stripes);

  uint64_t lanes_[4] = {0x60EA27EEADC0B5D6, 0xC2B2AE3D27D4EB4F, 0, 0x61C8864E7A143579};
  uint64_t total_ = 0;
  unsigned char held_[32] = {}; ///< the last total_ % 32 bytes
};

/// What a file holds where a change has its pieces.
enum class Holds { kOld, kNew, kMixed, kForeign };

/// Compares a file with a change. `file` is open for reading. ERROR_SUCCESS, or the error of the system that reading
/// met.
QV_API DWORD examine(HANDLE file, const FileChange& change, Holds& holds);

/// Makes a change that is in place: writes each piece, and cuts or extends the file. `file` is open for reading and
/// writing. ERROR_SUCCESS, or the error of the system that stopped it, ERROR_DISK_FULL where no reason was given; the
/// file is then changed in part.
QV_API DWORD write_pieces(HANDLE file, const FileChange& change);

} // namespace qv::undo
