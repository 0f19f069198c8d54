#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/LateRef.h"
#include "base/Property.h"
#include "blocking/BlockPageServer.h"
#include "filter/model/NativeBlockerStatus.h"
#include "ports/Files.h"

namespace velmora {

// The door for whatever concerns sites on the whole system. Sessions never touch the network setup:
// this keeps the wall up, tells which domains a session blocks, and makes the helper of earlier
// versions stand down. What blocks is the engine. Main lane only.
class WebsiteBlockerService {
 public:
  // The system's own filter.
  class NativeControl {
   public:
    virtual ~NativeControl() = default;
    virtual void refreshStatus() = 0;
  };
  struct Neighbours {
    LateRef<NativeControl> native;
  };

  // Where earlier versions kept their helper and what it read and wrote. Nothing makes these files
  // any more.
  static constexpr std::string_view dnsScript = "/tmp/vm_dns.py";
  static constexpr std::string_view setupScript = "/tmp/vm_setup.sh";
  static constexpr std::string_view tearScript = "/tmp/vm_teardown.sh";
  static constexpr std::string_view hostsTemp = "/tmp/vm_hosts.txt";
  static constexpr std::string_view dnsPid = "/tmp/vm_dns.pid";
  static constexpr std::string_view helperDir = "/Library/Application Support/Velmora";
  static constexpr std::string_view helperPy = "/Library/Application Support/Velmora/helper.py";
  static constexpr std::string_view helperPlist =
      "/Library/LaunchDaemons/com.velmora.helper.plist";
  static constexpr std::string_view triggerFile = "/tmp/vm_trigger";

  WebsiteBlockerService(BlockPageServer& server, Files& files, const Neighbours& neighbours);

  // Domains may be in any spelling; those that give none are dropped. `sessionType` is the phase,
  // in lower case.
  void startBlocking(const std::vector<std::string>& domains, const std::string& sessionType);
  void serveBlockPageOnly();
  // Before `completion` is called, which happens before this returns, a helper that is still
  // installed was told to clear its rules, as far as that can be done.
  void disableBlocking(const std::function<void()>& completion = {});

  Owned<NativeBlockerStatus, WebsiteBlockerService> status;
  // Tells observers of the status, changed or not, after the system's filter was asked for news.
  void refreshStatus();

  // There is nothing to install any more: both succeed at once.
  void installHelper(const std::function<void(std::optional<std::string> error)>& completion);
  void uninstallHelper(const std::function<void()>& completion);
  bool isHelperInstalled() const;
  bool isHelperCurrent() const;

 private:
  BlockPageServer& server_;
  Files& files_;
  const Neighbours& neighbours_;
};

}  // namespace velmora
