#pragma once

#include "platform/linux/DesktopEntries.h"
#include "ports/AppCatalog.h"
#include "ports/InstalledApplications.h"

namespace velmora {

// The applications of which a desktop file tells, with names in the user's language. Those that a
// menu would not show, and those that need a terminal, are left out.
class InstalledDesktopFiles final : public InstalledApplications {
 public:
  // Both must outlive this object.
  InstalledDesktopFiles(const AppCatalog& catalog, const DesktopEntries& entries)
      : catalog_(catalog), entries_(entries) {}

  std::vector<InstalledApp> scan() const override;

 private:
  const AppCatalog& catalog_;
  const DesktopEntries& entries_;
};

}  // namespace velmora
