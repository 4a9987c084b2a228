#include "platform/posix/registry/registry_store.h"

#include <map>
#include <sqlite3.h>
#include <sys/stat.h>

namespace qv::platform {

namespace {

constexpr int kBusyMilliseconds = 10'000;
constexpr int64_t kVersion = 1;

// Ids of keys are never used again, so that a key that was deleted while open is noticed.
constexpr const char* kTables = R"(
  CREATE TABLE IF NOT EXISTS key(
    id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL, folded BLOB NOT NULL, name BLOB NOT NULL,
    UNIQUE(parent, folded));
  CREATE TABLE IF NOT EXISTS value(
    key INTEGER NOT NULL, folded BLOB NOT NULL, name BLOB NOT NULL, type INTEGER NOT NULL, data BLOB NOT NULL,
    PRIMARY KEY(key, folded)) WITHOUT ROWID;
  INSERT OR IGNORE INTO key(id, parent, folded, name) VALUES(1, 0, x'01', x''), (2, 0, x'02', x'');
  PRAGMA application_id = 1364611655;
  PRAGMA user_version = 1;
)";
static_assert(kApplicationId == 1364611655 && kVersion == 1);

constexpr const char* kQueries[] = {
    "SELECT id FROM key WHERE parent = ? AND folded = ?",
    "SELECT 1 FROM key WHERE id = ?",
    "INSERT OR IGNORE INTO key(parent, folded, name) VALUES(?, ?, ?)",
    "DELETE FROM key WHERE id = ?",
    "SELECT name FROM key WHERE parent = ? ORDER BY folded LIMIT 1 OFFSET ?",
    "SELECT type, data FROM value WHERE key = ? AND folded = ?",
    "INSERT INTO value(key, folded, name, type, data) SELECT ?1, ?2, ?3, ?4, ?5 "
    "WHERE EXISTS(SELECT 1 FROM key WHERE id = ?1) "
    "ON CONFLICT(key, folded) DO UPDATE SET type = excluded.type, data = excluded.data",
    "DELETE FROM value WHERE key = ? AND folded = ?",
    "DELETE FROM value WHERE key = ?",
    "SELECT name, type, data FROM value WHERE key = ? ORDER BY folded LIMIT 1 OFFSET ?",
};
static_assert(std::size(kQueries) == static_cast<size_t>(Query::kCount));

LONG error_of(int result) {
  switch (result & 0xFF) {
  case SQLITE_OK:
  case SQLITE_ROW:
  case SQLITE_DONE: return ERROR_SUCCESS;
  case SQLITE_READONLY:
  case SQLITE_PERM:
  case SQLITE_AUTH:
  case SQLITE_CANTOPEN: return ERROR_ACCESS_DENIED;
  case SQLITE_FULL: return ERROR_DISK_FULL;
  case SQLITE_NOMEM:
  case SQLITE_TOOBIG: return ERROR_NOT_ENOUGH_MEMORY;
  case SQLITE_BUSY:
  case SQLITE_LOCKED:
  case SQLITE_IOERR:
  case SQLITE_PROTOCOL: return ERROR_REGISTRY_IO_FAILED;
  default: // damaged, or without the tables that it should have
    return ERROR_BADDB;
  }
}

} // namespace

LONG Store::open(bool create, std::shared_ptr<Store>& store) {
  static std::mutex stores_lock;
  static std::map<std::string, std::weak_ptr<Store>> stores;
  const std::string file = registry_file();
  if (file.empty()) return ERROR_PATH_NOT_FOUND;
  const std::lock_guard guard(stores_lock);
  std::weak_ptr<Store>& known = stores[file];
  store = known.lock();
  if (store && store->is_file(file)) return ERROR_SUCCESS;
  LONG error = check_header(file);
  if (error == ERROR_FILE_NOT_FOUND && create) error = make_file(file);
  if (error != ERROR_SUCCESS) return error;
  store.reset(new Store);
  error = store->connect(file, false);
  if (error == ERROR_SUCCESS) error = store->make_ready(create);
  if (error == ERROR_ACCESS_DENIED) {
    // Where nothing can be written beside the file, it can be read as one that nobody changes.
    store.reset(new Store);
    error = store->connect(file, true);
    if (error == ERROR_SUCCESS) error = store->make_ready(false);
    if (error == ERROR_FILE_NOT_FOUND && create) error = ERROR_ACCESS_DENIED; // an empty one, which nobody can fill
  }
  if (error == ERROR_SUCCESS)
    store->remember_file(file);
  else
    store.reset();
  known = store;
  return error;
}

