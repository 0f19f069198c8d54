#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ports/Authentication.h"
#include "ports/LaunchAgent.h"
#include "ports/ScheduleAgent.h"
#include "ports/StatusItem.h"

namespace velmora::sim {

class FakeStatusItem final : public StatusItem {
 public:
  void setMenu(const std::vector<StatusMenuItem>& menu) override { shown = menu; }
  void onChoice(std::function<void(const std::string&)> chosen) override {
    chosen_ = std::move(chosen);
  }
  void choose(const std::string& action) { chosen_(action); }
  std::vector<StatusMenuItem> shown;

 private:
  std::function<void(const std::string&)> chosen_;
};

class FakeLaunchAgent final : public LaunchAgent {
 public:
  bool isInstalled() const override { return installed; }
  void install() override {
    told.emplace_back("install");
    installed = !isBroken;
  }
  void remove() override {
    told.emplace_back("remove");
    installed = false;
  }
  bool installed = false;
  bool isBroken = false;  // nothing can be installed
  std::vector<std::string> told;
};

class FakeScheduleAgent final : public ScheduleAgent {
 public:
  void install(const WatchTable& table) override { installed = table; }
  void remove() override { installed.reset(); }
  std::optional<WatchTable> installed;
};

// The question stays open until the owner answers.
class FakeAuthentication final : public Authentication {
 public:
  bool canAsk() override { return hasDialog; }
  void authenticate(const std::string& reason, std::function<void(bool)> completion) override {
    reasons.push_back(reason);
    open_ = std::move(completion);
  }
  void answer(bool yes) { std::exchange(open_, nullptr)(yes); }
  std::vector<std::string> reasons;
  bool hasDialog = true;

 private:
  std::function<void(bool)> open_;
};

}  // namespace velmora::sim
