// An open database and its statements: what the record needs of SQLite, with errors as exceptions.

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace louddesk {

/// How long a reader waits for somebody who keeps it out. Who writes does not; only who recovers or
/// locks the whole file does.
constexpr std::chrono::milliseconds kReaderPatience{2000};

enum class SqliteMode { kReadOnly, kReadUnchanging, kReadWrite };

class SqliteFile {
 public:
  /// Opens the file. With kReadWrite it is made if it is missing; with kReadUnchanging nobody may
  /// write it meanwhile. Throws StationError.
  SqliteFile(const std::string& path, SqliteMode mode);

  /// Runs statements that give no rows that matter. Throws StationError.
  void Execute(const std::string& statements);

  /// The number that a statement gives; 0 if it gives none. Throws StationError.
  std::int64_t Number(const std::string& statement);

  /// Throws StationError for the error that the library reported last.
  [[noreturn]] void Fail() const;

  sqlite3* Handle() const { return mHandle.get(); }

 private:
  struct Close {
    void operator()(sqlite3* handle) const;
  };

  std::string mPath;
  std::unique_ptr<sqlite3, Close> mHandle;
};

/// A statement with its parameters, which count from 1. Throws StationError.
class SqliteStatement {
 public:
  SqliteStatement(SqliteFile& file, std::string_view text);

  SqliteStatement& Bind(int parameter, std::int64_t number);
  SqliteStatement& BindNull(int parameter);
  SqliteStatement& BindText(int parameter, std::string_view text);
  SqliteStatement& BindBlob(int parameter, std::string_view bytes);

  /// Goes to the next row; false when there is none.
  bool Step();

  /// Steps to the end, and makes the statement ready to be bound anew.
  void Run();

  /// Makes it ready to be bound anew.
  void Reset();

  /// Columns of the row, counted from 0.
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

/// A transaction that writes: rolled back unless it is committed.
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
