#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "base/Date.h"
#include "base/Uuid.h"

// JSON documents as plain data, and records that decode and encode by a table of fields:
//
//   template <> struct json::Fields<Rule> { static constexpr std::tuple all{
//       json::required("host", &Rule::host),        // absent or null is an error
//       json::defaulted("enabled", &Rule::enabled), // absent or null keeps the member's initialiser
//       json::optional("expires", &Rule::expires)}; };  // std::optional, left out when empty
//
// Decided here once: a whole double counts as an integer; null is absence for a defaulted or
// optional field; unknown members are ignored and of doubled members the last one counts; dates are
// seconds since 2001-01-01 UTC and keep their exact value, as all doubles do; UUIDs are upper case.
// The first error in table order is the one reported.
namespace velmora::json {

class Value {
 public:
  using Array = std::vector<Value>;
  using Member = std::pair<std::string, Value>;
  using Object = std::vector<Member>;  // in the order of writing

  Value() = default;
  Value(bool v) : data_(v) {}
  Value(int v) : data_(int64_t{v}) {}
  Value(int64_t v) : data_(v) {}
  Value(double v) : data_(v) {}
  Value(const char* v) : data_(std::string(v)) {}
  Value(std::string_view v) : data_(std::string(v)) {}
  Value(std::string v) : data_(std::move(v)) {}
  Value(Array v) : data_(std::move(v)) {}
  Value(Object v) : data_(std::move(v)) {}

  bool isNull() const { return std::holds_alternative<std::monostate>(data_); }
  const bool* asBool() const { return std::get_if<bool>(&data_); }
  // A whole double within 64 bits counts.
  std::optional<int64_t> asInteger() const;
  std::optional<double> asNumber() const;
  const std::string* asString() const { return std::get_if<std::string>(&data_); }
  const Array* asArray() const { return std::get_if<Array>(&data_); }
  const Object* asObject() const { return std::get_if<Object>(&data_); }
  // Null unless this is an object that holds the key.
  const Value* find(std::string_view key) const;
  bool operator==(const Value&) const = default;

 private:
  friend std::string dump(const Value&);
  std::variant<std::monostate, bool, int64_t, double, std::string, Array, Object> data_;
};

struct Error {
  std::string path;  // e.g. "windows[1].end"; empty for the document itself
  std::string problem;
  bool operator==(const Error&) const = default;
};
template <class T>
using Result = std::expected<T, Error>;

// Fails on text that is no JSON, is not UTF-8, or nests deeper than 128 levels.
Result<Value> parse(std::string_view text);
// Compact. Text that is not UTF-8 has its bad bytes replaced.
std::string dump(const Value& value);

Error wrong(const char* expected);
Error under(std::string_view prefix, Error error);
Error inside(size_t index, Error error);

template <class T>
struct Fields;
template <class E>
struct EnumTexts;  // static constexpr std::array of std::pair<E, std::string_view> all

enum class Presence { required, defaulted, optional };
template <class R, class T>
struct Field {
  const char* key;
  T R::*member;
  Presence presence;
};
template <class R, class T>
constexpr auto required(const char* key, T R::*member) {
  return Field<R, T>{key, member, Presence::required};
}
template <class R, class T>
constexpr auto defaulted(const char* key, T R::*member) {
  return Field<R, T>{key, member, Presence::defaulted};
}
template <class R, class T>
constexpr auto optional(const char* key, std::optional<T> R::*member) {
  return Field<R, std::optional<T>>{key, member, Presence::optional};
}

template <class T>
struct Codec;  // decode(const Value&) -> Result<T>, encode(const T&) -> Value

template <class T>
Result<T> decode(const Value& value) {
  return Codec<T>::decode(value);
}
template <class T>
Value encode(const T& value) {
  return Codec<T>::encode(value);
}
template <class T>
Result<T> decodeText(std::string_view text) {
  auto value = parse(text);
  if (!value) return std::unexpected(std::move(value.error()));
  return decode<T>(*value);
}
template <class T>
std::string encodeText(const T& value) {
  return dump(encode(value));
}

#define VELMORA_JSON_SCALAR(Type)               \
  template <>                                   \
  struct Codec<Type> {                          \
    static Result<Type> decode(const Value&);   \
    static Value encode(const Type&);           \
  }
VELMORA_JSON_SCALAR(bool);
VELMORA_JSON_SCALAR(int);
VELMORA_JSON_SCALAR(int64_t);
VELMORA_JSON_SCALAR(double);
VELMORA_JSON_SCALAR(std::string);
VELMORA_JSON_SCALAR(Date);
VELMORA_JSON_SCALAR(Uuid);
#undef VELMORA_JSON_SCALAR

template <class T>
struct Codec<std::vector<T>> {
  static Result<std::vector<T>> decode(const Value& value) {
    const auto* items = value.asArray();
    if (!items) return std::unexpected(wrong("array"));
    std::vector<T> out;
    out.reserve(items->size());
    for (size_t i = 0; i < items->size(); ++i) {
      auto item = json::decode<T>((*items)[i]);
      if (!item) return std::unexpected(inside(i, std::move(item.error())));
      out.push_back(std::move(*item));
    }
    return out;
  }
  static Value encode(const std::vector<T>& items) {
    Value::Array out;
    out.reserve(items.size());
    for (const auto& item : items) out.push_back(json::encode<T>(item));
    return out;
  }
};

template <class E>
  requires requires { EnumTexts<E>::all; }
struct Codec<E> {
  static Result<E> decode(const Value& value) {
    if (const auto* text = value.asString())
      for (const auto& [e, name] : EnumTexts<E>::all)
        if (*text == name) return e;
    return std::unexpected(wrong("one of the known names"));
  }
  static Value encode(const E& value) {
    for (const auto& [e, name] : EnumTexts<E>::all)
      if (e == value) return Value(name);
    return Value();
  }
};

template <class T>
  requires requires { Fields<T>::all; }
struct Codec<T> {
  static Result<T> decode(const Value& value) {
    if (!value.asObject()) return std::unexpected(wrong("object"));
    T out;
    std::optional<Error> error;
    std::apply([&](const auto&... field) { (decodeField(field, value, out, error) && ...); },
               Fields<T>::all);
    if (error) return std::unexpected(std::move(*error));
    return out;
  }
  static Value encode(const T& record) {
    Value::Object out;
    std::apply([&](const auto&... field) { (encodeField(field, record, out), ...); },
               Fields<T>::all);
    return out;
  }

 private:
  template <class M>
  struct Plain {
    using type = M;
    static constexpr bool isOptional = false;
  };
  template <class M>
  struct Plain<std::optional<M>> {
    using type = M;
    static constexpr bool isOptional = true;
  };

  template <class M>
  static bool decodeField(const Field<T, M>& field, const Value& in, T& out,
                          std::optional<Error>& error) {
    const Value* value = in.find(field.key);
    if (!value || (value->isNull() && field.presence != Presence::required)) {
      if (field.presence == Presence::required) error = Error{field.key, "missing"};
      return !error;
    }
    auto member = json::decode<typename Plain<M>::type>(*value);
    if (member)
      out.*field.member = std::move(*member);
    else
      error = under(field.key, std::move(member.error()));
    return !error;
  }
  template <class M>
  static void encodeField(const Field<T, M>& field, const T& record, Value::Object& out) {
    const auto& member = record.*field.member;
    if constexpr (Plain<M>::isOptional) {
      if (member) out.emplace_back(field.key, json::encode(*member));
    } else {
      out.emplace_back(field.key, json::encode(member));
    }
  }
};

}  // namespace velmora::json
