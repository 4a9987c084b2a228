// The registry as a file: who else writes it, what ends a writer, and what is wrong with the file.
#include "qv/win32.h"

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

std::string contents(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Runs `body` in another process and returns its exit code, or -1.
template <class Body>
pid_t start(Body body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  return child;
}

int exit_code(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

LONG set_number(HKEY key, DWORD n, DWORD value) {
  WCHAR name[12] = {};
  for (int at = 0; at < 8; ++at)
    name[at] = static_cast<WCHAR>('a' + (n >> 4 * at & 15));
  return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
}

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

  /// A store with one value, closed.
  void make_store() {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, kPath, &key), ERROR_SUCCESS);
    ASSERT_EQ(set_number(key, 1, 11), ERROR_SUCCESS);
    RegCloseKey(key);
  }
  /// The error of opening the key to read and of creating it; no key is left open.
  static std::pair<LONG, LONG> try_open() {
    HKEY key = nullptr;
    const LONG opened = RegOpenKeyExW(HKEY_CURRENT_USER, kPath, 0, KEY_READ, &key);
    if (opened == ERROR_SUCCESS) RegCloseKey(key);
    const LONG created = RegCreateKeyW(HKEY_CURRENT_USER, kPath, &key);
    if (created == ERROR_SUCCESS) RegCloseKey(key);
    return {opened, created};
  }
  /// Asks SQLite itself.
  std::string ask(const char* sql) {
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    std::string answer = "nothing";
    if (sqlite3_open_v2(file_.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
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
  unsetenv("QV_REGISTRY");
  setenv("XDG_CONFIG_HOME", (folder_ / "config").c_str(), 1);
  EXPECT_EQ(try_open().first, LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_FALSE(fs::exists(folder_ / "config" / "QvKernel" / "registry.db.x"));
  make_store();
  const fs::path made = folder_ / "config" / "QvKernel";
  EXPECT_TRUE(fs::exists(made / "registry.db"));
  EXPECT_EQ(fs::status(made).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(made / "registry.db").permissions(), fs::perms::owner_read | fs::perms::owner_write);
  setenv("XDG_CONFIG_HOME", "relative", 1);
  setenv("HOME", folder_.c_str(), 1);
  make_store();
  unsetenv("XDG_CONFIG_HOME");
  EXPECT_FALSE(fs::exists("relative"));
  EXPECT_TRUE(fs::exists(folder_ / ".config" / "QvKernel" / "registry.db"));
  unsetenv("HOME");
  EXPECT_EQ(try_open(), std::pair(LONG{ERROR_PATH_NOT_FOUND}, LONG{ERROR_PATH_NOT_FOUND}));
  setenv("HOME", home.c_str(), 1);
}

TEST_F(RegistryStore, OpeningToReadCreatesNothing) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kPath, 0, KEY_READ, &key), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, kPath), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_FALSE(fs::exists(file_));
}

TEST_F(RegistryStore, ANameIsNeverAnAddress) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  for (const char* name : {"file:one.db", "file:two.db?mode=memory", ":memory:", "below:/three.db"}) {
    SCOPED_TRACE(name);
    use(name);
    make_store();
    EXPECT_TRUE(fs::exists(folder_ / name));
  }
  fs::current_path(before);
}

TEST_F(RegistryStore, NothingThatOthersAddedIsRun) {
  make_store();
  ask("CREATE TABLE seen(what)");
  ask("CREATE TRIGGER spy AFTER UPDATE ON value BEGIN INSERT INTO seen VALUES(new.data); END");
  ask("CREATE TRIGGER spy_too AFTER INSERT ON key BEGIN INSERT INTO seen VALUES(new.name); END");
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, QV_TEXT("Software\\Test\\New"), &key), ERROR_SUCCESS);
  RegCloseKey(key);
  make_store();
  EXPECT_EQ(ask("SELECT count(*) FROM seen"), "0");
  ask("ALTER TABLE value RENAME TO real_value");
  ask("CREATE VIEW value AS SELECT * FROM real_value");
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kPath, 0, KEY_READ, &key), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryValueExW(key, QV_TEXT("baaaaaaa"), nullptr, nullptr, nullptr, nullptr), LONG{ERROR_BADDB});
  RegCloseKey(key);
}

TEST_F(RegistryStore, ANewerVersionIsLeftAlone) {
  make_store();
  EXPECT_EQ(ask("PRAGMA user_version"), "1");
  ask("PRAGMA user_version = 2");
  EXPECT_EQ(try_open(), std::pair(LONG{ERROR_BADDB}, LONG{ERROR_BADDB}));
  EXPECT_EQ(ask("PRAGMA user_version"), "2");
}

