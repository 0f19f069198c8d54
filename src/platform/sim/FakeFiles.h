#pragma once

#include <map>
#include <string>

#include "ports/Files.h"

namespace velmora::sim {

// A disk in memory, on which folders need not be made.
class FakeFiles final : public Files {
 public:
  bool exists(const std::string& path) const override { return texts.contains(path); }
  std::optional<std::string> readText(const std::string& path) const override {
    const auto it = texts.find(path);
    if (it == texts.end()) return {};
    return it->second;
  }
  bool writeTextAtomically(const std::string& path, const std::string& text) override {
    if (isReadOnly) return false;
    texts[path] = text;
    return true;
  }
  std::map<std::string, std::string> texts;
  bool isReadOnly = false;
};

}  // namespace velmora::sim
