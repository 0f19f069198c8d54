#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Property.h"
#include "core/TimerService.h"
#include "core/model/FocusPreset.h"
#include "ports/Preferences.h"
#include "ports/Random.h"

namespace velmora {

// Owns the presets and the context of the running focus phase. Saves on every change. Main lane.
class FocusPresetStore final : public TimerService::FocusContext {
 public:
  FocusPresetStore(Preferences& preferences, Random& random);

  template <class T>
  using Value = Owned<T, FocusPresetStore>;
  Value<std::vector<FocusPreset>> presets;
  Value<std::optional<FocusTaskContext>> activeContext;

  bool hasActiveFocusContext() const override { return activeContext.get().has_value(); }
  // A blank task name gives the preset's name.
  void beginFocus(const FocusPreset& preset, std::string_view taskName);
  void clearActiveContext() override;

  // Null for an unknown id.
  const FocusPreset* find(const Uuid& id) const;
  // What a mission with this choice goes by: the first preset when it names none that is there.
  // Null when there is none at all.
  const FocusPreset* resolve(const std::optional<Uuid>& id) const;
  void addPreset(std::string_view name);
  void duplicatePreset(const FocusPreset& preset);
  void removePreset(const FocusPreset& preset);
  // The presets of a first start, when the user has removed all of them.
  void restoreDefaultsIfEmpty();
  // The dragged preset lands at the target's old place.
  void movePreset(const Uuid& from, const Uuid& to);
  void updatePreset(const FocusPreset& preset);
  void addApp(std::string name, std::string bundleID, const FocusPreset& to);
  void removeApp(const BlockedApp& app, const FocusPreset& from);
  void addSite(std::string_view domain, const FocusPreset& to);
  void removeSite(const BlockedSite& site, const FocusPreset& from);

 private:
  std::vector<FocusPreset> defaultPresets();
  void setPresets(std::vector<FocusPreset> presets);
  void setContext(std::optional<FocusTaskContext> context);

  Preferences& preferences_;
  Random& random_;
};

}  // namespace velmora
