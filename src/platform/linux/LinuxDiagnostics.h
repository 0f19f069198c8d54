#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/linux/LinuxAppCatalog.h"
#include "ports/BrowserLinks.h"
#include "ports/Desktop.h"
#include "ports/Diagnostics.h"
#include "platform/linux/DesktopStatusItem.h"

namespace velmora {

// Examines the desktop that the program runs on. Main thread only.
class LinuxDiagnostics final : public Diagnostics {
 public:
  // What is examined, beside the system itself. All outlive this object.
  struct Subjects {
    const LinuxAppCatalog& catalog;
    Desktop& desktop;
    const BrowserLinks& links;
    const DesktopStatusItem& statusItem;
    std::string host;         // the native messaging host's path
    std::string userManager;  // the private socket of the systemd user manager
  };
  explicit LinuxDiagnostics(Subjects subjects) : subjects_(std::move(subjects)) {}
  std::vector<Finding> examine() override;

 private:
  Finding windows();
  static Finding applications(Finding::Grade windows);
  std::vector<Finding> browsers();
  Finding statusItem() const;
  Finding guardian() const;
  static Finding ownersProof();
  static Finding players();

  const Subjects subjects_;
};

}  // namespace velmora
