#pragma once

#include <functional>
#include <set>

#include "base/LateRef.h"
#include "base/Property.h"
#include "core/model/BrakModule.h"
#include "ports/Preferences.h"

namespace velmora {

// Which modules are on. Main lane; saves on change.
class ModuleStore {
 public:
  using Modules = std::set<BrakModule>;
  static constexpr const char* key = "vm_enabledModules";

  // The commitment that can't be undone from here.
  class Commitment {
   public:
    virtual ~Commitment() = default;
    virtual bool isProtectionActive() const = 0;
    virtual bool isTemporaryProtectionActive() const = 0;
    virtual void disableTemporaryProtection() = 0;
    // Tells of every change of the answers above, after it.
    virtual Subscription onChange(std::function<void()> changed) const = 0;
  };

  ModuleStore(Preferences& preferences, const LateRef<Commitment>& commitment);

  Owned<Modules, ModuleStore> enabledModules;
  bool isLoading() const { return isLoading_; }
  bool isEnabled(const BrakModule& module) const { return enabledModules.get().contains(module); }
  void set(const BrakModule& module, bool enabled);
  void toggle(const BrakModule& module) { set(module, !isEnabled(module)); }
  // A tab of a module group shows only while a module of it is on.
  bool isTabShown(AppTab tab) const;

 private:
  Modules defaultEnabledModules() const;
  void save();

  Preferences& preferences_;
  const LateRef<Commitment>& commitment_;
  bool isLoading_ = true;
};

}  // namespace velmora
