// The hive file: two tables, one row per key and one per value, in an SQLite database in WAL
// mode. The keys the program uses are copied into a HiveModel as they are first used (one
// indexed query for a key's values, one for a subkey), and the copy is dropped whenever another
// connection has committed: a look at the WAL-index header (no system call) says whether anyone
// did, and PRAGMA data_version decides when that look cannot. A copy pays: the panel's start
// makes 20,000 queries of one key, which cost 1.5 ms from the copy against 21 ms as indexed
// queries in one read transaction and 74 ms as one statement each (registry_bench). Every
// write is one autocommit statement, or one IMMEDIATE transaction where a call writes several
// rows, so it is in the WAL before the call returns (synchronous=NORMAL: safe against the death
// of the process, not against the loss of power). A batch's commit alone is synced
// (synchronous=FULL): it is a save of the user's settings as a whole.
#include "platform/registry/sqlite_hive.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>

#include "platform/registry/hive_files.h"
#include "platform/registry/model_registry.h"
#include "platform/registry/sqlite_owners.h"
#include "platform/registry/wal_change_watch.h"

namespace ketra::registry {
namespace {

constexpr int kApplicationId = 0x4B455452;  // "KETR": tells our hive from other SQLite files
constexpr int kSchemaVersion = 1;
constexpr int kBusyTimeoutMs = 5000;

constexpr const char* kSchemaSql =
    "CREATE TABLE hive_key ("
    "  id INTEGER PRIMARY KEY,"
    "  parent INTEGER REFERENCES hive_key(id) ON DELETE CASCADE,"
    "  name BLOB NOT NULL,"
    "  fold BLOB NOT NULL,"
    "  UNIQUE (parent, fold));"
    "INSERT INTO hive_key (id, parent, name, fold) VALUES (1, NULL, x'', x'');"
    "CREATE TABLE hive_value ("
    "  key INTEGER NOT NULL REFERENCES hive_key(id) ON DELETE CASCADE,"
    "  fold BLOB NOT NULL,"
    "  name BLOB NOT NULL,"
    "  seq INTEGER NOT NULL,"
    "  type INTEGER NOT NULL,"
    "  data BLOB NOT NULL,"
    "  PRIMARY KEY (key, fold)) WITHOUT ROWID;";

enum StatementId {
  kDataVersion,
  kReadKey,
  kReadChild,
  kReadChildren,
  kReadValues,
  kInsertKey,
  kUpsertValue,
  kDeleteValue,
  kDeleteKey,
  kClearValues,
  kClearKeys,
  kBeginWrite,
  kCommit,
  kRollback,
  kSyncFull,
  kSyncNormal,
  kStatementCount,
};

struct StatementText {
  StatementId id;
  const char* sql;
};

constexpr StatementText kStatements[] = {
    {kDataVersion, "PRAGMA data_version"},
    {kReadKey, "SELECT parent, name FROM hive_key WHERE id = ?1"},
    {kReadChild, "SELECT id, name FROM hive_key WHERE parent = ?1 AND fold = ?2"},
    {kReadChildren, "SELECT id, name FROM hive_key WHERE parent = ?1"},
    // Unsorted: a sort in SQLite costs more than the rest of the query; the few values of a key
    // are put in order here.
    {kReadValues, "SELECT name, type, data, seq FROM hive_value WHERE key = ?1"},
    {kInsertKey,
     "INSERT INTO hive_key (parent, name, fold) VALUES (?1, ?2, ?3)"
     " ON CONFLICT (parent, fold) DO NOTHING"},
    // A new value goes behind the others of its key; a replaced one keeps its place and name.
    {kUpsertValue,
     "INSERT INTO hive_value (key, fold, name, seq, type, data)"
     " VALUES (?1, ?2, ?3, (SELECT coalesce(max(seq), 0) + 1 FROM hive_value WHERE key = ?1),"
     " ?4, ?5)"
     " ON CONFLICT (key, fold) DO UPDATE SET type = excluded.type, data = excluded.data"},
    {kDeleteValue, "DELETE FROM hive_value WHERE key = ?1 AND fold = ?2"},
    {kDeleteKey, "DELETE FROM hive_key WHERE id = ?1"},
    {kClearValues, "DELETE FROM hive_value WHERE key = ?1"},
    {kClearKeys, "DELETE FROM hive_key WHERE parent = ?1"},
    {kBeginWrite, "BEGIN IMMEDIATE"},
    {kCommit, "COMMIT"},
    {kRollback, "ROLLBACK"},
    {kSyncFull, "PRAGMA synchronous = FULL"},
    {kSyncNormal, "PRAGMA synchronous = NORMAL"},
};

// The statement slots are indexed by id: every id has its text, at its own place.
constexpr bool StatementsInIdOrder() {
  if (std::size(kStatements) != kStatementCount) return false;
  for (std::size_t i = 0; i < std::size(kStatements); ++i) {
    if (kStatements[i].id != static_cast<StatementId>(i)) return false;
  }
  return true;
}
static_assert(StatementsInIdOrder());

Status StatusOf(int rc) {
  switch (rc & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return kErrorSuccess;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return kErrorAccessDenied;
    case SQLITE_BUSY:  // the busy time-out ran out
    case SQLITE_LOCKED:
      return kErrorLockViolation;
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
    case SQLITE_FORMAT:
      return kErrorBadDb;
    case SQLITE_CONSTRAINT:
      return rc == SQLITE_CONSTRAINT_FOREIGNKEY ? kErrorKeyDeleted : kErrorInvalidParameter;
    default:
      return kErrorRegistryIoFailed;
  }
}

// Binds a byte run as a blob; an empty run stays an empty blob rather than NULL.
int BindBytes(sqlite3_stmt* stmt, int index, const void* data, std::size_t size) {
  static constexpr char kNothing = 0;
  return sqlite3_bind_blob64(stmt, index, size == 0 ? &kNothing : data, size, SQLITE_STATIC);
}

std::string ColumnText(sqlite3_stmt* stmt, int column) {
  const void* bytes = sqlite3_column_blob(stmt, column);
  const int size = sqlite3_column_bytes(stmt, column);
  return bytes == nullptr ? std::string() : std::string(static_cast<const char*>(bytes), size);
}

// Resets a statement when the scope ends, so the next use starts clean and no read lock lingers.
class ResetOnExit {
 public:
  explicit ResetOnExit(sqlite3_stmt* stmt) : stmt_(stmt) {}
  ResetOnExit(const ResetOnExit&) = delete;
  ResetOnExit& operator=(const ResetOnExit&) = delete;
  ~ResetOnExit() {
    sqlite3_reset(stmt_);
    sqlite3_clear_bindings(stmt_);
  }

