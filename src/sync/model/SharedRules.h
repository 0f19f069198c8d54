#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Uuid.h"

namespace velmora {

// A list of things to block that all devices of a user share.
struct SharedBlocklist {
  struct MacApp {
    std::string name;
    std::string bundleID;
    bool operator==(const MacApp&) const = default;
  };

  Uuid id;
  std::string name;
  std::string symbol = "square.stack.3d.up";
  std::vector<std::string> sites;
  std::vector<std::string> services;  // FocusService identifiers
  std::vector<MacApp> macApps;

  // The same on every device, so that the main list of two devices is one list.
  static Uuid mainID();
  static SharedBlocklist main();
  bool isMain() const { return id == mainID(); }
  bool operator==(const SharedBlocklist&) const = default;
};

struct SharedRules {
  std::vector<SharedBlocklist> blocklists{SharedBlocklist::main()};

  // The first list with that id; the main list when the id is empty or unknown.
  SharedBlocklist blocklist(const std::optional<Uuid>& id) const;
  bool operator==(const SharedRules&) const = default;
};

}  // namespace velmora
