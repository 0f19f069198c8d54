#pragma once

#include <string>
#include <vector>

#include "platform/sim/World.h"
#include "ports/BrowserControl.h"
#include "ports/Desktop.h"

namespace velmora::sim {

// A desktop with windows, some of them browsers' with a shown tab. It answers both as what the
// display server knows and as what the browsers know, like the real two.
class FakeScreen final : public Desktop, public BrowserControl {
 public:
  struct Window {
    std::string id;  // the browser's own
    std::string bundleID;
    int32_t pid = 0;
    Rect frame;
    int layer = kNormalLayer;
    double alpha = 1.0;
    bool isMinimised = false;
    std::string address;  // of the shown tab; of no meaning for other applications
  };

  explicit FakeScreen(RunLoop& loop) : loop_(loop) {}

  // Front to back. open() puts a window in front of the others and makes its application the
  // frontmost one; processes are one for each application.
  std::vector<Window> windows;
  Window& open(const std::string& bundleID, const std::string& address = "",
               Rect frame = {0, 0, 800, 600});
  Window& window(const std::string& id);
  // The user opens another page in the window; the browser tells at once.
  void navigate(const std::string& id, const std::string& address);
  void raise(const std::string& id);

  std::vector<Rect> displays{{0, 0, 1920, 1080}};
  std::optional<Point> pointer;
  bool isWindowListAvailable = true;
  std::set<std::string> muteBrowsers;  // answer nothing, after three seconds
  Seconds latency{0.005};

  int snapshots = 0;
  std::vector<std::vector<std::string>> reads;  // the identities of each read
  struct Sent {
    std::string windowID;
    std::string address;
    bool operator==(const Sent&) const = default;
  };
  std::vector<Sent> sent;
  std::vector<InstantRules> instantRules;  // each that was set; the last one holds

  DesktopSnapshot snapshot(Wants wants) override;
  void read(const ReadRequest& request, std::function<void(TabReport)> done) override;
  void send(const Browser& browser, const WindowTab& tab, const std::string& address) override;
  void watch(std::set<std::string> bundleIDs,
             std::function<void(const std::string&)> onChange) override;
  void unwatch() override;
  void setInstantRules(const InstantRules& rules) override { instantRules.push_back(rules); }
  bool isWatched() const { return onChange_ != nullptr; }
  void tell(const std::string& bundleID);

 private:
  int32_t pidOf(const std::string& bundleID) const;

  RunLoop& loop_;
  int nextWindow_ = 1;
  std::set<std::string> watched_;
  std::function<void(const std::string&)> onChange_;
  std::vector<Subscription> answers_;
};

}  // namespace velmora::sim