LONG Store::connect(const std::string& file, bool immutable) {
  const std::string name = immutable ? uri_of(file) + "?immutable=1" : file;
  const int flags = immutable ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  const int result = sqlite3_open_v2(name.c_str(), &database_, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  if (result != SQLITE_OK) return error_of(result);
  sqlite3_busy_timeout(database_, kBusyMilliseconds);
  distrust_contents();
  return ERROR_SUCCESS;
}

/// The file may be somebody else's: what its makers put into it beside tables is not run.
void Store::distrust_contents() {
  sqlite3_db_config(database_, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(database_, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(database_, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(database_, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
}

/// The file exists only once something was read or written.
void Store::remember_file(const std::string& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) return;
  device_ = status.st_dev;
  inode_ = status.st_ino;
}

LONG Store::make_ready(bool create) {
  int64_t tables = 0;
  LONG error = question("SELECT count(*) FROM sqlite_master", tables);
  if (error == ERROR_SUCCESS && tables == 0) error = create ? make_tables() : LONG{ERROR_FILE_NOT_FOUND};
  if (error != ERROR_SUCCESS) return error;
  int64_t id = 0;
  int64_t version = 0;
  error = question("PRAGMA application_id", id);
  if (error == ERROR_SUCCESS) error = question("PRAGMA user_version", version);
  if (error != ERROR_SUCCESS) return error;
  if (id != kApplicationId || version != kVersion) return ERROR_BADDB;
  if (sqlite3_db_readonly(database_, "main") == 1) return ERROR_SUCCESS;
  // Another process that opens at this moment can hold the switch up; what opens next makes up for it.
  execute("PRAGMA journal_mode = WAL");
  return execute("PRAGMA synchronous = NORMAL");
}

/// Makes the tables in the rollback journal's mode, so that the file's own header says at once whose it is.
LONG Store::make_tables() {
  LONG error = execute("BEGIN EXCLUSIVE");
  if (error != ERROR_SUCCESS) return error;
  error = execute(kTables);
  return error == ERROR_SUCCESS ? commit() : roll_back(error);
}

Store::~Store() {
  for (sqlite3_stmt* statement : statements_)
    sqlite3_finalize(statement);
  sqlite3_close(database_);
}

bool Store::is_file(const std::string& file) const {
  struct stat status {};
  return stat(file.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_;
}

LONG Store::question(const char* sql, int64_t& answer) {
  sqlite3_stmt* statement = nullptr;
  int result = sqlite3_prepare_v2(database_, sql, -1, &statement, nullptr);
  if (result == SQLITE_OK) result = sqlite3_step(statement);
  if (result == SQLITE_ROW) answer = sqlite3_column_int64(statement, 0);
  sqlite3_finalize(statement);
  return error_of(result);
}

LONG Store::execute(const char* sql) { return error_of(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr)); }

// An IMMEDIATE transaction waits for other writers at its start: two never meet half-way.
LONG Store::begin() { return execute("BEGIN IMMEDIATE"); }

LONG Store::commit() {
  const LONG error = execute("COMMIT");
  return error == ERROR_SUCCESS ? error : roll_back(error);
}

LONG Store::roll_back(LONG error) {
  execute("ROLLBACK");
  return error;
}

LONG Store::change(Run& run, int* changed) {
  const LONG error = run.step();
  if (changed) *changed = sqlite3_changes(database_);
  return error == ERROR_NO_MORE_ITEMS ? LONG{ERROR_SUCCESS} : error;
}

Store::Run::Run(Store& store, Query query) : statement_(nullptr) {
  sqlite3_stmt*& known = store.statements_[static_cast<size_t>(query)];
  if (!known) {
    error_ = error_of(sqlite3_prepare_v3(store.database_, kQueries[static_cast<size_t>(query)], -1,
                                         SQLITE_PREPARE_PERSISTENT, &known, nullptr));
  }
  statement_ = known;
}

Store::Run::~Run() { sqlite3_reset(statement_); }

Store::Run& Store::Run::bind(int64_t number) {
  sqlite3_bind_int64(statement_, ++bound_, number);
  return *this;
}

Store::Run& Store::Run::bind(std::span<const BYTE> bytes) {
  // A null pointer would be NULL, not an empty text.
  const void* data = bytes.empty() ? static_cast<const void*>("") : bytes.data();
  const int result = sqlite3_bind_blob64(statement_, ++bound_, data, bytes.size(), SQLITE_STATIC);
  if (error_ == ERROR_SUCCESS) error_ = error_of(result);
  return *this;
}

LONG Store::Run::step() {
  if (error_ != ERROR_SUCCESS) return error_;
  const int result = sqlite3_step(statement_);
  return result == SQLITE_DONE ? LONG{ERROR_NO_MORE_ITEMS} : error_of(result);
}

int64_t Store::Run::number(int column) const { return sqlite3_column_int64(statement_, column); }

std::span<const BYTE> Store::Run::bytes(int column) const {
  const auto* data = static_cast<const BYTE*>(sqlite3_column_blob(statement_, column));
  return {data, static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
}

} // namespace qv::platform
