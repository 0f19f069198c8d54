#pragma once

#include <string>
#include <vector>

namespace velmora {

// What works on this desktop and what does not.
struct Finding {
  enum class Grade { works, limited, missing };
  Grade grade = Grade::works;
  std::string topic;
  std::string text;
  std::string advice;  // the one thing to do about it; empty when there is nothing to do
  bool operator==(const Finding&) const = default;
};

class Diagnostics {
 public:
  virtual ~Diagnostics() = default;
  // Looks anew. May take some tens of milliseconds.
  virtual std::vector<Finding> examine() = 0;
};

}  // namespace velmora
