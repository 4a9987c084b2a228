// Changes in place: killed after each write, sync and close, a file is old or new once the next run has settled it; and
// an undo file that is not what was written is not used.
#include "platform/posix/seams.h"
#include "tests/cli/scratch_folder.h"
#include "tools/qv/undo/change_file.h"

#include <cerrno>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace cli_test;
using namespace qv::tool;
using qv::platform::kSystemFileCalls;

namespace {

struct Change {
  const char* name;
  std::vector<Replacement> pieces;
  std::string after;
};

const std::string kBefore = "RIFFsizeWAVEfmt recorddatasizeaudio";
const Change kChanges[] = {
    {"two places", {{4, "size", "SIZE"}, {26, "size", "1234"}}, "RIFFSIZEWAVEfmt recorddata1234audio"},
    {"longer", {{4, "size", "SIZE"}, {30, "audio", "audio and more"}}, "RIFFSIZEWAVEfmt recorddatasizeaudio and more"},
    {"appended", {{35, "", "end"}}, "RIFFsizeWAVEfmt recorddatasizeaudioend"},
    {"shorter", {{0, "RIFF", "FFIR"}, {22, "datasizeaudio", "d"}}, "FFIRsizeWAVEfmt recordd"},
    {"a longer header",
     {{0, "RIFFsize", "RIFF--size--"}, {26, "size", "SIZE"}},
     "RIFF--size--WAVEfmt recorddataSIZEaudio"},
    {"twice at its end", {{30, "audio", "more audio"}, {35, "", "!"}}, "RIFFsizeWAVEfmt recorddatasizemore audio!"},
    {"none in front", {{0, "RIFFsizeWAVEfmt record", ""}, {35, "", "!"}}, "datasizeaudio!"},
};

/// A file in a folder of its own.
struct Subject {
  ScratchFolder folder;
  std::string name = folder.put("a.wav", kBefore);

  std::string bytes() const { return read_file(name); }
  std::string undo_name() const { return name + ".qv-undo"; }
  bool has_undo() const { return std::filesystem::exists(undo_name()); }
};

int calls_left = 0;
int syncs = 0;

bool is_last() { return --calls_left == 0; }

/// The process ends in the call, or in the middle of what it writes.
const qv::platform::FileCalls kDeadly = [] {
  qv::platform::FileCalls calls = kSystemFileCalls;
  calls.write = [](int descriptor, const void* buffer, size_t bytes, int64_t position) -> ssize_t {
    const bool last = is_last();
    const ssize_t done = kSystemFileCalls.write(descriptor, buffer, last ? bytes / 2 : bytes, position);
    if (last) _exit(9);
    return done;
  };
  calls.sync = [](int descriptor) { return is_last() ? (_exit(9), 0) : kSystemFileCalls.sync(descriptor); };
  calls.close = [](int descriptor) { return is_last() ? (_exit(9), 0) : kSystemFileCalls.close(descriptor); };
  return calls;
}();

/// Runs the work in a process that is killed in the n-th call. Whether there was one.
bool killed_in_call(int nth, const std::function<void()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    calls_left = nth;
    qv::platform::set_file_calls(&kDeadly);
    work();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 9)) << status;
  return WEXITSTATUS(status) == 9;
}

void change(const Subject& subject, const Change& row, UndoPolicy policy = UndoPolicy::kKeep) {
  change_file(LockedInput(subject.name), row.pieces, policy);
}

