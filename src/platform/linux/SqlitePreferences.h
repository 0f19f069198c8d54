#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "ports/Log.h"
#include "ports/Preferences.h"

namespace velmora {

// The store in one SQLite file, of which one process at a time is the writer. All values are in
// memory, so that reading never touches the disk. Every double comes back bit for bit. A row that
// can't be understood stays in the file until its key is written, but has no value.
class SqlitePreferences : public Preferences {
 public:
  // Never refuses. A file that is damaged or can't be used is renamed to
  // <path>.damaged-<UTC time>, together with its -wal and -shm, and a fresh store begins. Where
  // that can't be done either, or another process keeps the file locked, the store begins with what
  // can be read and lives in memory. Each of these is logged.
  static std::unique_ptr<SqlitePreferences> open(const std::string& path, Log& log);
  // The values as they are now, while another process may go on writing; empty when there is no
  // readable file. Writes change this object only. Where the other one is in the way for longer
  // than `patience`, what is in the file itself has to do.
  static std::unique_ptr<SqlitePreferences> readOnly(
      const std::string& path, Log& log,
      std::chrono::milliseconds patience = std::chrono::milliseconds(500));

  ~SqlitePreferences() override;
  SqlitePreferences(const SqlitePreferences&) = delete;
  SqlitePreferences& operator=(const SqlitePreferences&) = delete;

  std::optional<PreferenceValue> read(std::string_view key) const override;
  // A write that fails is tried again, as a part of the next one.
  void write(const Changes& changes) override;
  std::map<std::string, PreferenceValue> all() const override {
    return {values_.begin(), values_.end()};
  }
  // Whether there is a file behind the values.
  bool isDurable() const { return file_ != nullptr; }

 private:
  class File;
  explicit SqlitePreferences(Log& log);

  Log& log_;
  std::unique_ptr<File> file_;
  std::map<std::string, PreferenceValue, std::less<>> values_;
  std::set<std::string> unsaved_;
};

}  // namespace velmora