 private:
  sqlite3_stmt* stmt_;
};

class SqliteStore : public HiveStore {
 public:
  explicit SqliteStore(std::string path) : path_(std::move(path)) {}
  ~SqliteStore() override { Disconnect(); }

  Status Refresh(HiveModel& model, bool for_write) override;
  Status ReadKey(KeyId id, KeyId* parent, std::string* name) override;
  Status ReadChild(KeyId parent, const std::string& folded, KeyId* id, std::string* name) override;
  Status ReadChildren(KeyId parent, std::vector<std::pair<KeyId, std::string>>* children) override;
  Status ReadValues(KeyId key, std::vector<HiveValue>* values) override;
  void Invalidate() override {
    data_version_ = -1;
    watch_.Forget();
  }
  bool Writable() override { return db_ && !read_only_; }
  bool ModelIsCurrent() override {
    // A batch holds the write lock from the moment the model was checked under it.
    if (data_version_ < 0) return false;
    if (in_batch_) return true;
    WalChangeWatch::Header now;
    return ReadHeader(&now) && watch_.Unchanged(now);
  }
  Status CreateKeys(KeyId parent, const std::vector<std::string>& names,
                    std::vector<KeyId>* ids) override;
  Status SetValue(KeyId key, std::string_view name, const std::string& folded, std::uint32_t type,
                  const std::uint8_t* data, std::uint32_t length) override;
  Status DeleteValue(KeyId key, const std::string& folded) override;
  Status DeleteTree(KeyId key) override;
  Status Begin() override;
  Status Commit() override;
  void Rollback() override;

