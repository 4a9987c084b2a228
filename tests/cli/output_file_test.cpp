// What the program asks of the system so that a finished file outlives a loss of power, what it takes over from the
// file that it replaces, and what it finds of others that write the same file.
#include "platform/posix/seams.h"
#include "tests/cli/scratch_folder.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/disk/locked_input.h"
#include "tools/qv/file/disk/output_file.h"
#include "tools/qv/undo/change_file.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

namespace {

using qv::tool::LockedInput;

std::function<void()> before_lock; ///< what another program does just before a lock is asked for, once

} // namespace

extern "C" int flock(int descriptor, int operation) noexcept {
  if (before_lock) std::exchange(before_lock, nullptr)();
  return static_cast<int>(syscall(SYS_flock, descriptor, operation));
}

namespace {

/// Notes what is synced, by its path; the first sync can be made to fail.
class Synced {
public:
  explicit Synced(bool fails) {
    paths.clear();
    first_fails = fails;
    static qv::platform::FileCalls calls = qv::platform::kSystemFileCalls;
    calls.sync = note;
    qv::platform::set_file_calls(&calls);
  }
  ~Synced() { qv::platform::set_file_calls(nullptr); }

  static inline std::vector<std::filesystem::path> paths;

private:
  static int note(int descriptor) {
    paths.push_back(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor)));
    errno = EIO;
    return first_fails && paths.size() == 1 ? -1 : qv::platform::kSystemFileCalls.sync(descriptor);
  }
  static inline bool first_fails = false;
};

TEST(OutputFile, IsSyncedBeforeItsRenameAndItsFolderAfter) {
  const cli_test::ScratchFolder folder;
  const std::string name = folder.file("out.wav");
  const Synced synced(false);
  qv::tool::OutputFile output(name);
  output.append("take", 4);
  output.commit(4);
  EXPECT_EQ(cli_test::read_file(name), "take");
  ASSERT_GE(Synced::paths.size(), 2u);
  EXPECT_TRUE(Synced::paths.front().filename().string().starts_with(".qv-")) << Synced::paths.front();
  EXPECT_EQ(Synced::paths.back(), std::filesystem::canonical(folder.path()));
}

TEST(OutputFile, StaysAbsentWhereSyncingFails) {
  const cli_test::ScratchFolder folder;
  const std::string name = folder.file("out.wav");
  const Synced synced(true);
  {
    qv::tool::OutputFile output(name);
    output.append("take", 4);
    EXPECT_THROW(output.commit(4), qv::tool::Failure);
  }
  EXPECT_TRUE(folder.names().empty());
}

struct stat status_of(const std::string& name) {
  struct stat status {};
  EXPECT_EQ(stat(name.c_str(), &status), 0) << name;
  return status;
}

TEST(ChangedFile, IsSyncedBehindItsUndoFileAndBeforeThatSaysSo) {
  const cli_test::ScratchFolder folder;
  const std::string name = folder.put("a.wav", "old");
  const Synced synced(false);
  qv::tool::change_file(LockedInput(name), {{0, "o", "O"}}, qv::tool::UndoPolicy::kKeep);
  std::vector<std::string> names;
  for (const std::filesystem::path& path : Synced::paths)
    names.push_back(path.filename().string().substr(0, 4));
  const std::string in = std::filesystem::canonical(folder.path()).filename().string().substr(0, 4);
  EXPECT_EQ(names, (std::vector<std::string>{".qv-", in, "a.wa", "a.wa"}));
  EXPECT_EQ(Synced::paths.back().filename(), "a.wav.qv-undo");
}

mode_t mode_of(const std::string& name) { return status_of(name).st_mode & 07777; }

void write(const std::string& name, const std::string& bytes) {
  qv::tool::OutputFile output(name);
  output.append(bytes.data(), static_cast<DWORD>(bytes.size()));
  output.commit(bytes.size());
}

TEST(OutputFile, IsPrivateUntilItTakesAfterTheReplacedFile) {
  const cli_test::ScratchFolder folder;
  const std::string name = folder.put("out.wav", "old");
  const std::string note = "first take";
  const bool has_attributes = setxattr(name.c_str(), "user.note", note.data(), note.size(), 0) == 0;
  const bool is_root = geteuid() == 0 && chown(name.c_str(), 65534, 65533) == 0;
  const mode_t mask = umask(027);
  for (const mode_t mode : {0600, 0644, 0666, 0751}) {
    chmod(name.c_str(), mode);
    qv::tool::OutputFile output(name);
    EXPECT_EQ(mode_of(folder.file(folder.names().front())), 0600u); // the hidden name comes first
    output.commit(0);
    EXPECT_EQ(mode_of(name), mode);
  }
  if (is_root) EXPECT_EQ(status_of(name).st_uid, 65534u);
  if (is_root) EXPECT_EQ(status_of(name).st_gid, 65533u);
  char kept[32] = {};
  if (has_attributes) EXPECT_EQ(getxattr(name.c_str(), "user.note", kept, sizeof kept), ssize_t(note.size()));
  if (has_attributes) EXPECT_EQ(kept, note);
  write(folder.file("new.wav"), "");
  EXPECT_EQ(mode_of(folder.file("new.wav")), 0640u);
  umask(mask);
}

