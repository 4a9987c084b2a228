#include "fileutil/update/sidecar.h"

#include "qv/result.h"

namespace fileutil {

using qv::undo::State;
using qv::undo::Trouble;

namespace {

qv::WString sidecarOf(const qv::WString& path) { return path + QV_TEXT(".qv-undo"); }

/// Opens what is there, unless it is a link or another user can have written it.
OpenFile openTrusted(const qv::WString& path, DWORD access, const OpenFile& kin) {
  return OpenFile(
      CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, kin));
}

bool readAll(const OpenFile& file, std::string& bytes) {
  uint64_t length = 0;
  if (!file.getLength(length) || length > qv::undo::kMaxBytes) return false;
  bytes.resize(static_cast<size_t>(length));
  return file.readAt(0, bytes.data(), bytes.size());
}

bool readRecord(const OpenFile& file, qv::undo::Record& record) {
  std::string bytes;
  return readAll(file, bytes) && qv::undo::read_record(bytes, record) == Trouble::kNone;
}

} // namespace

Sidecar::Sidecar(const HeldFile& file) : held_(file), path_(sidecarOf(file.path())) {}

HRESULT Sidecar::writeAt(uint64_t position, const std::string& bytes) const {
  const bool is_written = file_.writeAt(position, bytes.data(), bytes.size()) && (!flushes_ || FlushFileBuffers(file_));
  return is_written ? S_OK : lastResult();
}

/// The state last: a record that is whole is told from one whose writer was killed before the file was touched.
HRESULT Sidecar::write(const std::string& bytes) {
  std::string unbegun = bytes;
  unbegun.replace(qv::undo::kStateAt, 4, qv::undo::state_bytes(State::kUnbegun));
  const HRESULT result = writeAt(0, unbegun);
  if (result != S_OK) return result;
  if (flushes_) flushFolderOf(path_);
  return setState(record_.state);
}

HRESULT Sidecar::create(const qv::undo::Record& record, bool flush) {
  flushes_ = flush;
  record_ = record;
  file_ = OpenFile(CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr, CREATE_NEW,
                               FILE_ATTRIBUTE_NORMAL, held_.file()));
  if (!file_.isOpen()) return GetLastError() == ERROR_FILE_EXISTS ? QVERR_UNDO_IN_THE_WAY : lastResult();
  const HRESULT result = file_.lock(LOCKFILE_EXCLUSIVE_LOCK) ? write(qv::undo::to_bytes(record)) : lastResult();
  if (result != S_OK) remove();
  return result;
}

HRESULT Sidecar::read() { return readRecord(file_, record_) ? S_OK : QVERR_UNDO_IN_THE_WAY; }

HRESULT Sidecar::open() {
  // Its writer may have removed it by the time that it lets it go.
  for (;;) {
    file_ = openTrusted(path_, GENERIC_READ | GENERIC_WRITE, held_.file());
    if (!file_.isOpen()) return GetLastError() == ERROR_FILE_NOT_FOUND ? S_FALSE : QVERR_UNDO_IN_THE_WAY;
    if (!file_.lock(LOCKFILE_EXCLUSIVE_LOCK)) return lastResult();
    if (!file_.path().empty()) return read();
    if (GetLastError() != ERROR_FILE_NOT_FOUND) return lastResult();
    file_.close(); // Windows lets the name go with the last handle
  }
}

HRESULT Sidecar::setState(State state) {
  record_.state = state;
  return writeAt(qv::undo::kStateAt, qv::undo::state_bytes(state));
}

HRESULT Sidecar::setCopySum(uint64_t sum) {
  record_.copy_sum = sum;
  return writeAt(qv::undo::kCopySumAt, qv::undo::copy_sum_bytes(sum));
}

bool Sidecar::remove() {
  file_.close(); // Windows deletes no file that is open
  return DeleteFileW(path_.c_str());
}

bool hasBrokenSidecar(const OpenFile& file) {
  const qv::WString path = file.path();
  if (path.empty()) return false;
  const OpenFile sidecar = openTrusted(sidecarOf(path), GENERIC_READ, file);
  if (!sidecar.isOpen() || !sidecar.lock(LOCKFILE_FAIL_IMMEDIATELY)) return false;
  // A writer that has just made it may not have locked it yet, but holds the file.
  if (!file.lock(LOCKFILE_FAIL_IMMEDIATELY)) return false;
  qv::undo::Record record;
  return readRecord(sidecar, record) && record.state != State::kDone;
}

} // namespace fileutil
