#pragma once

#include <string>

#include "base/Property.h"
#include "ports/Preferences.h"

namespace velmora {

// A yes or no of the user's that lives in the preferences, observable. Loads when it is made and
// saves on each change. Main lane.
class StoredSwitch {
 public:
  // `fallback` is the answer while the user has never chosen.
  StoredSwitch(Preferences& preferences, std::string key, bool fallback)
      : preferences_(preferences), key_(std::move(key)) {
    isOn.set(preferences_.has(key_) ? preferences_.boolean(key_) : fallback);
  }

  Owned<bool, StoredSwitch> isOn;
  void set(bool on) {
    isOn.set(on, [this, on] { preferences_.set(key_, on); });
  }

 private:
  Preferences& preferences_;
  const std::string key_;
};

}  // namespace velmora