TEST_F(RegistryStore, IsAWalDatabaseThatClosesWithItsLastKey) {
  HKEY one = nullptr, two = nullptr;
  ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, kPath, &one), ERROR_SUCCESS);
  ASSERT_EQ(RegCreateKeyW(one, QV_TEXT("below"), &two), ERROR_SUCCESS);
  EXPECT_EQ(ask("PRAGMA journal_mode"), "wal");
  RegCloseKey(one);
  EXPECT_EQ(set_number(two, 1, 1), ERROR_SUCCESS);
  EXPECT_TRUE(fs::exists(file_.string() + "-wal"));
  RegCloseKey(two);
  EXPECT_FALSE(fs::exists(file_.string() + "-wal"));
}

TEST_F(RegistryStore, AFileThatWasReplacedIsOpenedAnew) {
  HKEY old_key = nullptr;
  ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, kPath, &old_key), ERROR_SUCCESS);
  for (const char* end : {"", "-wal", "-shm"})
    fs::remove(file_.string() + end);
  EXPECT_EQ(try_open().first, LONG{ERROR_FILE_NOT_FOUND});
  RegCloseKey(old_key);
}

TEST_F(RegistryStore, ProcessesThatWriteTogetherLoseNothing) {
  constexpr DWORD kEach = 10'000;
  constexpr DWORD kProcesses = 2;
  std::vector<pid_t> writers;
  for (DWORD writer = 0; writer < kProcesses; ++writer) {
    writers.push_back(start([=] {
      HKEY key = nullptr; // both make the store, too
      if (RegCreateKeyW(HKEY_CURRENT_USER, kPath, &key) != ERROR_SUCCESS) return 2;
      for (DWORD i = 0; i < kEach; ++i) {
        if (set_number(key, writer * kEach + i, i ^ writer) != ERROR_SUCCESS) return 3;
        // A new key is looked for and made in one step, whoever else writes.
        const WCHAR name[] = {'k', static_cast<WCHAR>('a' + writer), static_cast<WCHAR>(0x4E00 + i / 10), 0};
        HKEY below = nullptr;
        if (i % 10 == 0 && RegCreateKeyW(key, name, &below) != ERROR_SUCCESS) return 4;
        if (below) RegCloseKey(below);
      }
      RegCloseKey(key);
      return 0;
    }));
  }
  for (const pid_t writer : writers)
    EXPECT_EQ(exit_code(writer), 0);
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kPath, 0, KEY_READ, &key), ERROR_SUCCESS);
  for (DWORD n = 0; n < kProcesses * kEach; ++n) {
    WCHAR name[12] = {};
    for (int at = 0; at < 8; ++at)
      name[at] = static_cast<WCHAR>('a' + (n >> 4 * at & 15));
    DWORD value = 0, bytes = 4;
    ASSERT_EQ(RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &bytes), ERROR_SUCCESS)
        << n;
    ASSERT_EQ(value, n % kEach ^ n / kEach);
  }
  RegCloseKey(key);
}

TEST_F(RegistryStore, AWriterThatIsKilledLeavesWholeValues) {
  std::mt19937 random(11);
  size_t seen = 0;
  for (int round = 0; round < 12; ++round) {
    SCOPED_TRACE(round);
    int started[2];
    ASSERT_EQ(pipe(started), 0);
    const pid_t writer = start([&] {
      HKEY key = nullptr;
      if (RegCreateKeyW(HKEY_CURRENT_USER, kPath, &key) != ERROR_SUCCESS) return 2;
      for (DWORD i = 0;; ++i) {
        const WCHAR name[] = {static_cast<WCHAR>('a' + i % 20), 0};
        const std::vector<BYTE> bytes = self_checking(i);
        if (RegSetValueExW(key, name, 0, REG_BINARY, bytes.data(), static_cast<DWORD>(bytes.size())) != ERROR_SUCCESS)
          return 3;
        if (write(started[1], "x", 1) != 1) return 4;
      }
    });
    // After some number of writes, wherever it is in the next.
    std::vector<char> written(1 + random() % 300);
    for (size_t got = 0; got < written.size();) {
      const ssize_t count = read(started[0], written.data(), written.size() - got);
      ASSERT_GT(count, 0);
      got += static_cast<size_t>(count);
    }
    kill(writer, SIGKILL);
    EXPECT_EQ(exit_code(writer), -1);
    close(started[0]);
    close(started[1]);

    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kPath, 0, KEY_READ, &key), ERROR_SUCCESS);
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
    RegCloseKey(key);
    EXPECT_EQ(ask("PRAGMA integrity_check"), "ok");
  }
  EXPECT_GT(seen, 12u);
}

