#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace velmora {

// A value of the preferences store. The scalar types stay apart: 1, 1.0 and true are three values.
struct PreferenceValue {
  using Bytes = std::vector<uint8_t>;
  using TextList = std::vector<std::string>;
  using Dictionary = std::map<std::string, PreferenceValue>;

  PreferenceValue(bool v) : data(v) {}
  PreferenceValue(int v) : data(int64_t{v}) {}
  PreferenceValue(int64_t v) : data(v) {}
  PreferenceValue(double v) : data(v) {}
  PreferenceValue(const char* v) : data(std::string(v)) {}
  PreferenceValue(std::string v) : data(std::move(v)) {}
  PreferenceValue(Bytes v) : data(std::move(v)) {}
  PreferenceValue(TextList v) : data(std::move(v)) {}
  PreferenceValue(Dictionary v) : data(std::move(v)) {}
  bool operator==(const PreferenceValue&) const = default;

  std::variant<bool, int64_t, double, std::string, Bytes, TextList, Dictionary> data;
};

// The per-user key and value store that holds all state of the program that is no secret. Main
// thread only. A write is durable when it returns, or its failure was logged and the value lives
// until the process ends; nothing here fails towards the caller.
class Preferences {
 public:
  // What one atomic write changes, in order; an empty value removes the key.
  using Changes = std::vector<std::pair<std::string, std::optional<PreferenceValue>>>;

  virtual ~Preferences() = default;
  virtual std::optional<PreferenceValue> read(std::string_view key) const = 0;
  // After a crash or a power cut the store holds all of the changes or none of them. Equal values
  // and removals of what is absent cost nothing.
  virtual void write(const Changes& changes) = 0;
  virtual std::map<std::string, PreferenceValue> all() const = 0;

  bool has(std::string_view key) const { return read(key).has_value(); }
  void set(std::string key, PreferenceValue value) { write({{std::move(key), std::move(value)}}); }
  void remove(std::string key) { write({{std::move(key), std::nullopt}}); }

  // Forgiving readers: an absent key or one of another type gives 0, false or nothing. Integers
  // and whole doubles serve for each other.
  int64_t integer(std::string_view key) const;
  double number(std::string_view key) const;
  bool boolean(std::string_view key) const;
  std::optional<std::string> text(std::string_view key) const;
  // The bytes of a record, as text.
  std::optional<std::string> blob(std::string_view key) const;
  void setBlob(std::string key, std::string_view json);
};

// The value that a record's JSON is stored as.
PreferenceValue blobValue(std::string_view json);

}  // namespace velmora