TEST(Undo, AChangeThatIsKilledIsSettledByTheNextRun) {
  for (const Change& row : kChanges)
    for (const UndoPolicy policy : {UndoPolicy::kKeep, UndoPolicy::kUntilDone}) {
      bool killed = true;
      for (int nth = 1; killed; ++nth) {
        SCOPED_TRACE(std::string(row.name) + ", killed in call " + std::to_string(nth));
        ASSERT_LT(nth, 100);
        const Subject subject;
        killed = killed_in_call(nth, [&] { change(subject, row, policy); });
        const Settled settled = settle_change(LockedInput(subject.name));
        if (!killed) EXPECT_EQ(settled, Settled::kNothing);
        if (settled == Settled::kUndone || !killed) EXPECT_EQ(subject.bytes(), killed ? kBefore : row.after);
        if (settled == Settled::kFinished) EXPECT_EQ(subject.bytes(), row.after);
        ASSERT_TRUE(subject.bytes() == kBefore || subject.bytes() == row.after) << subject.bytes();
        EXPECT_EQ(subject.has_undo(), policy == UndoPolicy::kKeep && subject.bytes() == row.after);
        if (subject.bytes() == kBefore) change(subject, row, policy);
        EXPECT_EQ(subject.bytes(), row.after);
        if (policy == UndoPolicy::kKeep) undo_change(LockedInput(subject.name));
        EXPECT_EQ(subject.bytes(), policy == UndoPolicy::kKeep ? kBefore : row.after);
        EXPECT_EQ(subject.folder.names(), std::vector<std::string>{"a.wav"});
      }
    }
}

TEST(Undo, UndoingThatIsKilledIsSettledToo) {
  for (const Change& row : kChanges) {
    bool killed = true;
    for (int nth = 1; killed; ++nth) {
      SCOPED_TRACE(std::string(row.name) + ", killed in call " + std::to_string(nth));
      ASSERT_LT(nth, 100);
      const Subject subject;
      change(subject, row);
      killed = killed_in_call(
          nth, [&] { undo_change(LockedInput(subject.name)); });
      if (killed_in_call(3, [&] { settle_change(LockedInput(subject.name)); }))
        settle_change(LockedInput(subject.name));
      ASSERT_EQ(subject.bytes(), subject.has_undo() ? row.after : kBefore);
      if (subject.has_undo()) undo_change(LockedInput(subject.name));
      EXPECT_EQ(subject.bytes(), kBefore);
      EXPECT_EQ(subject.folder.names(), std::vector<std::string>{"a.wav"});
    }
  }
}

/// The second write fails.
const qv::platform::FileCalls kFailing = [] {
  qv::platform::FileCalls calls = kSystemFileCalls;
  calls.write = [](int descriptor, const void* buffer, size_t bytes, int64_t position) -> ssize_t {
    if (is_last()) return errno = ENOSPC, -1;
    return kSystemFileCalls.write(descriptor, buffer, bytes, position);
  };
  calls.sync = [](int descriptor) { return ++syncs, kSystemFileCalls.sync(descriptor); };
  return calls;
}();

TEST(Undo, WhatIsWrittenAndWrittenBackIsMadeToLast) {
  const Subject subject;
  calls_left = 2;
  syncs = 0;
  qv::platform::set_file_calls(&kFailing);
  EXPECT_THROW(change(subject, kChanges[0], UndoPolicy::kNone), Failure);
  EXPECT_EQ(subject.bytes(), kBefore);
  EXPECT_EQ(syncs, 1);
  change(subject, kChanges[0]);
  qv::platform::set_file_calls(nullptr);
  EXPECT_EQ(syncs, 1 + 4); // undo file, folder, the file, and the undo file's state
}

TEST(Undo, AFileWithTwoNamesKeepsThem) {
  for (const Change& row : kChanges) {
    const Subject subject;
    const std::string other = subject.folder.file("b.wav");
    std::filesystem::create_hard_link(subject.name, other);
    change(subject, row);
    EXPECT_EQ(read_file(other), row.after) << row.name;
    undo_change(LockedInput(subject.name));
    EXPECT_EQ(read_file(other), kBefore) << row.name;
    EXPECT_EQ(std::filesystem::hard_link_count(other), 2u);
  }
}