TEST_F(RegistryStore, WhatIsNoRegistryIsLeftAlone) {
  const std::string foreign = (folder_ / "foreign.db").string();
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(foreign.c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database, "CREATE TABLE key(id); INSERT INTO key VALUES(1)", nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(database);
  std::ofstream(folder_ / "text.db") << "these are somebody's notes\n" << std::string(500, '.');
  std::ofstream(folder_ / "short.db") << "SQLite";
  for (const char* name : {"foreign.db", "text.db", "short.db"}) {
    SCOPED_TRACE(name);
    use(folder_ / name);
    const std::string before = contents(file_);
    EXPECT_EQ(try_open(), std::pair(LONG{ERROR_BADDB}, LONG{ERROR_BADDB}));
    EXPECT_EQ(contents(file_), before);
    EXPECT_FALSE(fs::exists(file_.string() + "-wal"));
  }
  use(folder_);
  EXPECT_EQ(try_open(), std::pair(LONG{ERROR_ACCESS_DENIED}, LONG{ERROR_ACCESS_DENIED})) << "a folder";
  use(folder_ / "text.db" / "registry.db");
  EXPECT_NE(try_open().second, ERROR_SUCCESS) << "a file where a folder should be";
  use(folder_ / "empty.db");
  std::ofstream(file_).flush();
  EXPECT_EQ(try_open(), std::pair(LONG{ERROR_FILE_NOT_FOUND}, LONG{ERROR_SUCCESS})) << "an empty file is a new store";
}

TEST_F(RegistryStore, DamageIsAnError) {
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, kPath, &key), ERROR_SUCCESS);
  for (DWORD i = 0; i < 2000; ++i)
    ASSERT_EQ(set_number(key, i, i), ERROR_SUCCESS);
  RegCloseKey(key);
  const std::string whole = contents(file_);
  ASSERT_GT(whole.size(), 20'000u);
  std::mt19937 random(3);
  int refused = 0;
  for (int round = 0; round < 150; ++round) {
    SCOPED_TRACE(round);
    std::string damaged = whole;
    if (round % 3 == 0) {
      damaged.resize(random() % whole.size());
    } else {
      const size_t at = random() % whole.size();
      for (size_t i = at; i < std::min(whole.size(), at + 1 + random() % 5000); ++i)
        damaged[i] = static_cast<char>(round % 3 == 1 ? random() : 0xFF);
    }
    std::ofstream(file_, std::ios::binary) << damaged;
    const LONG opened = RegCreateKeyW(HKEY_CURRENT_USER, kPath, &key);
    if (opened != ERROR_SUCCESS) {
      ++refused;
      EXPECT_TRUE(opened == ERROR_BADDB || opened == ERROR_REGISTRY_IO_FAILED || opened == ERROR_KEY_DELETED) << opened;
      continue;
    }
    for (DWORD i = 0; i < 2000; i += 100) {
      const LONG error = set_number(key, i, i + 1);
      EXPECT_TRUE(error == ERROR_SUCCESS || error == ERROR_BADDB || error == ERROR_REGISTRY_IO_FAILED ||
                  error == ERROR_KEY_DELETED)
          << error;
      WCHAR name[64];
      BYTE data[64];
      DWORD length = 64, bytes = 64;
      RegEnumValueW(key, i, name, &length, nullptr, nullptr, data, &bytes);
    }
    RegCloseKey(key);
    for (const char* end : {"-wal", "-shm", "-journal"})
      fs::remove(file_.string() + end);
  }
  EXPECT_GT(refused, 30);
}

TEST_F(RegistryStore, WhatCannotBeWrittenCanBeRead) {
  use("/" + (folder_ / "what%41?is#it.db").string());
  make_store();
  fs::permissions(file_, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
  fs::permissions(folder_,
                  fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec);
  const std::string before = contents(file_);
  // Permissions do not bind root: another user looks.
  const pid_t reader = start([] {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) return 77;
    HKEY key = nullptr;
    if (RegCreateKeyW(HKEY_CURRENT_USER, kPath, &key) != ERROR_SUCCESS) return 1;
    DWORD value = 0, bytes = 4;
    if (RegQueryValueExW(key, QV_TEXT("baaaaaaa"), nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &bytes) !=
        ERROR_SUCCESS)
      return 2;
    if (value != 11) return 3;
    if (set_number(key, 1, 12) != ERROR_ACCESS_DENIED) return 4;
    if (RegDeleteValueW(key, QV_TEXT("baaaaaaa")) != ERROR_ACCESS_DENIED) return 5;
    HKEY other = nullptr;
    if (RegCreateKeyW(key, QV_TEXT("new"), &other) != ERROR_ACCESS_DENIED) return 6;
    if (RegDeleteKeyW(HKEY_CURRENT_USER, kPath) != ERROR_ACCESS_DENIED) return 7;
    RegCloseKey(key);
    return 0;
  });
  const int code = exit_code(reader);
  if (code == 77) GTEST_SKIP() << "root cannot become another user here";
  EXPECT_EQ(code, 0);
  EXPECT_EQ(contents(file_), before);
  fs::permissions(folder_, fs::perms::all);
}

} // namespace
