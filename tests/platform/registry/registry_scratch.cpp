// Gives the tests a registry of their own where it is a file. On Windows they use names of their own instead.
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

class RegistryScratch final : public testing::Environment {
public:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() / ("qv-kernel-test-" + std::to_string(getpid()));
    setenv("QV_REGISTRY", (folder_ / "registry.db").c_str(), 1);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

private:
  std::filesystem::path folder_;
};

const testing::Environment* const scratch = testing::AddGlobalTestEnvironment(new RegistryScratch);

} // namespace