TEST(Undo, TheFileIsAsItIsLaidOut) {
  const Subject subject;
  change(subject, kChanges[2]);
  // The check sums are those of Python's zlib.
  const auto zeros = [](size_t count) { return std::string(count, '\0'); };
  const std::string header = "qv undo" + zeros(1) + "\1" + zeros(3) + "\2" + zeros(3) + "\x23" + zeros(7) + "\x26" +
                             zeros(7) + "\1" + zeros(3);
  const std::string bytes = read_file(subject.undo_name());
  EXPECT_EQ(bytes.substr(0, 36), header);
  EXPECT_EQ(bytes.substr(40), "\x23" + zeros(15) + "\3" + zeros(11) + std::string("\xB1\x33\xFC\0end", 7));
  EXPECT_EQ(bytes.substr(36, 4), "z\xCA\x86\xD8");
  struct stat status {};
  ASSERT_EQ(stat(subject.undo_name().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST(Undo, IsRefusedForADamagedUndoFile) {
  const Subject subject;
  change(subject, kChanges[4]);
  const std::string undo = read_file(subject.undo_name());
  const auto is_refused = [&](const std::string& bytes) {
    write_file(subject.undo_name(), bytes);
    EXPECT_THROW(undo_change(LockedInput(subject.name)), Failure);
    EXPECT_EQ(subject.bytes(), kChanges[4].after);
  };
  for (size_t at = 0; at < undo.size(); ++at) {
    SCOPED_TRACE(at);
    if (at < 12 || at >= 16) is_refused(std::string(undo).replace(at, 1, 1, static_cast<char>(undo[at] ^ 0x10)));
    is_refused(undo.substr(0, at));
  }
  is_refused(std::string(undo).replace(12, 1, 1, '\4'));
  is_refused(std::string(undo).replace(12, 1, 1, '\0'));
  is_refused(undo + '\0');
  write_file(subject.undo_name(), undo);
  EXPECT_EQ(chmod(subject.undo_name().c_str(), 0622), 0);
  EXPECT_THROW(undo_change(LockedInput(subject.name)), Failure);
  EXPECT_EQ(chmod(subject.undo_name().c_str(), 0600), 0);
  undo_change(LockedInput(subject.name));
  EXPECT_EQ(subject.bytes(), kBefore);
}

TEST(Undo, IsRefusedWhereTheFileHasChangedSince) {
  for (const Change& row : kChanges) {
    const Subject subject;
    change(subject, row);
    EXPECT_THROW(change(subject, row), Failure); // an undo file is there
    const Replacement& last = row.pieces.back();
    for (const std::string& other : {row.after + "x", row.after.substr(1),
                                     std::string(row.after).replace(row.after.rfind(last.new_bytes), 1, "#")}) {
      write_file(subject.name, other);
      EXPECT_THROW(undo_change(LockedInput(subject.name)), Failure) << row.name;
      EXPECT_EQ(subject.bytes(), other);
    }
  }
}

TEST(Undo, PiecesThatOverlapOrPassTheEndAreRefused) {
  for (const std::vector<Replacement>& pieces :
       std::vector<std::vector<Replacement>>{{{4, "size", "SIZE"}, {6, "ze", "ZE"}},
                                             {{6, "ze", "ZE"}, {4, "si", "SI"}},
                                             {{33, "io!", "IO!"}},
                                             {{36, "", "!"}}}) {
    const Subject subject;
    EXPECT_THROW(change_file(LockedInput(subject.name), pieces, UndoPolicy::kKeep), Failure);
    EXPECT_EQ(subject.bytes(), kBefore);
    EXPECT_FALSE(subject.has_undo());
  }
}

TEST(Undo, AForeignChangeOfABrokenOneIsNotTouched) {
  for (int nth = 1;; ++nth) {
    const Subject subject;
    ASSERT_TRUE(killed_in_call(nth, [&] { change(subject, kChanges[0]); }));
    if (subject.bytes() == kBefore) continue;
    EXPECT_EQ(subject.bytes(), std::string(kBefore).replace(4, 2, "SI"));
    EXPECT_TRUE(has_broken_change(LockedInput(subject.name)));
    const std::string foreign = std::string(kBefore).replace(5, 1, "#");
    write_file(subject.name, foreign);
    EXPECT_THROW(settle_change(LockedInput(subject.name)), Failure);
    EXPECT_EQ(subject.bytes(), foreign);
    return;
  }
}

} // namespace
