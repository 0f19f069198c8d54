#pragma once

#include <string>
#include <vector>

namespace velmora {

// A service that a shared list can name as a whole: its domains and its applications.
struct FocusService {
  std::string id;
  std::string name;
  std::vector<std::string> domains;
  std::vector<std::string> iPhoneApps;
  std::vector<std::string> macApps;

  static std::vector<FocusService> all();
  // In the order of the ids given; one that this version does not know is dropped.
  static std::vector<FocusService> named(const std::vector<std::string>& ids);
};

}  // namespace velmora