TEST(OutputFile, GivesAGroupThatItCannotKeepNoMoreThanOthers) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  const cli_test::ScratchFolder folder;
  const std::string name = folder.put("out.wav", "old");
  chmod(folder.path().c_str(), 0777);
  chown(name.c_str(), 65534, 0);
  chmod(name.c_str(), 0664);
  const pid_t child = fork();
  if (child == 0) {
    if (setgid(65533) != 0 || setuid(65534) != 0) _exit(1);
    write(name, "");
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(status_of(name).st_gid, 65533u);
  EXPECT_EQ(mode_of(name), 0644u);
}

TEST(OutputFile, FollowsLinksAlsoToWhatIsNotThere) {
  const cli_test::ScratchFolder folder;
  std::filesystem::create_directory(folder.path() / "far");
  std::filesystem::create_symlink("near.wav", folder.file("link.wav"));
  std::filesystem::create_symlink("far/new.wav", folder.file("near.wav"));
  std::filesystem::create_symlink("circle.wav", folder.file("circle.wav"));
  write(folder.file("link.wav"), "take");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.wav")));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.file("near.wav")));
  EXPECT_EQ(cli_test::read_file(folder.path() / "far" / "new.wav"), "take");
  EXPECT_THROW(write(folder.file("circle.wav"), ""), qv::tool::Failure);
}

TEST(OutputFile, RemovesWhatADeadWriterOfTheSameFileHasLeft) {
  const cli_test::ScratchFolder folder;
  const auto die_writing = [&](const char* name) {
    const pid_t child = fork();
    if (child == 0) {
      qv::tool::OutputFile output(folder.file(name));
      _exit(0); // as one that is killed: the destructor does not run
    }
    int status = 0;
    waitpid(child, &status, 0);
  };
  die_writing("out.wav");
  die_writing("out.wav");
  const size_t left = folder.names().size();
  die_writing("other.wav");
  const qv::tool::OutputFile living(folder.file("out.wav"));
  EXPECT_EQ(left, 1u);                  // the second has removed what the first left
  EXPECT_EQ(folder.names().size(), 2u); // the living one's, and the other file's
  write(folder.file("out.wav"), "take");
  EXPECT_EQ(folder.names().size(), 3u);
}

TEST(OutputFile, LeavesAloneWhatAnotherUserMayHaveWritten) {
  const cli_test::ScratchFolder folder;
  std::string left;
  {
    const qv::tool::OutputFile output(folder.file("out.wav"));
    left = folder.names().front();
  }
  chmod(folder.put(left, "").c_str(), 0622);
  write(folder.file("out.wav"), "take");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{left, "out.wav"}));
}

TEST(OutputFile, TakesAnotherNameWhereItsOwnIsRemovedBeforeItIsHeld) {
  const cli_test::ScratchFolder folder;
  before_lock = [&] { std::filesystem::remove(folder.file(folder.names().front())); };
  write(folder.file("out.wav"), "take");
  EXPECT_EQ(cli_test::read_file(folder.file("out.wav")), "take");
}

TEST(OutputFile, IsNotCommittedShorterThanItShouldBe) {
  const cli_test::ScratchFolder folder;
  const std::string from_name = folder.put("in.wav", "short");
  {
    qv::tool::OutputFile output(folder.file("out.wav"));
    const qv::tool::OpenFile from = qv::tool::open_existing(from_name, GENERIC_READ);
    EXPECT_THROW(output.append(from, from_name, 0, 6), qv::tool::Failure);
    EXPECT_THROW(output.commit(1), qv::tool::Failure);
  }
  EXPECT_EQ(folder.names(), std::vector<std::string>{"in.wav"});
}

TEST(LockedInput, LetsNoSignalEndTheProcessInAChange) {
  const cli_test::ScratchFolder folder;
  const std::string name = folder.put("a.wav", "old");
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGTERM, SIG_DFL); // earlier tests have watched it
    const LockedInput held(name);
    raise(SIGTERM);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST(LockedInput, HoldsTheFileThatReplacedItMeanwhile) {
  const cli_test::ScratchFolder folder;
  const std::string name = folder.put("a.wav", "old");
  std::optional<LockedInput> held;
  before_lock = [&] { write(name, "new"); };
  held.emplace(name);
  const qv::tool::FileDescriptor other(held->path());
  EXPECT_FALSE(other.try_lock());
  EXPECT_EQ(cli_test::read_file(name), "new");
  EXPECT_TRUE(held->can_be_replaced());
  std::filesystem::create_hard_link(name, folder.file("b.wav"));
  EXPECT_FALSE(held->can_be_replaced());
  held.reset();
  EXPECT_TRUE(other.try_lock());
}

} // namespace