 private:
  // Open, and one line on standard error the first time the hive proves unusable.
  Status Connect(bool for_write);
  Status Open(bool for_write);
  void ReportUnusable(const std::string& cause);
  Status CheckSchema(bool for_write);
  Status CreateSchema();
  // True when there is a hive to read from; false (nothing to read) when the file is missing or
  // has no tables yet.
  bool Readable() const { return db_ && schema_ready_; }
  // PRAGMA data_version: moves with every commit of another connection.
  Status DataVersion(std::int64_t* version);
  // The cached statement, prepared at first use; null when it cannot be prepared.
  sqlite3_stmt* Statement(StatementId id);
  // Runs a statement that returns no rows, or one row whose first column goes to `value`.
  Status Run(StatementId id);
  Status QueryInt(const char* sql, std::int64_t* value);
  // Common tail of a failed call: a file that is no hive is let go, so a fixed one can be
  // opened again later.
  Status Fail(Status status);
  void Disconnect();
  Status BeginWrite();
  Status EndWrite(Status status);
  bool ReadHeader(WalChangeWatch::Header* header) {
    return db_ && wal_ && WalChangeWatch::Read(db_.get(), header);
  }
  // Before a write that commits on its own: where the log stands.
  void BeforeCommit();
  // After it: the cache stays known-current when the write was the only commit since.
  void AfterCommit(Status status);

  std::string path_;
  SqliteDatabase db_;
  SqliteStatement statements_[kStatementCount];  // declared after db_: finalized before it
  bool schema_ready_ = false;
  bool read_only_ = false;
  bool wal_ = false;  // the file is in WAL mode, so it has a WAL index to look at
  bool in_batch_ = false;
  std::int64_t data_version_ = -1;  // of the state the model holds; -1 when unknown
  WalChangeWatch watch_;            // marks the log state that the model matches
  WalChangeWatch::Header before_commit_{};
  bool have_before_commit_ = false;
  bool foreign_ = false;   // the file is another program's database
  bool reported_ = false;  // the line on standard error is written
  bool broken_ = false;    // the file failed as damaged: the next open starts from scratch
};

void SqliteStore::Disconnect() {
  for (auto& statement : statements_) statement.Reset();
  db_.Reset();
  schema_ready_ = false;
  read_only_ = false;
  wal_ = false;
  in_batch_ = false;
  data_version_ = -1;
  watch_.Forget();
}

void SqliteStore::BeforeCommit() { have_before_commit_ = ReadHeader(&before_commit_); }

void SqliteStore::AfterCommit(Status status) {
  WalChangeWatch::Header after;
  if (status == kErrorSuccess && have_before_commit_ && ReadHeader(&after)) {
    watch_.NoteOwnCommit(before_commit_, after);
  } else {
    watch_.Forget();
  }
}

Status SqliteStore::Fail(Status status) {
  // A file that fails after its header was read (a damaged page, a failing disk) is worth a line
  // with its path and SQLite's cause; a lock held too long is nobody's fault and says nothing.
  if (db_ && (status == kErrorBadDb || status == kErrorRegistryIoFailed)) {
    const int code = sqlite3_extended_errcode(db_.get()) & 0xFF;
    if (code != SQLITE_OK && code != SQLITE_BUSY && code != SQLITE_LOCKED) {
      ReportUnusable(std::string("cannot be used: ") + sqlite3_errmsg(db_.get()));
    }
  }
  // Not at once: the failed statement is still to be reset by its caller's ResetOnExit, and a
  // disconnect would have finalized it under that guard (a damaged hive crashed ketra-reg).
  if (status == kErrorBadDb) broken_ = true;
  return status;
}

sqlite3_stmt* SqliteStore::Statement(StatementId id) {
  SqliteStatement& slot = statements_[id];
  if (!slot) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v3(db_.get(), kStatements[id].sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt,
                           nullptr) != SQLITE_OK) {
      sqlite3_finalize(stmt);
      return nullptr;
    }
    slot = SqliteStatement(stmt);
  }
  return slot.get();
}

Status SqliteStore::Run(StatementId id) {
  sqlite3_stmt* stmt = Statement(id);
  if (stmt == nullptr) return kErrorBadDb;
  ResetOnExit reset(stmt);
  return StatusOf(sqlite3_step(stmt));
}

Status SqliteStore::QueryInt(const char* sql, std::int64_t* value) {
  sqlite3_stmt* raw = nullptr;
  int rc = sqlite3_prepare_v2(db_.get(), sql, -1, &raw, nullptr);
  SqliteStatement stmt(raw);
  if (rc != SQLITE_OK) return StatusOf(rc);
  rc = sqlite3_step(stmt.get());
  if (rc != SQLITE_ROW) return rc == SQLITE_DONE ? kErrorBadDb : StatusOf(rc);
  *value = sqlite3_column_int64(stmt.get(), 0);
  return kErrorSuccess;
}

