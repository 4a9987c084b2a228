// Settings against bare reads of a database of the same shape.
#include "qv/metric.h"

#include "bench/kernel/groups.h"
#include "bench/ratios.h"

#include <cstdlib>
#include <filesystem>
#include <sqlite3.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

constexpr int kValues = 1000;

/// A folder that is gone when the program ends.
class Scratch {
public:
  Scratch() : folder_(std::filesystem::temp_directory_path() / ("qv-bench-" + std::to_string(getpid()))) {
    std::filesystem::create_directories(folder_);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { std::filesystem::remove_all(folder_); }
  std::string file(const char* name) const { return (folder_ / name).string(); }

private:
  std::filesystem::path folder_;
};

/// One prepared read in a database of its own.
class BareReads {
public:
  explicit BareReads(const std::string& file) {
    check(sqlite3_open_v2(file.c_str(), &database_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                          nullptr));
    check(sqlite3_exec(database_,
                       "PRAGMA journal_mode = WAL;"
                       "CREATE TABLE value(key INTEGER, folded BLOB, name BLOB, type INTEGER, data BLOB,"
                       " PRIMARY KEY(key, folded)) WITHOUT ROWID;"
                       "BEGIN;",
                       nullptr, nullptr, nullptr));
    sqlite3_stmt* insertion = nullptr;
    check(sqlite3_prepare_v2(database_, "INSERT INTO value VALUES(7, ?1, ?1, 4, ?2)", -1, &insertion, nullptr));
    for (int n = 0; n < kValues; ++n) {
      WCHAR text[QVMETRIC_NAME_CHARS] = {};
      QvMetricGetName(n, REG_DWORD, text);
      names_.emplace_back(text);
      bind(insertion, 1, names_.back());
      sqlite3_bind_blob(insertion, 2, &n, sizeof n, SQLITE_STATIC);
      if (sqlite3_step(insertion) != SQLITE_DONE) std::abort();
      sqlite3_reset(insertion);
    }
    sqlite3_finalize(insertion);
    check(sqlite3_exec(database_, "COMMIT", nullptr, nullptr, nullptr));
    check(sqlite3_prepare_v2(database_, "SELECT type, data FROM value WHERE key = ? AND folded = ?", -1, &read_,
                             nullptr));
  }
  BareReads(const BareReads&) = delete;
  BareReads& operator=(const BareReads&) = delete;
  ~BareReads() {
    sqlite3_finalize(read_);
    sqlite3_close(database_);
  }

  DWORD read(int n) {
    sqlite3_bind_int64(read_, 1, 7);
    bind(read_, 2, names_[static_cast<size_t>(n)]);
    if (sqlite3_step(read_) != SQLITE_ROW || sqlite3_column_int(read_, 0) != 4) std::abort();
    const DWORD value = *static_cast<const DWORD*>(sqlite3_column_blob(read_, 1));
    sqlite3_reset(read_);
    return value;
  }

private:
  static void check(int result) {
    if (result != SQLITE_OK) std::abort();
  }
  static void bind(sqlite3_stmt* statement, int at, const std::u16string& name) {
    sqlite3_bind_blob(statement, at, name.data(), static_cast<int>(name.size() * sizeof name[0]), SQLITE_STATIC);
  }

  sqlite3* database_ = nullptr;
  sqlite3_stmt* read_ = nullptr;
  std::vector<std::u16string> names_;
};

} // namespace

void add_metric_groups() {
  static const Scratch scratch;
  setenv("QV_REGISTRY", scratch.file("registry.db").c_str(), 1);
  static HQVMETRIC handle = nullptr;
  if (QvMetric_Open(&handle, u"Bench", 0x00010000, nullptr) != S_OK) std::abort();
  for (int n = 0; n < kValues; ++n)
    if (QvSetMetric(handle, n, static_cast<DWORD>(n)) != S_OK) std::abort();
  static BareReads bare(scratch.file("bare.db"));
  add(Group{"settings: read 1000 numbers",
            [] {
              for (int n = 0; n < kValues; ++n)
                if (QvGetMetric(handle, n) != static_cast<DWORD>(n)) std::abort();
            },
            {{"a prepared read of SQLite",
              [] {
                for (int n = 0; n < kValues; ++n)
                  if (bare.read(n) != static_cast<DWORD>(n)) std::abort();
              },
              1.0 / 1.5}}});
}

} // namespace bench
