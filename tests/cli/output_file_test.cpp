// What the program asks of the system so that a finished file outlives a loss of power.
#include "platform/posix/seams.h"
#include "tests/cli/scratch_folder.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/output_file.h"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

/// Notes what is synced, by its path; the first sync can be made to fail.
class Synced {
public:
  explicit Synced(bool fails) {
    paths.clear();
    first_fails = fails;
    static const qv::platform::FileCalls calls = {.read = qv::platform::kSystemFileCalls.read,
                                                  .write = qv::platform::kSystemFileCalls.write,
                                                  .sync = note,
                                                  .close = qv::platform::kSystemFileCalls.close};
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

} // namespace
