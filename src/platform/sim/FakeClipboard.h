#pragma once

#include <string>
#include <utility>

#include "ports/Clipboard.h"

namespace velmora::sim {

// One desktop's clipboard. Another program's copy is one more write().
class FakeClipboard final : public Clipboard {
 public:
  void write(std::string_view type, std::string data) override {
    type_ = type;
    data_ = std::move(data);
  }
  std::optional<std::string> read(std::string_view type) override {
    if (type != type_ || data_.size() > kLongest) return {};
    return data_;
  }

 private:
  std::string type_;
  std::string data_;
};

}  // namespace velmora::sim
