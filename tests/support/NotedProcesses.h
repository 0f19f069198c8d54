#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ports/Processes.h"

namespace velmora {

// Takes note of what is run; the user manager obeys or does not.
struct NotedProcesses : Processes {
  std::optional<Outcome> run(const std::vector<std::string>& arguments) override {
    std::string line;
    for (const auto& word : arguments) line += (line.empty() ? "" : " ") + word;
    if (line.find("import-environment") == line.npos) lines.push_back(line);
    return Outcome{obeys ? 0 : 1, ""};
  }
  std::vector<std::string> take() { return std::exchange(lines, {}); }
  std::vector<std::string> lines;
  bool obeys = true;
};

}  // namespace velmora
