// Calls of SQLite and its result codes.

#include "SqliteFile.h"

#include <sqlite3.h>

#include <array>
#include <cstdio>

#include "RecordedSecond.h"

namespace louddesk {
namespace {

// How long a writer waits for another writer's lock. Readers do not lock it out.
constexpr std::chrono::milliseconds kWriterPatience{5000};

StationError::Fault FaultOf(int code) {
  const int primary = code & 0xff;  // the other bits are details
  return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB ? StationError::Fault::kDamaged
                                                               : StationError::Fault::kUnavailable;
}

std::string Escaped(const std::string& path) {
  std::string escaped;
  for (const char letter : path) {
    std::array<char, 4> code{};
    std::snprintf(code.data(), code.size(), "%%%02X", static_cast<unsigned char>(letter));
    if (letter == '%' || letter == '?' || letter == '#')
      escaped += code.data();
    else
      escaped += letter;
  }
  return escaped;
}

// A URI for SQLite from an absolute or relative path.
std::string UriOf(const std::string& path, SqliteMode mode) {
  return "file:" + Escaped(path) + (mode == SqliteMode::kReadUnchanging ? "?immutable=1" : "");
}

}  // namespace

void SqliteFile::Close::operator()(sqlite3* handle) const {
  sqlite3_close_v2(handle);
}

SqliteFile::SqliteFile(const std::string& path, SqliteMode mode) : mPath(path) {
  const int flags = mode == SqliteMode::kReadWrite ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE
                                                   : SQLITE_OPEN_READONLY;
  sqlite3* handle = nullptr;
  const int code = sqlite3_open_v2(UriOf(path, mode).c_str(), &handle,
                                   flags | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
  mHandle.reset(handle);
  if (code != SQLITE_OK)
    Fail();
  sqlite3_extended_result_codes(handle, 1);
  const auto patience = mode == SqliteMode::kReadWrite ? kWriterPatience : kReaderPatience;
  sqlite3_busy_timeout(handle, static_cast<int>(patience.count()));
  // The schema of a file from elsewhere is not trusted.
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
}

void SqliteFile::Fail() const {
  const int code = mHandle ? sqlite3_extended_errcode(mHandle.get()) : SQLITE_NOMEM;
  const char* text = mHandle ? sqlite3_errmsg(mHandle.get()) : "out of memory";
  throw StationError(FaultOf(code), mPath + ": " + text);
}

void SqliteFile::Execute(const std::string& statements) {
  if (sqlite3_exec(mHandle.get(), statements.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
    Fail();
}

std::int64_t SqliteFile::Number(const std::string& statement) {
  SqliteStatement query(*this, statement);
  return query.Step() ? query.Number(0) : 0;
}

void SqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

SqliteStatement::SqliteStatement(SqliteFile& file, std::string_view text) : mFile(file) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v2(file.Handle(), text.data(), static_cast<int>(text.size()),
                                      &statement, nullptr);
  mStatement.reset(statement);
  if (code != SQLITE_OK)
    file.Fail();
}

SqliteStatement& SqliteStatement::Bind(int parameter, std::int64_t number) {
  if (sqlite3_bind_int64(mStatement.get(), parameter, number) != SQLITE_OK)
    mFile.Fail();
  return *this;
}

SqliteStatement& SqliteStatement::BindNull(int parameter) {
  if (sqlite3_bind_null(mStatement.get(), parameter) != SQLITE_OK)
    mFile.Fail();
  return *this;
}

SqliteStatement& SqliteStatement::BindText(int parameter, std::string_view text) {
  if (sqlite3_bind_text(mStatement.get(), parameter, text.data(), static_cast<int>(text.size()),
                        SQLITE_TRANSIENT) != SQLITE_OK)
    mFile.Fail();
  return *this;
}

SqliteStatement& SqliteStatement::BindBlob(int parameter, std::string_view bytes) {
  if (sqlite3_bind_blob(mStatement.get(), parameter, bytes.data(), static_cast<int>(bytes.size()),
                        SQLITE_TRANSIENT) != SQLITE_OK)
    mFile.Fail();
  return *this;
}

bool SqliteStatement::Step() {
  const int code = sqlite3_step(mStatement.get());
  if (code != SQLITE_ROW && code != SQLITE_DONE)
    mFile.Fail();
  return code == SQLITE_ROW;
}

void SqliteStatement::Run() {
  while (Step()) {
  }
  Reset();
}

void SqliteStatement::Reset() {
  sqlite3_reset(mStatement.get());
  sqlite3_clear_bindings(mStatement.get());
}

bool SqliteStatement::IsNull(int column) const {
  return sqlite3_column_type(mStatement.get(), column) == SQLITE_NULL;
}

std::int64_t SqliteStatement::Number(int column) const {
  return sqlite3_column_int64(mStatement.get(), column);
}

std::string SqliteStatement::Bytes(int column) const {
  const void* bytes = sqlite3_column_blob(mStatement.get(), column);
  const int size = sqlite3_column_bytes(mStatement.get(), column);
  return bytes == nullptr
             ? ""
             : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

SqliteTransaction::SqliteTransaction(SqliteFile& file) : mFile(file) {
  file.Execute("BEGIN IMMEDIATE");
}

SqliteTransaction::~SqliteTransaction() {
  if (sqlite3_get_autocommit(mFile.Handle()) == 0)
    sqlite3_exec(mFile.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void SqliteTransaction::Commit() {
  mFile.Execute("COMMIT");
}

}  // namespace louddesk
