#pragma once

#include "ports/Files.h"

namespace velmora {

class SystemFiles final : public Files {
 public:
  bool exists(const std::string& path) const override;
  std::optional<std::string> readText(const std::string& path) const override;
  bool writeTextAtomically(const std::string& path, const std::string& text) override;
};

}  // namespace velmora
