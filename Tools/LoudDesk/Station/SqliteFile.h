// A thin wrapper of SQLite for the record: an open database and its statements, with errors as
// exceptions.

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace louddesk {

/// How long a reader waits for a lock. Writers do not lock readers out; only a recovery or an
/// exclusive lock of the whole file does.
constexpr std::chrono::milliseconds kReaderPatience{2000};

enum class SqliteMode { kReadOnly, kReadUnchanging, kReadWrite };

class SqliteFile {
 public:
  /// Opens the file. kReadWrite creates it if it is missing; with kReadUnchanging nobody may write
  /// to it while it is open. Throws StationError.
  SqliteFile(const std::string& path, SqliteMode mode);

  /// Runs statements and ignores the rows that they return. Throws StationError.
  void Execute(const std::string& statements);

  /// The number that a statement returns; 0 if it returns no row. Throws StationError.
  std::int64_t Number(const std::string& statement);

  /// Throws StationError for the library's last error.
  [[noreturn]] void Fail() const;

  sqlite3* Handle() const { return mHandle.get(); }

 private:
  struct Close {
    void operator()(sqlite3* handle) const;
  };

  std::string mPath;
  std::unique_ptr<sqlite3, Close> mHandle;
};

/// A prepared statement. Its parameters count from 1. Every call may throw StationError.
class SqliteStatement {
 public:
  SqliteStatement(SqliteFile& file, std::string_view text);

  SqliteStatement& Bind(int parameter, std::int64_t number);
  SqliteStatement& BindNull(int parameter);
  SqliteStatement& BindText(int parameter, std::string_view text);
  SqliteStatement& BindBlob(int parameter, std::string_view bytes);

  /// Moves to the next row; false if there is none.
  bool Step();

  /// Steps through all rows and resets the statement, so that parameters can be bound again.
  void Run();

  /// Resets the statement, so that parameters can be bound again.
  void Reset();

  /// Columns of the current row, counted from 0.
  bool IsNull(int column) const;
  std::int64_t Number(int column) const;
  std::string Bytes(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };

  SqliteFile& mFile;
  std::unique_ptr<sqlite3_stmt, Finalize> mStatement;
};

/// A write transaction: rolled back unless it is committed.
class SqliteTransaction {
 public:
  explicit SqliteTransaction(SqliteFile& file);
  ~SqliteTransaction();
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;

  void Commit();

 private:
  SqliteFile& mFile;
};

}  // namespace louddesk
