#pragma once

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

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

// What the application of a simulated desktop is told through. Goes with that application.
struct Control {
  explicit Control(SimDevice& d) : device(d) {}
  CommandResult tell(std::string_view name, const std::vector<std::string>& arguments = {}) {
    return commands.run(name, arguments);
  }
  int status(std::string_view name, const std::vector<std::string>& arguments = {}) {
    return tell(name, arguments).status;
  }

  SimDevice& device;
  FakeLinks links;
  FakeDiagnostics diagnostics;
  bool hasQuit = false;
  StateDocument state{*device.app, device.catalog, links, "0.0"};
  CommandTable commands{{*device.app, device.catalog, device.preferences, state, diagnostics,
                         device.authentication, [this] { hasQuit = true; },
                         [](const auto&) { return CommandResult::refused("none"); }}};
  ControlServer server{device.listeners, *device.loop, device.log, commands, state};
};

// A simulated desktop whose application can be told what to do.
struct ControlDevice : SimDevice, Control {
  explicit ControlDevice(World& w) : SimDevice(w), Control(static_cast<SimDevice&>(*this)) {
    server.start();
    start();
  }
};

// A test that types commands.
struct ControlTest : testing::Test {
  // A command and its arguments, as typed.
  CommandResult tell(const std::string& line) {
    std::istringstream in(line);
    const std::vector<std::string> words{std::istream_iterator<std::string>(in), {}};
    return d.tell(words[0], {words.begin() + 1, words.end()});
  }
  int run(const std::string& line) { return tell(line).status; }

  World world;
  ControlDevice d{world};
};

}  // namespace velmora::sim
