#pragma once

#include <string>
#include <vector>

namespace velmora {

struct InstalledApp {
  std::string name;      // as shown to the user
  std::string bundleID;  // canonical application identity
  std::string url;       // of what describes it on disk; empty for one that was only seen running
  std::string icon;      // path of an image file; empty when it has none
  bool operator==(const InstalledApp&) const = default;
};

// The applications installed on this computer. Callable from any thread.
class InstalledApplications {
 public:
  virtual ~InstalledApplications() = default;
  // Reads the disk, which may take a second. In the order of the roots in which they were found:
  // of two with one identity the first is the user's choice. Those that are no program for a person
  // are left out.
  virtual std::vector<InstalledApp> scan() const = 0;
};

}  // namespace velmora
