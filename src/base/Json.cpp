#include "base/Json.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace velmora::json {
namespace {

constexpr size_t kDeepest = 128;

// Builds a Value while the library reads, so that depth is bounded before anything recurses.
class Builder final : public nlohmann::json_sax<nlohmann::json> {
 public:
  bool null() override { return put(Value()); }
  bool boolean(bool v) override { return put(Value(v)); }
  bool number_integer(number_integer_t v) override { return put(Value(int64_t{v})); }
  bool number_unsigned(number_unsigned_t v) override {
    return put(std::in_range<int64_t>(v) ? Value(static_cast<int64_t>(v))
                                         : Value(static_cast<double>(v)));
  }
  bool number_float(number_float_t v, const string_t&) override { return put(Value(v)); }
  bool string(string_t& v) override { return put(Value(std::move(v))); }
  bool binary(binary_t&) override { return false; }
  bool start_object(size_t) override { return open(false); }
  bool start_array(size_t) override { return open(true); }
  bool key(string_t& v) override {
    levels_.back().key = std::move(v);
    return true;
  }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }
  bool parse_error(size_t, const std::string&, const nlohmann::json::exception&) override {
    return false;
  }

  Value take() { return std::move(root_); }
  bool tooDeep() const { return tooDeep_; }

 private:
  struct Level {
    bool isArray;
    std::string key;
    Value::Array items;
    Value::Object members;
  };
  bool open(bool isArray) {
    tooDeep_ = levels_.size() >= kDeepest;
    if (!tooDeep_) levels_.push_back({isArray, {}, {}, {}});
    return !tooDeep_;
  }
  bool close() {
    Level level = std::move(levels_.back());
    levels_.pop_back();
    return put(level.isArray ? Value(std::move(level.items)) : Value(std::move(level.members)));
  }
  bool put(Value value) {
    if (levels_.empty())
      root_ = std::move(value);
    else if (levels_.back().isArray)
      levels_.back().items.push_back(std::move(value));
    else
      levels_.back().members.emplace_back(std::move(levels_.back().key), std::move(value));
    return true;
  }

  std::vector<Level> levels_;
  Value root_;
  bool tooDeep_ = false;
};

}  // namespace

std::optional<int64_t> Value::asInteger() const {
  if (const auto* i = std::get_if<int64_t>(&data_)) return *i;
  if (const auto* d = std::get_if<double>(&data_))
    if (std::trunc(*d) == *d && std::abs(*d) < 9.2e18) return static_cast<int64_t>(*d);
  return std::nullopt;
}

std::optional<double> Value::asNumber() const {
  if (const auto* i = std::get_if<int64_t>(&data_)) return static_cast<double>(*i);
  if (const auto* d = std::get_if<double>(&data_)) return *d;
  return std::nullopt;
}

const Value* Value::find(std::string_view key) const {
  const auto* members = asObject();
  if (!members) return nullptr;
  for (auto it = members->rbegin(); it != members->rend(); ++it)
    if (it->first == key) return &it->second;
  return nullptr;
}

Result<Value> parse(std::string_view text) {
  Builder builder;
  if (!nlohmann::json::sax_parse(text.begin(), text.end(), &builder))
    return std::unexpected(Error{"", builder.tooDeep() ? "nested too deeply" : "not JSON"});
  return builder.take();
}

std::string dump(const Value& value) {
  using Out = nlohmann::ordered_json;
  const auto convert = [](const auto& self, const Value& v) -> Out {
    if (const auto* b = v.asBool()) return *b;
    if (const auto* i = std::get_if<int64_t>(&v.data_)) return *i;
    if (const auto* d = std::get_if<double>(&v.data_)) return *d;
    if (const auto* s = v.asString()) return *s;
    if (const auto* items = v.asArray()) {
      Out out = Out::array();
      for (const auto& item : *items) out.push_back(self(self, item));
      return out;
    }
    if (const auto* members = v.asObject()) {
      Out out = Out::object();
      for (const auto& [key, member] : *members) out[key] = self(self, member);
      return out;
    }
    return nullptr;
  };
  return convert(convert, value).dump(-1, ' ', false, Out::error_handler_t::replace);
}

Error wrong(const char* expected) { return {"", std::string("expected ") + expected}; }

Error under(std::string_view prefix, Error error) {
  const bool joins = error.path.empty() || error.path.front() == '[';
  error.path = std::string(prefix) + (joins ? "" : ".") + error.path;
  return error;
}

Error inside(size_t index, Error error) {
  return under("[" + std::to_string(index) + "]", std::move(error));
}

Result<bool> Codec<bool>::decode(const Value& v) {
  if (const auto* b = v.asBool()) return *b;
  return std::unexpected(wrong("boolean"));
}
Result<int64_t> Codec<int64_t>::decode(const Value& v) {
  if (const auto i = v.asInteger()) return *i;
  return std::unexpected(wrong("integer"));
}
Result<int> Codec<int>::decode(const Value& v) {
  if (const auto i = v.asInteger(); i && std::in_range<int>(*i)) return static_cast<int>(*i);
  return std::unexpected(wrong("integer"));
}
Result<double> Codec<double>::decode(const Value& v) {
  if (const auto n = v.asNumber()) return *n;
  return std::unexpected(wrong("number"));
}
Result<std::string> Codec<std::string>::decode(const Value& v) {
  if (const auto* s = v.asString()) return *s;
  return std::unexpected(wrong("text"));
}
Result<Date> Codec<Date>::decode(const Value& v) {
  if (const auto n = v.asNumber()) return Date(*n);
  return std::unexpected(wrong("date"));
}
Result<Uuid> Codec<Uuid>::decode(const Value& v) {
  if (const auto* s = v.asString())
    if (const auto id = Uuid::parse(*s)) return *id;
  return std::unexpected(wrong("UUID"));
}

Value Codec<bool>::encode(const bool& v) { return v; }
Value Codec<int64_t>::encode(const int64_t& v) { return v; }
Value Codec<int>::encode(const int& v) { return v; }
Value Codec<double>::encode(const double& v) { return v; }
Value Codec<std::string>::encode(const std::string& v) { return v; }
Value Codec<Date>::encode(const Date& v) { return v.secondsSinceReference(); }
Value Codec<Uuid>::encode(const Uuid& v) { return v.text(); }

}  // namespace velmora::json
