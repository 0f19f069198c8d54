#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velmora {

class Processes {
 public:
  struct Outcome {
    int status = 0;      // exit code, or 128 plus the signal
    std::string output;  // standard output, whole
  };
  virtual ~Processes() = default;
  // Runs a program to its end with standard error thrown away. Blocks the calling thread. Nothing
  // when it can't be started.
  virtual std::optional<Outcome> run(const std::vector<std::string>& arguments) = 0;
};

}  // namespace velmora
