#include "platform/linux/SqlitePreferences.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <utility>

#include "platform/linux/StoredValue.h"

namespace velmora {
namespace {

using Bytes = PreferenceValue::Bytes;
using Values = std::map<std::string, PreferenceValue, std::less<>>;

constexpr int kSchemaVersion = 1;
constexpr int kApplicationId = 0x56454c4d;  // "VELM"
constexpr int kBusyMilliseconds = 500;

struct Finalizer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;

std::string_view columnText(sqlite3_stmt* row, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
  return text ? std::string_view(text, static_cast<size_t>(sqlite3_column_bytes(row, column)))
              : std::string_view();
}

std::optional<StoredValue::Content> columnContent(sqlite3_stmt* row, int column) {
  switch (sqlite3_column_type(row, column)) {
    case SQLITE_INTEGER:
      return sqlite3_column_int64(row, column);
    case SQLITE_FLOAT:
      return sqlite3_column_double(row, column);
    case SQLITE_TEXT:
      return std::string(columnText(row, column));
    case SQLITE_BLOB: {
      const auto* bytes = static_cast<const uint8_t*>(sqlite3_column_blob(row, column));
      return Bytes(bytes, bytes + sqlite3_column_bytes(row, column));
    }
    default:
      return std::nullopt;
  }
}

// The bytes stay alive until the statement has run. An empty blob needs a pointer all the same, or
// it would become a null.
struct Bind {
  sqlite3_stmt* statement;
  int column;
  int operator()(int64_t v) const { return sqlite3_bind_int64(statement, column, v); }
  int operator()(double v) const { return sqlite3_bind_double(statement, column, v); }
  int operator()(std::string_view v) const {
    return sqlite3_bind_text64(statement, column, v.data() ? v.data() : "", v.size(), SQLITE_STATIC,
                               SQLITE_UTF8);
  }
  int operator()(const Bytes& v) const {
    const void* data = v.empty() ? static_cast<const void*>("") : v.data();
    return sqlite3_bind_blob64(statement, column, data, v.size(), SQLITE_STATIC);
  }
};

}  // namespace

// An open database. Results are SQLite's codes; the first failure is kept in words.
class SqlitePreferences::File {
 public:
  File() = default;
  ~File() {
    for (auto* statement : {&put_, &remove_, &begin_, &commit_, &rollback_}) statement->reset();
    sqlite3_close(db_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int openForWriting(const std::string& path);
  int openForReading(const std::string& address, std::chrono::milliseconds patience);
  int load(Values& values, Log& log);
  int save(const std::set<std::string>& keys, const Values& values, Log& log);
  const std::string& reason() const { return reason_; }

 private:
  int settle();
  int check(bool& isNew);
  int makeSchema();
  int number(const char* sql, int& out);
  int run(const char* sql) { return noted(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr)); }
  int prepare(const char* sql, Statement& out);
  int step(const Statement& statement);
  int saveOne(const std::string& key, const Values& values, Log& log);
  int noted(int result);
  int refuse(int result, std::string reason) {
    reason_ = std::move(reason);
    return result;
  }

  sqlite3* db_ = nullptr;
  std::string reason_;
  Statement put_, remove_, begin_, commit_, rollback_;
};

int SqlitePreferences::File::noted(int result) {
  if (result != SQLITE_OK && result != SQLITE_ROW && result != SQLITE_DONE)
    reason_ = db_ ? sqlite3_errmsg(db_) : sqlite3_errstr(result);
  return result;
}

int SqlitePreferences::File::prepare(const char* sql, Statement& out) {
  sqlite3_stmt* statement = nullptr;
  const int result = sqlite3_prepare_v2(db_, sql, -1, &statement, nullptr);
  out.reset(statement);
  return noted(result);
}

int SqlitePreferences::File::step(const Statement& statement) {
  const int result = noted(sqlite3_step(statement.get()));
  sqlite3_reset(statement.get());
  sqlite3_clear_bindings(statement.get());
  return result == SQLITE_DONE ? SQLITE_OK : result;
}

int SqlitePreferences::File::number(const char* sql, int& out) {
  Statement statement;
  if (const int result = prepare(sql, statement)) return result;
  const int result = noted(sqlite3_step(statement.get()));
  if (result != SQLITE_ROW) return result == SQLITE_DONE ? SQLITE_CORRUPT : result;
  out = sqlite3_column_int(statement.get(), 0);
  return SQLITE_OK;
}

// Until the file has proved sound, closing it must not write into it.
int SqlitePreferences::File::openForWriting(const std::string& path) {
  int result =
      sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  noted(result);
  if (result == SQLITE_OK) sqlite3_db_config(db_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  if (result == SQLITE_OK && sqlite3_db_readonly(db_, "main") == 1)
    result = refuse(SQLITE_READONLY, "it can't be written");
  bool isNew = false;
  if (result == SQLITE_OK) result = check(isNew);
  if (result == SQLITE_OK) result = settle();
  if (result == SQLITE_OK && isNew) result = makeSchema();
  if (result == SQLITE_OK)
    result = prepare(
        "INSERT INTO preferences (key, kind, value) VALUES (?1, ?2, ?3) "
        "ON CONFLICT (key) DO UPDATE SET kind = ?2, value = ?3",
        put_);
  if (result == SQLITE_OK) result = prepare("DELETE FROM preferences WHERE key = ?1", remove_);
  if (result == SQLITE_OK) result = prepare("BEGIN IMMEDIATE", begin_);
  if (result == SQLITE_OK) result = prepare("COMMIT", commit_);
  if (result == SQLITE_OK) result = prepare("ROLLBACK", rollback_);
  if (result == SQLITE_OK) sqlite3_db_config(db_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
  return result;
}

// A commit returns when the disk has it: saves are rare, and a power cut must not take one back.
int SqlitePreferences::File::settle() {
  sqlite3_busy_timeout(db_, kBusyMilliseconds);
  return run(
      "PRAGMA cache_size = -128; PRAGMA trusted_schema = OFF;"
      "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;");
}

// Reads only: what turns out to be damaged is kept as it was found.
int SqlitePreferences::File::check(bool& isNew) {
  sqlite3_busy_timeout(db_, kBusyMilliseconds);
  Statement statement;
  if (const int result = prepare("PRAGMA quick_check(1)", statement)) return result;
  const int result = noted(sqlite3_step(statement.get()));
  if (result != SQLITE_ROW) return result == SQLITE_DONE ? SQLITE_CORRUPT : result;
  const std::string verdict(columnText(statement.get(), 0));
  if (verdict != "ok") return refuse(SQLITE_CORRUPT, verdict);

  int version = 0;
  int tables = 0;
  if (const int failed = number("PRAGMA user_version", version)) return failed;
  if (const int failed = number("SELECT count(*) FROM sqlite_schema", tables)) return failed;
  isNew = version == 0 && tables == 0;
  if (isNew) return SQLITE_OK;
  if (version != kSchemaVersion)
    return refuse(SQLITE_NOTADB, "its schema has version " + std::to_string(version));
  return prepare("SELECT key, kind, value FROM preferences", statement) == SQLITE_OK
             ? SQLITE_OK
             : SQLITE_NOTADB;
}

int SqlitePreferences::File::makeSchema() {
  const std::string sql =
      "BEGIN IMMEDIATE;"
      "CREATE TABLE preferences (key TEXT PRIMARY KEY NOT NULL, kind TEXT NOT NULL, value NOT NULL)"
      " WITHOUT ROWID;"
      "PRAGMA application_id = " +
      std::to_string(kApplicationId) +
      ";"
      "PRAGMA user_version = " +
      std::to_string(kSchemaVersion) + "; COMMIT;";
  return run(sql.c_str());
}

int SqlitePreferences::File::openForReading(const std::string& address,
                                            std::chrono::milliseconds patience) {
  const int result = noted(
      sqlite3_open_v2(address.c_str(), &db_, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr));
  if (result == SQLITE_OK) sqlite3_busy_timeout(db_, static_cast<int>(patience.count()));
  return result;
}

int SqlitePreferences::File::load(Values& values, Log& log) {
  Statement rows;
  if (const int result = prepare("SELECT key, kind, value FROM preferences", rows)) return result;
  int result = SQLITE_OK;
  while ((result = noted(sqlite3_step(rows.get()))) == SQLITE_ROW) {
    const std::string key(columnText(rows.get(), 0));
    const std::string kind(columnText(rows.get(), 1));
    const auto content = columnContent(rows.get(), 2);
    auto value = content ? fromStored(kind, *content) : std::nullopt;
    if (value)
      values.insert_or_assign(key, std::move(*value));
    else
      log.notice("Preferences: \"" + key + "\" holds a \"" + kind +
                 "\" that can't be understood; it is left alone");
  }
  return result == SQLITE_DONE ? SQLITE_OK : result;
}

int SqlitePreferences::File::saveOne(const std::string& key, const Values& values, Log& log) {
  const auto found = values.find(key);
  const auto row = found == values.end() ? std::nullopt : toStored(found->second);
  if (found != values.end() && !row) {
    log.notice("Preferences: \"" + key + "\" nests too deep to be saved");
    return SQLITE_OK;
  }
  const Statement& statement = row ? put_ : remove_;
  int result = Bind{statement.get(), 1}(std::string_view(key));
  if (row && result == SQLITE_OK) result = Bind{statement.get(), 2}(row->kind);
  if (row && result == SQLITE_OK) result = std::visit(Bind{statement.get(), 3}, row->content);
  return result == SQLITE_OK ? step(statement) : noted(result);
}

int SqlitePreferences::File::save(const std::set<std::string>& keys, const Values& values,
                                  Log& log) {
  int result = step(begin_);
  if (result != SQLITE_OK) return result;
  for (const auto& key : keys)
    if (result == SQLITE_OK) result = saveOne(key, values, log);
  if (result == SQLITE_OK) result = step(commit_);
  if (result != SQLITE_OK && !sqlite3_get_autocommit(db_)) {
    const std::string reason = reason_;
    step(rollback_);
    reason_ = reason;
  }
  return result;
}

namespace {

// The file itself is at fault, rather than the disk, the memory or another process.
bool isDamage(int result) {
  switch (result & 0xff) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_READONLY:
    case SQLITE_ERROR:  // such as a schema that can't be parsed
      return true;
    default:
      return false;
  }
}

std::string utcStamp() {
  const time_t now = std::time(nullptr);
  tm parts;
  gmtime_r(&now, &parts);
  std::array<char, 32> text;
  return std::string(text.data(),
                     std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ", &parts));
}

bool moveUnlessTaken(const std::string& from, const std::string& to) {
  return renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0;
}

// The new name, which no earlier file had; nothing when the file can't be moved.
std::optional<std::string> setAside(const std::string& path) {
  const std::string base = path + ".damaged-" + utcStamp();
  std::string name = base;
  for (int n = 2; !moveUnlessTaken(path, name); ++n) {
    if (errno != EEXIST) return std::nullopt;
    name = base + "-" + std::to_string(n);
  }
  for (const char* companion : {"-wal", "-shm"})
    moveUnlessTaken(path + companion, name + companion);
  return name;
}

std::string fileAddress(const std::string& path, const char* query) {
  std::string out = "file:";
  for (const char c : path) {
    std::array<char, 4> escape;
    std::snprintf(escape.data(), escape.size(), "%%%02x", static_cast<unsigned char>(c));
    const bool plain = c != '%' && c != '?' && c != '#';
    out += plain ? std::string(1, c) : std::string(escape.data());
  }
  return out + query;
}

}  // namespace

SqlitePreferences::SqlitePreferences(Log& log) : log_(log) {}
SqlitePreferences::~SqlitePreferences() = default;

std::unique_ptr<SqlitePreferences> SqlitePreferences::open(const std::string& path, Log& log) {
  std::string trouble;
  for (int attempt = 0; attempt < 2; ++attempt) {
    std::unique_ptr<SqlitePreferences> store(new SqlitePreferences(log));
    auto file = std::make_unique<File>();
    int result = file->openForWriting(path);
    if (result == SQLITE_OK) result = file->load(store->values_, log);
    if (result == SQLITE_OK) {
      store->file_ = std::move(file);
      chmod(path.c_str(), 0600);
      return store;
    }
    trouble = file->reason();
    file.reset();
    const auto aside = isDamage(result) ? setAside(path) : std::nullopt;
    if (!aside) break;
    log.notice("Preferences: " + path + " can't be used (" + trouble + "); it is kept as " +
               *aside + " and a fresh store begins");
  }
  log.notice("Preferences: " + path + " can't be used (" + trouble +
             "); changes will be lost when the program ends");
  return readOnly(path, log);
}

// A file on a read-only disk can't get the companions that a shared reading needs; then what is in
// the file itself has to do.
std::unique_ptr<SqlitePreferences> SqlitePreferences::readOnly(const std::string& path, Log& log,
                                                               std::chrono::milliseconds patience) {
  std::unique_ptr<SqlitePreferences> store(new SqlitePreferences(log));
  if (access(path.c_str(), F_OK) != 0) return store;
  std::string trouble;
  for (const char* query : {"?mode=ro", "?mode=ro&immutable=1"}) {
    Values values;
    File file;
    int result = file.openForReading(fileAddress(path, query), patience);
    if (result == SQLITE_OK) result = file.load(values, log);
    trouble = file.reason();
    if (result != SQLITE_OK) continue;
    store->values_ = std::move(values);
    return store;
  }
  log.notice("Preferences: " + path + " can't be read: " + trouble);
  return store;
}

std::optional<PreferenceValue> SqlitePreferences::read(std::string_view key) const {
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

void SqlitePreferences::write(const Changes& changes) {
  bool isChanged = false;
  for (const auto& [key, value] : changes) {
    const auto it = values_.find(key);
    if (value ? it != values_.end() && it->second == *value : it == values_.end()) continue;
    isChanged = true;
    if (value)
      values_.insert_or_assign(key, *value);
    else
      values_.erase(it);
    if (file_) unsaved_.insert(key);
  }
  if (!isChanged || unsaved_.empty()) return;
  if (file_->save(unsaved_, values_, log_) == SQLITE_OK)
    unsaved_.clear();
  else
    log_.notice("Preferences: a change can't be saved yet: " + file_->reason());
}

}  // namespace velmora
