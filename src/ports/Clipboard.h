#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// The desktop's clipboard, for what is neither text nor picture. Main lane. Without a desktop it is
// this program's own.
class Clipboard {
 public:
  static constexpr size_t kLongest = size_t{1} << 20;  // bytes that are taken from others

  virtual ~Clipboard() = default;
  // Replaces what it holds. The data go with the program, and when anybody else copies something.
  virtual void write(std::string_view type, std::string data) = 0;
  // What it holds of that type, whoever put it there. Nothing when there is none, or when its owner
  // says more than kLongest, or does not answer within half a second, for which this waits.
  virtual std::optional<std::string> read(std::string_view type) = 0;
};

}  // namespace velmora
