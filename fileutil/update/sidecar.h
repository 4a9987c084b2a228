// FILE.qv-undo while an update lasts: how far it has come, and what it has overwritten.
#pragma once

#include "fileutil/update/held_file.h"

#include "qv/undo.h"

namespace fileutil {

/// Beside a file that is held. Locked from create() or open() on, until it is removed or this goes.
class Sidecar {
public:
  /// `file` must outlive it.
  explicit Sidecar(const HeldFile& file);

  /// Makes one that says `record`. QVERR_UNDO_IN_THE_WAY where the name is taken, or an error of the system: then
  /// nothing is left of it. `flush`: what it says at any time outlives a loss of power.
  HRESULT create(const qv::undo::Record& record, bool flush);
  /// Opens the one that is there, and reads it; waits for its writer, should that live. S_FALSE: there is none.
  /// QVERR_UNDO_IN_THE_WAY: it cannot be used.
  HRESULT open();
  const qv::undo::Record& record() const { return record_; }

  HRESULT setState(qv::undo::State state);
  /// Says the check sum of the copy, which belongs to State::kCopying.
  HRESULT setCopySum(uint64_t sum);
  bool remove();

private:
  HRESULT writeAt(uint64_t position, const std::string& bytes) const;
  HRESULT write(const std::string& bytes);
  HRESULT read();

  const HeldFile& held_;
  const qv::WString path_;
  OpenFile file_;
  bool flushes_ = true;
  qv::undo::Record record_;
};

/// Whether beside an open file lies one that a killed update has left. Waits for nobody.
bool hasBrokenSidecar(const OpenFile& file);

} // namespace fileutil
