#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Json.h"

namespace velmora {

struct BlockedApp {
  Uuid id;
  std::string name;
  std::string bundleID;  // canonical application identity
  bool isBlocked = true;
  std::optional<std::vector<uint8_t>> iconData;  // lives in memory only

  bool operator==(const BlockedApp&) const = default;
};

template <>
struct json::Fields<BlockedApp> {
  static constexpr std::tuple all{json::required("id", &BlockedApp::id),
                                  json::required("name", &BlockedApp::name),
                                  json::required("bundleID", &BlockedApp::bundleID),
                                  json::required("isBlocked", &BlockedApp::isBlocked)};
};

}  // namespace velmora
