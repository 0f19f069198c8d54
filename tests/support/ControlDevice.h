#pragma once

#include "control/CommandTable.h"
#include "control/ControlServer.h"
#include "control/StateDocument.h"
#include "support/SimDevice.h"

namespace velmora::sim {

class FakeLinks final : public BrowserLinks {
 public:
  std::vector<LinkedBrowser> linked() const override { return browsers; }
  const Property<uint64_t>& linkedRevision() const override { return revision; }
  std::vector<LinkedBrowser> browsers;
  Property<uint64_t> revision{0};
};

class FakeDiagnostics final : public Diagnostics {
 public:
  std::vector<Finding> examine() override { return {}; }
};

// A simulated desktop whose application can be told what to do.
struct ControlDevice : SimDevice {
  explicit ControlDevice(World& w) : SimDevice(w) {
    server.start();
    start();
  }
  CommandResult tell(std::string_view name, const std::vector<std::string>& arguments = {}) {
    return commands.run(name, arguments);
  }
  int status(std::string_view name, const std::vector<std::string>& arguments = {}) {
    return tell(name, arguments).status;
  }

  FakeLinks links;
  FakeDiagnostics diagnostics;
  bool hasQuit = false;
  StateDocument state{*app, catalog, links, "0.0"};
  CommandTable commands{
      {*app, catalog, preferences, state, diagnostics, authentication, [this] { hasQuit = true; },
       [](const auto&) { return CommandResult::refused("none"); }}};
  ControlServer server{listeners, *loop, log, commands, state};
};

}  // namespace velmora::sim
