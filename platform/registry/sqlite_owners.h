// Move-only owners of an SQLite connection and of a prepared statement, so that every exit path
// closes or finalizes. A statement must be destroyed before its connection. Each owner is used
// from the thread of the connection it belongs to.
#ifndef KETRA_PLATFORM_REGISTRY_SQLITE_OWNERS_H_
#define KETRA_PLATFORM_REGISTRY_SQLITE_OWNERS_H_

#include <sqlite3.h>

#include <utility>

namespace ketra::registry {

class SqliteDatabase {
 public:
  SqliteDatabase() = default;
  explicit SqliteDatabase(sqlite3* db) : db_(db) {}
  SqliteDatabase(const SqliteDatabase&) = delete;
  SqliteDatabase& operator=(const SqliteDatabase&) = delete;
  SqliteDatabase(SqliteDatabase&& other) noexcept : db_(std::exchange(other.db_, nullptr)) {}
  SqliteDatabase& operator=(SqliteDatabase&& other) noexcept {
    if (this != &other) {
      Reset();
      db_ = std::exchange(other.db_, nullptr);
    }
    return *this;
  }
  ~SqliteDatabase() { Reset(); }

  sqlite3* get() const { return db_; }
  explicit operator bool() const { return db_ != nullptr; }
  void Reset() {
    if (db_ != nullptr) sqlite3_close_v2(db_);
    db_ = nullptr;
  }

 private:
  sqlite3* db_ = nullptr;
};

class SqliteStatement {
 public:
  SqliteStatement() = default;
  explicit SqliteStatement(sqlite3_stmt* stmt) : stmt_(stmt) {}
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;
  SqliteStatement(SqliteStatement&& other) noexcept : stmt_(std::exchange(other.stmt_, nullptr)) {}
  SqliteStatement& operator=(SqliteStatement&& other) noexcept {
    if (this != &other) {
      Reset();
      stmt_ = std::exchange(other.stmt_, nullptr);
    }
    return *this;
  }
  ~SqliteStatement() { Reset(); }

  sqlite3_stmt* get() const { return stmt_; }
  explicit operator bool() const { return stmt_ != nullptr; }
  void Reset() {
    if (stmt_ != nullptr) sqlite3_finalize(stmt_);
    stmt_ = nullptr;
  }

 private:
  sqlite3_stmt* stmt_ = nullptr;
};

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_SQLITE_OWNERS_H_
