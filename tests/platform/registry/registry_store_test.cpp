// The registry as a file: who else writes it, what ends a writer, and what is wrong with the file.
#include "tests/platform/registry/open_key.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr const WCHAR* kPath = QV_TEXT("Software\\Test");
constexpr auto kOwnersFile = fs::perms::owner_read | fs::perms::owner_write;
using Errors = std::pair<LONG, LONG>;

std::string contents(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Runs `body`, which returns an exit code, in another process.
template <class Body>
pid_t start(Body body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  return child;
}

/// The exit code of a process that has ended; -1 when a signal ended it.
int exit_code(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

qv::WString name_of(DWORD n) {
  qv::WString name(8, 0);
  for (int at = 0; at < 8; ++at)
    name[at] = static_cast<WCHAR>('a' + (n >> 4 * at & 15));
  return name;
}

LONG set_number(const OpenKey& key, DWORD n, DWORD value) { return key.set(name_of(n).c_str(), value); }

/// What a value of a given number looks like when it is whole: its length and bytes follow from it.
std::vector<BYTE> self_checking(DWORD n) {
  std::vector<BYTE> bytes(4 + n * 37 % 9000);
  std::memcpy(bytes.data(), &n, sizeof n);
  for (size_t i = 4; i < bytes.size(); ++i)
    bytes[i] = static_cast<BYTE>(n * 31 + i * i);
  return bytes;
}

class RegistryStore : public testing::Test {
protected:
  void SetUp() override {
    before_ = std::getenv("QV_REGISTRY");
    folder_ = fs::temp_directory_path() / ("qv-registry-test-" + std::to_string(getpid()));
    fs::create_directories(folder_);
    fs::permissions(folder_, fs::perms::all);
    use(folder_ / "registry.db");
  }
  void TearDown() override {
    use(before_);
    fs::remove_all(folder_);
  }
  void use(const fs::path& file) {
    file_ = file;
    setenv("QV_REGISTRY", file.c_str(), 1);
  }
  void remove_beside() const {
    for (const char* end : {"-wal", "-shm", "-journal"})
      fs::remove(file_.string() + end);
  }

  /// A store with one value, closed.
  static void make_store() {
    OpenKey key;
    ASSERT_EQ(key.create(HKEY_CURRENT_USER, kPath), ERROR_SUCCESS);
    ASSERT_EQ(set_number(key, 1, 11), ERROR_SUCCESS);
  }
  /// The errors of opening the key to read and of creating it; no key is left open.
  static Errors try_open() {
    OpenKey key;
    const LONG opened = key.open(HKEY_CURRENT_USER, kPath);
    key.close();
    return {opened, key.create(HKEY_CURRENT_USER, kPath)};
  }
  /// Asks SQLite itself: the first column of the first row.
  std::string ask(const char* sql) {
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    std::string answer = "nothing";
    if (sqlite3_open_v2(file_.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW)
      answer = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return answer;
  }

  fs::path folder_;
  fs::path file_;
  std::string before_;
};

TEST_F(RegistryStore, IsWhereTheUserKeepsSettings) {
  const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "";
  const fs::path made = folder_ / "config" / "QvKernel";
  unsetenv("QV_REGISTRY");
  setenv("XDG_CONFIG_HOME", (folder_ / "config").c_str(), 1);
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, kPath), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(OpenKey().open(HKEY_CURRENT_USER, kPath), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_FALSE(fs::exists(made)) << "opening to read creates nothing";
  make_store();
  EXPECT_EQ(fs::status(made).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(made / "registry.db").permissions(), kOwnersFile);
  setenv("XDG_CONFIG_HOME", "relative", 1);
  setenv("HOME", folder_.c_str(), 1);
  make_store();
  unsetenv("XDG_CONFIG_HOME");
  EXPECT_FALSE(fs::exists("relative"));
  EXPECT_TRUE(fs::exists(folder_ / ".config" / "QvKernel" / "registry.db"));
  unsetenv("HOME");
  EXPECT_EQ(try_open(), Errors(ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND));
  setenv("HOME", home.c_str(), 1);
}

TEST_F(RegistryStore, ANameIsNeverAnAddress) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  for (const char* name : {"file:one.db", "file:two.db?mode=memory", ":memory:", "below:/three.db"}) {
    SCOPED_TRACE(name);
    use(name);
    make_store();
    EXPECT_GT(contents(folder_ / name).size(), 0u);
  }
  fs::current_path(before);
}

TEST_F(RegistryStore, NothingThatOthersAddedIsRun) {
  make_store();
  ask("CREATE TABLE seen(what)");
  ask("CREATE TRIGGER spy AFTER UPDATE ON value BEGIN INSERT INTO seen VALUES(new.data); END");
  ask("CREATE TRIGGER spy_too AFTER INSERT ON key BEGIN INSERT INTO seen VALUES(new.name); END");
  ASSERT_EQ(OpenKey().create(HKEY_CURRENT_USER, QV_TEXT("Software\\Test\\New")), ERROR_SUCCESS);
  make_store();
  EXPECT_EQ(ask("SELECT count(*) FROM seen"), "0");
  ask("ALTER TABLE value RENAME TO real_value");
  ask("CREATE VIEW value AS SELECT * FROM real_value");
  OpenKey key;
  DWORD value = 0;
  ASSERT_EQ(key.open(HKEY_CURRENT_USER, kPath), ERROR_SUCCESS);
  EXPECT_EQ(key.get(name_of(1).c_str(), value), LONG{ERROR_BADDB});
}

TEST_F(RegistryStore, IsAWalDatabaseThatClosesWithItsLastKey) {
  OpenKey one, two;
  ASSERT_EQ(one.create(HKEY_CURRENT_USER, kPath), ERROR_SUCCESS);
  ASSERT_EQ(two.create(one, QV_TEXT("below")), ERROR_SUCCESS);
  EXPECT_EQ(ask("PRAGMA journal_mode"), "wal");
  one.close();
  EXPECT_EQ(set_number(two, 1, 1), ERROR_SUCCESS);
  EXPECT_TRUE(fs::exists(file_.string() + "-wal"));
  two.close();
  EXPECT_FALSE(fs::exists(file_.string() + "-wal"));
}

TEST_F(RegistryStore, AFileThatWasReplacedIsOpenedAnew) {
  OpenKey old_key;
  ASSERT_EQ(old_key.create(HKEY_CURRENT_USER, kPath), ERROR_SUCCESS);
  fs::remove(file_);
  remove_beside();
  EXPECT_EQ(try_open().first, LONG{ERROR_FILE_NOT_FOUND});
}

TEST_F(RegistryStore, ProcessesThatWriteTogetherLoseNothing) {
  constexpr DWORD kEach = 10'000;
  constexpr DWORD kProcesses = 2;
  std::vector<pid_t> writers;
  for (DWORD writer = 0; writer < kProcesses; ++writer) {
    writers.push_back(start([=] {
      OpenKey key; // both make the store, too
      if (key.create(HKEY_CURRENT_USER, kPath) != ERROR_SUCCESS) return 2;
      for (DWORD i = 0; i < kEach; ++i) {
        const DWORD n = writer * kEach + i;
        if (set_number(key, n, i ^ writer) != ERROR_SUCCESS) return 3;
        // A new key is looked for and made in one step, whoever else writes.
        if (i % 10 == 0 && OpenKey().create(key, name_of(n).c_str()) != ERROR_SUCCESS) return 4;
      }
      return 0;
    }));
  }
  for (const pid_t writer : writers)
    EXPECT_EQ(exit_code(writer), 0);
  OpenKey key;
  ASSERT_EQ(key.open(HKEY_CURRENT_USER, kPath), ERROR_SUCCESS);
  for (DWORD n = 0; n < kProcesses * kEach; ++n) {
    DWORD value = 0;
    ASSERT_EQ(key.get(name_of(n).c_str(), value), ERROR_SUCCESS) << n;
    ASSERT_EQ(value, n % kEach ^ n / kEach);
  }
}

TEST_F(RegistryStore, AWriterThatIsKilledLeavesWholeValues) {
  std::mt19937 random(11);
  size_t seen = 0;
  for (int round = 0; round < 12; ++round) {
    SCOPED_TRACE(round);
    int started[2];
    ASSERT_EQ(pipe(started), 0);
    const pid_t writer = start([&] {
      OpenKey key;
      if (key.create(HKEY_CURRENT_USER, kPath) != ERROR_SUCCESS) return 2;
      for (DWORD i = 0;; ++i) {
        const WCHAR name[] = {static_cast<WCHAR>('a' + i % 20), 0};
        const std::vector<BYTE> bytes = self_checking(i);
        if (RegSetValueExW(key, name, 0, REG_BINARY, bytes.data(), static_cast<DWORD>(bytes.size())) != ERROR_SUCCESS)
          return 3;
        if (write(started[1], "x", 1) != 1) return 4;
      }
    });
    // After some number of writes, wherever it is in the next.
    for (int writes = 1 + random() % 300; writes > 0; --writes) {
      char written = 0;
      ASSERT_EQ(read(started[0], &written, 1), 1);
    }
    kill(writer, SIGKILL);
    EXPECT_EQ(exit_code(writer), -1);
    close(started[0]);
    close(started[1]);

    OpenKey key;
    ASSERT_EQ(key.open(HKEY_CURRENT_USER, kPath), ERROR_SUCCESS);
    for (DWORD i = 0;; ++i) {
      WCHAR name[8];
      std::vector<BYTE> data(20'000);
      DWORD length = 8, bytes = static_cast<DWORD>(data.size()), number = 0;
      const LONG error = RegEnumValueW(key, i, name, &length, nullptr, nullptr, data.data(), &bytes);
      if (error == ERROR_NO_MORE_ITEMS) break;
      ASSERT_EQ(error, ERROR_SUCCESS);
      data.resize(bytes);
      ASSERT_GE(bytes, 4u);
      std::memcpy(&number, data.data(), sizeof number);
      ASSERT_EQ(data, self_checking(number));
      ASSERT_EQ(name[0], 'a' + number % 20);
      ++seen;
    }
    key.close();
    EXPECT_EQ(ask("PRAGMA integrity_check"), "ok");
  }
  EXPECT_GT(seen, 12u);
}

TEST_F(RegistryStore, WhatIsNoRegistryIsLeftAlone) {
  use(folder_ / "foreign.db");
  ask("CREATE TABLE key(id)");
  use(folder_ / "newer.db");
  make_store();
  EXPECT_EQ(ask("PRAGMA user_version"), "1");
  ask("PRAGMA user_version = 2");
  std::ofstream(folder_ / "text.db") << "these are somebody's notes\n" << std::string(500, '.');
  std::ofstream(folder_ / "short.db") << "SQLite";
  for (const char* name : {"foreign.db", "newer.db", "text.db", "short.db"}) {
    SCOPED_TRACE(name);
    use(folder_ / name);
    const std::string before = contents(file_);
    EXPECT_EQ(try_open(), Errors(ERROR_BADDB, ERROR_BADDB));
    EXPECT_EQ(contents(file_), before);
    EXPECT_FALSE(fs::exists(file_.string() + "-wal"));
  }
  use(folder_);
  EXPECT_EQ(try_open(), Errors(ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED)) << "a folder";
  use(folder_ / "text.db" / "registry.db");
  EXPECT_NE(try_open().second, ERROR_SUCCESS) << "a file where a folder should be";
  use(folder_ / "empty.db");
  std::ofstream(file_).flush();
  EXPECT_EQ(try_open(), Errors(ERROR_FILE_NOT_FOUND, ERROR_SUCCESS)) << "an empty file is a new store";
}

TEST_F(RegistryStore, DamageIsAnError) {
  const auto is_damage = [](LONG error) {
    return error == ERROR_BADDB || error == ERROR_REGISTRY_IO_FAILED || error == ERROR_KEY_DELETED;
  };
  OpenKey key;
  ASSERT_EQ(key.create(HKEY_CURRENT_USER, kPath), ERROR_SUCCESS);
  for (DWORD i = 0; i < 2000; ++i)
    ASSERT_EQ(set_number(key, i, i), ERROR_SUCCESS);
  key.close();
  const std::string whole = contents(file_);
  ASSERT_GT(whole.size(), 20'000u);
  std::mt19937 random(3);
  int refused = 0;
  for (int round = 0; round < 150; ++round) {
    SCOPED_TRACE(round);
    std::string damaged = whole;
    const size_t at = random() % whole.size();
    if (round % 3 == 0) damaged.resize(at);
    for (size_t i = at; i < std::min(damaged.size(), at + 1 + random() % 5000); ++i)
      damaged[i] = static_cast<char>(round % 3 == 1 ? random() : 0xFF);
    std::ofstream(file_, std::ios::binary) << damaged;
    const LONG opened = key.create(HKEY_CURRENT_USER, kPath);
    if (opened != ERROR_SUCCESS) {
      ++refused;
      EXPECT_TRUE(is_damage(opened)) << opened;
      continue;
    }
    for (DWORD i = 0; i < 2000; i += 100) {
      const LONG error = set_number(key, i, i + 1);
      EXPECT_TRUE(error == ERROR_SUCCESS || is_damage(error)) << error;
      WCHAR name[64];
      BYTE data[64];
      DWORD length = 64, bytes = 64;
      RegEnumValueW(key, i, name, &length, nullptr, nullptr, data, &bytes);
    }
    key.close();
    remove_beside();
  }
  EXPECT_GT(refused, 30);
}

TEST_F(RegistryStore, WhatCannotBeWrittenCanBeRead) {
  use("/" + (folder_ / "what%41?is#it.db").string());
  make_store();
  fs::permissions(file_, fs::perms::owner_read | fs::perms::others_read);
  fs::permissions(folder_, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_exec);
  const std::string before = contents(file_);
  // Permissions do not bind root: another user looks.
  const pid_t reader = start([] {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) return 77;
    OpenKey key;
    DWORD value = 0;
    if (key.create(HKEY_CURRENT_USER, kPath) != ERROR_SUCCESS) return 1;
    if (key.get(name_of(1).c_str(), value) != ERROR_SUCCESS || value != 11) return 2;
    if (set_number(key, 1, 12) != ERROR_ACCESS_DENIED) return 3;
    if (RegDeleteValueW(key, name_of(1).c_str()) != ERROR_ACCESS_DENIED) return 4;
    if (OpenKey().create(key, QV_TEXT("new")) != ERROR_ACCESS_DENIED) return 5;
    if (RegDeleteKeyW(HKEY_CURRENT_USER, kPath) != ERROR_ACCESS_DENIED) return 6;
    return 0;
  });
  const int code = exit_code(reader);
  fs::permissions(folder_, fs::perms::all);
  if (code == 77) GTEST_SKIP() << "root cannot become another user here";
  EXPECT_EQ(code, 0);
  EXPECT_EQ(contents(file_), before);
}

} // namespace
