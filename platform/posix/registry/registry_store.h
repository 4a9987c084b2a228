// The registry's database: one connection, shared by the keys that are open in it.
#pragma once

#include "qv/win32.h"

#include <array>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <sys/types.h>

struct sqlite3;
struct sqlite3_stmt;

namespace qv::platform {

/// The questions asked of the database; their texts are in registry_store.cpp.
enum class Query {
  kFindKey,      ///< parent, folded -> id
  kKeyExists,    ///< id -> 1
  kAddKey,       ///< parent, folded, name
  kDeleteKey,    ///< id
  kListKeys,     ///< parent, offset -> name
  kFindValue,    ///< key, folded -> type, data
  kSetValue,     ///< key, folded, name, type, data
  kDeleteValue,  ///< key, folded
  kDeleteValues, ///< key
  kListValues,   ///< key, offset -> name, type, data
  kCount
};

/// The store's file: $QV_REGISTRY, else below $XDG_CONFIG_HOME (an absolute path) or $HOME/.config. Empty when none
/// of them is set.
std::string registry_file();
/// Looks at the first bytes on the disk, before anything is opened that could change them: ERROR_SUCCESS for a store
/// and for an empty file, which is about to become one; ERROR_FILE_NOT_FOUND, ERROR_BADDB or ERROR_ACCESS_DENIED
/// otherwise.
LONG check_header(const std::string& file);
/// Makes an empty file for this user alone, and its folders; SQLite would let everybody read it.
LONG make_file(const std::string& file);
/// A path as a file: URI. An absolute one begins behind an empty host.
std::string uri_of(const std::string& path);

inline constexpr int64_t kApplicationId = 0x51565247; // "QVRG"
inline constexpr int64_t kCurrentUserId = 1;
inline constexpr int64_t kLocalMachineId = 2;

/// All functions return registry errors. Everything but opening happens with the lock held.
class Store {
public:
  /// The store of the user's database. With `create`, makes file and folders where they are missing; else
  /// ERROR_FILE_NOT_FOUND. A file that is none of the registry's is left as it is: ERROR_BADDB.
  static LONG open(bool create, std::shared_ptr<Store>& store);

  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  ~Store();

  std::mutex& lock() { return lock_; }

  /// One run of a query: bind, step over the rows, and it is ready for the next run when this ends.
  class Run {
  public:
    Run(Store& store, Query query);
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run();

    Run& bind(int64_t number);
    /// The bytes stay the caller's and must outlive the run.
    Run& bind(std::span<const BYTE> bytes);
    /// ERROR_SUCCESS at a row, ERROR_NO_MORE_ITEMS behind the last.
    LONG step();
    int64_t number(int column) const;
    std::span<const BYTE> bytes(int column) const;

  private:
    sqlite3_stmt* statement_;
    LONG error_ = ERROR_SUCCESS;
    int bound_ = 0;
  };

  /// Runs a query that has no rows; *changed (optional) is how many rows it changed.
  LONG change(Run& run, int* changed = nullptr);

  /// Does `body`, which returns an error, whole or not at all.
  template <class Body>
  LONG transaction(Body body) {
    LONG error = begin();
    if (error != ERROR_SUCCESS) return error;
    error = body();
    return error == ERROR_SUCCESS ? commit() : roll_back(error);
  }

private:
  Store() = default;
  LONG connect(const std::string& file, bool immutable);
  void distrust_contents();
  LONG make_ready(bool create);
  LONG make_tables();
  LONG question(const char* sql, int64_t& answer);
  LONG execute(const char* sql);
  LONG begin();
  LONG commit();
  LONG roll_back(LONG error);
  void remember_file(const std::string& file);
  bool is_file(const std::string& file) const;

  std::mutex lock_;
  sqlite3* database_ = nullptr;
  std::array<sqlite3_stmt*, static_cast<size_t>(Query::kCount)> statements_{};
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

} // namespace qv::platform