Status SqliteStore::Connect(bool for_write) {
  const Status status = Open(for_write);
  if (status == kErrorBadDb) {
    ReportUnusable(foreign_ ? "another program's file (not a Ketra hive)"
                            : "corrupt (damaged, or not an SQLite database)");
  } else if (status == kErrorAccessDenied) {
    ReportUnusable("no permission");
  } else if (status == kErrorFileNotFound && !path_.empty()) {
    // A hive not made yet is a fresh start; a path that cannot be reached is worth a line, and
    // one this user may not look at is no empty hive but a refusal.
    if (const std::string why = WhyHiveIsMissing(path_); !why.empty()) {
      ReportUnusable(why);
      if (HiveFileReadDenied(path_)) return kErrorAccessDenied;
    }
  }
  return status;
}

void SqliteStore::ReportUnusable(const std::string& cause) {
  if (reported_) return;
  reported_ = true;
  // One line, as a system log would have it; the caller shows its own message as well.
  const std::string line =
      std::string(program_invocation_short_name) + ": hive " + path_ + ": " + cause + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

Status SqliteStore::Open(bool for_write) {
  if (broken_) {
    broken_ = false;
    Disconnect();
  }
  if (db_) {
    if (schema_ready_ || !for_write) return kErrorSuccess;
    return Fail(CheckSchema(true));
  }
  if (path_.empty()) return for_write ? kErrorRegistryIoFailed : kErrorFileNotFound;
  if (!for_write && !HiveFileExists(path_)) return kErrorFileNotFound;
  if (for_write) {
    Status status = MakeHiveDirectories(path_);
    if (status != kErrorSuccess) return status;
    // The hive is shared by a group (the service's): made 0660 whatever the umask, so a daemon
    // run by hand gives the group the access the service gives it.
    CreateSharedHiveFile(path_);
  }
  sqlite3* raw = nullptr;
  const int flags =
      SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (for_write ? SQLITE_OPEN_CREATE : 0);
  const int rc = sqlite3_open_v2(path_.c_str(), &raw, flags, nullptr);
  db_ = SqliteDatabase(raw);
  if (rc != SQLITE_OK) {
    Disconnect();
    if ((rc & 0xFF) == SQLITE_CANTOPEN) {
      return for_write || HiveFileReadDenied(path_) ? kErrorAccessDenied : kErrorFileNotFound;
    }
    return StatusOf(rc);
  }
  sqlite3_extended_result_codes(db_.get(), 1);
  sqlite3_busy_timeout(db_.get(), kBusyTimeoutMs);
  read_only_ = sqlite3_db_readonly(db_.get(), "main") == 1;
  Status status = CheckSchema(for_write);
  if (status != kErrorSuccess) {
    Disconnect();
    return status;
  }
  return kErrorSuccess;
}

Status SqliteStore::CheckSchema(bool for_write) {
  std::int64_t application_id = 0;
  Status status = QueryInt("PRAGMA application_id", &application_id);
  if (status != kErrorSuccess) return status;
  if (application_id == 0) {
    std::int64_t objects = 0;
    status = QueryInt("SELECT count(*) FROM sqlite_master", &objects);
    if (status != kErrorSuccess) return status;
    foreign_ = objects != 0;
    if (foreign_) return kErrorBadDb;  // someone else's database
    // An empty file reads as an empty hive; the tables come with the first write.
    if (!for_write) return kErrorSuccess;
    if (read_only_) return kErrorAccessDenied;
    status = CreateSchema();
    if (status != kErrorSuccess) return status;
  } else if (application_id != kApplicationId) {
    foreign_ = true;
    return kErrorBadDb;
  }
  std::int64_t version = 0;
  status = QueryInt("PRAGMA user_version", &version);
  if (status != kErrorSuccess) return status;
  if (version < 1 || version > kSchemaVersion) return kErrorBadDb;
  // Per-connection settings: cascades need foreign keys on; NORMAL keeps a commit in the WAL
  // without a sync on every write.
  // The log is copied back into the file once it holds about 4 MB, and cut back to 1 MB after.
  const int rc =
      sqlite3_exec(db_.get(),
                   "PRAGMA foreign_keys = ON; PRAGMA synchronous = NORMAL;"
                   " PRAGMA wal_autocheckpoint = 4000; PRAGMA journal_size_limit = 1048576",
                   nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK) return StatusOf(rc);
  // A hive is always in WAL mode; a file put back into another mode by some tool returns to it.
  const char* mode_sql = read_only_ ? "PRAGMA journal_mode" : "PRAGMA journal_mode = WAL";
  std::string mode;
  sqlite3_exec(
      db_.get(), mode_sql,
      [](void* out, int, char** values, char**) {
        if (values[0] != nullptr) *static_cast<std::string*>(out) = values[0];
        return 0;
      },
      &mode, nullptr);
  wal_ = mode == "wal";
  schema_ready_ = true;
  return kErrorSuccess;
}

Status SqliteStore::CreateSchema() {
  // Small pages: a commit writes one whole page to the log, and the hive's rows are short.
  // Both are properties of the file, set before anything is in it, outside a transaction.
  int rc = sqlite3_exec(db_.get(), "PRAGMA page_size = 1024; PRAGMA journal_mode = WAL", nullptr,
                        nullptr, nullptr);
  if (rc != SQLITE_OK) return StatusOf(rc);
  rc = sqlite3_exec(db_.get(), "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK) return StatusOf(rc);
  // Another process may have made the tables while this one waited for the lock.
  std::int64_t application_id = 0;
  Status status = QueryInt("PRAGMA application_id", &application_id);
  if (status == kErrorSuccess && application_id == 0) {
    const std::string sql = std::string(kSchemaSql) +
                            "PRAGMA application_id = " + std::to_string(kApplicationId) +
                            "; PRAGMA user_version = " + std::to_string(kSchemaVersion) + ";";
    status = StatusOf(sqlite3_exec(db_.get(), sql.c_str(), nullptr, nullptr, nullptr));
  } else if (status == kErrorSuccess && application_id != kApplicationId) {
    status = kErrorBadDb;
  }
  if (status == kErrorSuccess) {
    status = StatusOf(sqlite3_exec(db_.get(), "COMMIT", nullptr, nullptr, nullptr));
  }
  if (status != kErrorSuccess) sqlite3_exec(db_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  return status;
}

Status SqliteStore::Refresh(HiveModel& model, bool for_write) {
  Status status = Connect(for_write);
  if (status == kErrorFileNotFound && !for_write) {
    model.Clear();
    data_version_ = -1;
    return kErrorSuccess;
  }
  if (status != kErrorSuccess) return status;
  if (!schema_ready_) {
    model.Clear();
    data_version_ = -1;
    return kErrorSuccess;
  }
  // Inside a batch this connection holds the write lock: nobody else can have changed anything.
  if (in_batch_ && data_version_ >= 0) return kErrorSuccess;
  // The header is read before SQLite is asked, so a commit in between makes the mark older than
  // the model, never newer: the next look then asks again instead of missing the commit.
  WalChangeWatch::Header now;
  const bool have_header = ReadHeader(&now);
  if (data_version_ >= 0 && have_header && watch_.Unchanged(now)) return kErrorSuccess;
  std::int64_t version = -1;
  status = DataVersion(&version);
  if (status != kErrorSuccess) return Fail(status);
  // The version only moves with other connections' commits; this one's own writes are in the
  // model already.
  if (version != data_version_) {
    model.Forget();
    data_version_ = version;
  }
  if (have_header) {
    watch_.Note(now);
  } else {
    watch_.Forget();
  }
  return kErrorSuccess;
}

Status SqliteStore::DataVersion(std::int64_t* version) {
  sqlite3_stmt* stmt = Statement(kDataVersion);
  if (stmt == nullptr) return kErrorBadDb;
  ResetOnExit reset(stmt);
  const int rc = sqlite3_step(stmt);
  if (rc != SQLITE_ROW) return StatusOf(rc);
  *version = sqlite3_column_int64(stmt, 0);
  return kErrorSuccess;
}

Status SqliteStore::ReadKey(KeyId id, KeyId* parent, std::string* name) {
  if (!Readable()) return kErrorFileNotFound;
  sqlite3_stmt* stmt = Statement(kReadKey);
  if (stmt == nullptr) return Fail(kErrorBadDb);
  ResetOnExit reset(stmt);
  sqlite3_bind_int64(stmt, 1, id);
  const int rc = sqlite3_step(stmt);
  if (rc == SQLITE_DONE) return kErrorFileNotFound;
  if (rc != SQLITE_ROW) return Fail(StatusOf(rc));
  *parent = sqlite3_column_int64(stmt, 0);
  *name = ColumnText(stmt, 1);
  return kErrorSuccess;
}

Status SqliteStore::ReadChild(KeyId parent, const std::string& folded, KeyId* id,
                              std::string* name) {
  if (!Readable()) return kErrorFileNotFound;
  sqlite3_stmt* stmt = Statement(kReadChild);
  if (stmt == nullptr) return Fail(kErrorBadDb);
  ResetOnExit reset(stmt);
  sqlite3_bind_int64(stmt, 1, parent);
  BindBytes(stmt, 2, folded.data(), folded.size());
  const int rc = sqlite3_step(stmt);
  if (rc == SQLITE_DONE) return kErrorFileNotFound;
  if (rc != SQLITE_ROW) return Fail(StatusOf(rc));
  *id = sqlite3_column_int64(stmt, 0);
  *name = ColumnText(stmt, 1);
  return kErrorSuccess;
}

Status SqliteStore::ReadChildren(KeyId parent,
                                 std::vector<std::pair<KeyId, std::string>>* children) {
  children->clear();
  if (!Readable()) return kErrorSuccess;
  sqlite3_stmt* stmt = Statement(kReadChildren);
  if (stmt == nullptr) return Fail(kErrorBadDb);
  ResetOnExit reset(stmt);
  sqlite3_bind_int64(stmt, 1, parent);
  int rc = SQLITE_OK;
  while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
    children->emplace_back(sqlite3_column_int64(stmt, 0), ColumnText(stmt, 1));
  }
  return rc == SQLITE_DONE ? kErrorSuccess : Fail(StatusOf(rc));
}

Status SqliteStore::ReadValues(KeyId key, std::vector<HiveValue>* values) {
  values->clear();
  if (!Readable()) return kErrorSuccess;
  sqlite3_stmt* stmt = Statement(kReadValues);
  if (stmt == nullptr) return Fail(kErrorBadDb);
  ResetOnExit reset(stmt);
  sqlite3_bind_int64(stmt, 1, key);
  std::vector<std::pair<std::int64_t, HiveValue>> rows;
  int rc = SQLITE_OK;
  while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
    HiveValue value;
    value.name = ColumnText(stmt, 0);
    value.type = static_cast<std::uint32_t>(sqlite3_column_int64(stmt, 1));
    const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(stmt, 2));
    if (bytes != nullptr) value.data.assign(bytes, bytes + sqlite3_column_bytes(stmt, 2));
    rows.emplace_back(sqlite3_column_int64(stmt, 3), std::move(value));
  }
  if (rc != SQLITE_DONE) return Fail(StatusOf(rc));
  std::sort(rows.begin(), rows.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  values->reserve(rows.size());
  for (auto& row : rows) values->push_back(std::move(row.second));
  return kErrorSuccess;
}

Status SqliteStore::BeginWrite() {
  Status status = Connect(true);
  if (status != kErrorSuccess) return status;
  if (read_only_) return kErrorAccessDenied;
  if (in_batch_) return kErrorSuccess;
  BeforeCommit();
  return Fail(Run(kBeginWrite));
}

Status SqliteStore::EndWrite(Status status) {
  if (in_batch_) return Fail(status);
  if (status == kErrorSuccess) status = Run(kCommit);
  if (status != kErrorSuccess) Run(kRollback);
  AfterCommit(status);
  return Fail(status);
}

Status SqliteStore::CreateKeys(KeyId parent, const std::vector<std::string>& names,
                               std::vector<KeyId>* ids) {
  Status status = BeginWrite();
  if (status != kErrorSuccess) return status;
  ids->clear();
  std::string folded;
  for (const std::string& name : names) {
    FoldNameInto(name, &folded);
    sqlite3_stmt* insert = Statement(kInsertKey);
    sqlite3_stmt* select = Statement(kReadChild);
    if (insert == nullptr || select == nullptr) {
      status = kErrorBadDb;
      break;
    }
    {
      ResetOnExit reset(insert);
      sqlite3_bind_int64(insert, 1, parent);
      BindBytes(insert, 2, name.data(), name.size());
      BindBytes(insert, 3, folded.data(), folded.size());
      status = StatusOf(sqlite3_step(insert));
    }
    if (status != kErrorSuccess) break;
    {
      ResetOnExit reset(select);
      sqlite3_bind_int64(select, 1, parent);
      BindBytes(select, 2, folded.data(), folded.size());
      const int rc = sqlite3_step(select);
      if (rc != SQLITE_ROW) {
        status = rc == SQLITE_DONE ? kErrorKeyDeleted : StatusOf(rc);
        break;
      }
      parent = sqlite3_column_int64(select, 0);
    }
    ids->push_back(parent);
  }
  return EndWrite(status);
}

Status SqliteStore::SetValue(KeyId key, std::string_view name, const std::string& folded,
                             std::uint32_t type, const std::uint8_t* data, std::uint32_t length) {
  Status status = Connect(true);
  if (status != kErrorSuccess) return status;
  if (read_only_) return kErrorAccessDenied;
  sqlite3_stmt* stmt = Statement(kUpsertValue);
  if (stmt == nullptr) return Fail(kErrorBadDb);
  if (!in_batch_) BeforeCommit();
  ResetOnExit reset(stmt);
  sqlite3_bind_int64(stmt, 1, key);
  BindBytes(stmt, 2, folded.data(), folded.size());
  BindBytes(stmt, 3, name.data(), name.size());
  sqlite3_bind_int64(stmt, 4, type);
  BindBytes(stmt, 5, data, length);
  // One statement outside a transaction commits on its own.
  status = StatusOf(sqlite3_step(stmt));
  if (!in_batch_) AfterCommit(status);
  return Fail(status);
}

Status SqliteStore::DeleteValue(KeyId key, const std::string& folded) {
  Status status = Connect(true);
  if (status != kErrorSuccess) return status;
  if (read_only_) return kErrorAccessDenied;
  sqlite3_stmt* stmt = Statement(kDeleteValue);
  if (stmt == nullptr) return Fail(kErrorBadDb);
  if (!in_batch_) BeforeCommit();
  ResetOnExit reset(stmt);
  sqlite3_bind_int64(stmt, 1, key);
  BindBytes(stmt, 2, folded.data(), folded.size());
  status = StatusOf(sqlite3_step(stmt));
  if (!in_batch_) AfterCommit(status);
  if (status == kErrorSuccess && sqlite3_changes(db_.get()) == 0) status = kErrorFileNotFound;
  return Fail(status);
}

Status SqliteStore::DeleteTree(KeyId key) {
  Status status = BeginWrite();
  if (status != kErrorSuccess) return status;
  auto run_with_key = [&](StatementId id) {
    sqlite3_stmt* stmt = Statement(id);
    if (stmt == nullptr) return kErrorBadDb;
    ResetOnExit reset(stmt);
    sqlite3_bind_int64(stmt, 1, key);
    return StatusOf(sqlite3_step(stmt));
  };
  if (key == kRootKeyId) {
    status = run_with_key(kClearValues);
    if (status == kErrorSuccess) status = run_with_key(kClearKeys);
  } else {
    // The foreign keys cascade to every key and value below.
    status = run_with_key(kDeleteKey);
    if (status == kErrorSuccess && sqlite3_changes(db_.get()) == 0) status = kErrorKeyDeleted;
  }
  return EndWrite(status);
}

Status SqliteStore::Begin() {
  if (in_batch_) return kErrorInvalidParameter;
  Status status = BeginWrite();
  if (status != kErrorSuccess) return status;
  in_batch_ = true;
  watch_.Forget();
  // Others may have written before the lock was taken: the model is checked under it, and
  // dropped when they did.
  std::int64_t version = -1;
  if (data_version_ >= 0 && (DataVersion(&version) != kErrorSuccess || version != data_version_)) {
    data_version_ = -1;
  }
  return kErrorSuccess;
}

Status SqliteStore::Commit() {
  if (!in_batch_) return kErrorInvalidParameter;
  BeforeCommit();
  // A batch is a save of settings as a whole (or an import): it is synced to the disk, so that
  // it outlives a loss of power too. That costs about 1 ms once per save; the many single
  // writes of the driver's device map stay unsynced.
  Run(kSyncFull);
  Status status = Run(kCommit);
  Run(kSyncNormal);
  AfterCommit(status);
  if (status == kErrorSuccess) in_batch_ = false;
  return status;
}

void SqliteStore::Rollback() {
  if (!in_batch_) return;
  if (db_) Run(kRollback);
  in_batch_ = false;
  data_version_ = -1;
  watch_.Forget();
}

}  // namespace

std::unique_ptr<Registry> OpenSqliteHive(const std::string& path) {
  return std::make_unique<ModelRegistry>(std::make_unique<SqliteStore>(path));
}

}  // namespace ketra::registry
