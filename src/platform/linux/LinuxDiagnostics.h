#pragma once

#include <string>
#include <vector>

#include "platform/linux/LinuxAppCatalog.h"
#include "ports/BrowserLinks.h"
#include "ports/Desktop.h"
#include "ports/Diagnostics.h"

namespace velmora {

// Examines the desktop that the program runs on. Main thread only.
class LinuxDiagnostics final : public Diagnostics {
 public:
  // All outlive this object; `host` is the native messaging host's path.
  LinuxDiagnostics(const LinuxAppCatalog& catalog, Desktop& desktop, const BrowserLinks& links,
                   std::string host);
  std::vector<Finding> examine() override;

 private:
  Finding windows();
  static Finding applications(Finding::Grade windows);
  std::vector<Finding> browsers();
  Finding players();

  const LinuxAppCatalog& catalog_;
  Desktop& desktop_;
  const BrowserLinks& links_;
  std::string host_;
};

}  // namespace velmora
