// Data and tags as rows of a table, one transaction each, with a log of writes. "normal" syncs the log when
// it is brought into the table, "full" with each transaction.

#include <cstdlib>
#include <sqlite3.h>

#include "../synced.h"

namespace {

template <bool full>
class Sqlite {
 public:
  explicit Sqlite(std::int64_t) {
    Remove();
    if (sqlite3_open(TemporaryFile::path, &database_) != SQLITE_OK) std::abort();
    Do("PRAGMA journal_mode=WAL");
    Do(full ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
    Do("CREATE TABLE data (i INTEGER PRIMARY KEY, time INTEGER, x REAL, y REAL, datum BLOB)");
    const char* const insert = "INSERT OR REPLACE INTO data VALUES (?, ?, ?, 0, ?)";
    if (sqlite3_prepare_v2(database_, insert, -1, &insert_, nullptr) != SQLITE_OK) std::abort();
  }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;
  ~Sqlite() {
    sqlite3_finalize(insert_);
    sqlite3_close(database_);
    Remove();
  }

  void Append(const Datum& datum, int i) {
    sqlite3_bind_int(insert_, 1, i);
    sqlite3_bind_int(insert_, 2, i);
    sqlite3_bind_double(insert_, 3, i);
    sqlite3_bind_blob(insert_, 4, datum.data(), static_cast<int>(datum.size()), SQLITE_STATIC);
    if (sqlite3_step(insert_) != SQLITE_DONE) std::abort();
    sqlite3_reset(insert_);
  }
  void Reset() { Do("DELETE FROM data"); }

 private:
  void Do(const char* statement) {
    if (sqlite3_exec(database_, statement, nullptr, nullptr, nullptr) != SQLITE_OK) std::abort();
  }
  static void Remove() {
    for (const char* end : {"", "-wal", "-shm"})
      std::remove((std::string(TemporaryFile::path) + end).c_str());
  }

  sqlite3* database_ = nullptr;
  sqlite3_stmt* insert_ = nullptr;
};

[[maybe_unused]] const bool registered = [] {
  RegisterSynced<Sqlite<false>>("append_group", "sqlite_normal");
  RegisterSynced<Sqlite<true>>("append_strict", "sqlite_full");
  return true;
}();

}  // namespace
