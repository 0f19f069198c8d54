#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "blocking/model/BlockedApp.h"
#include "blocking/model/BlockedSite.h"

namespace velmora {

inline constexpr int64_t kPresetColor = 0x8c5cff;  // 0xRRGGBB

// A named set of tools that stay open during a focus phase in Brak mode.
struct FocusPreset {
  Uuid id;
  std::string name;
  std::string note;
  std::vector<BlockedApp> allowedApps;
  std::vector<BlockedSite> allowedSites;
  int64_t colorHex = kPresetColor;
  std::string iconName = "scope";

  std::vector<std::string> allowedBundleIDs() const;
  // Clean, without empty ones; of doubles the first is kept.
  std::vector<std::string> allowedDomains() const;
  bool operator==(const FocusPreset&) const = default;
};

// A copy of what was chosen for one focus phase: editing the preset does not change it.
struct FocusTaskContext {
  Uuid presetID;
  std::string presetName;
  std::string taskName;
  std::vector<std::string> allowedBundleIDs;
  std::vector<std::string> allowedDomains;
  int64_t colorHex = kPresetColor;

  bool operator==(const FocusTaskContext&) const = default;
};

template <>
struct json::Fields<FocusPreset> {
  using P = FocusPreset;
  static constexpr std::tuple all{json::required("id", &P::id),
                                  json::required("name", &P::name),
                                  json::defaulted("note", &P::note),
                                  json::defaulted("allowedApps", &P::allowedApps),
                                  json::defaulted("allowedSites", &P::allowedSites),
                                  json::defaulted("colorHex", &P::colorHex),
                                  json::defaulted("iconName", &P::iconName)};
};
template <>
struct json::Fields<FocusTaskContext> {
  using C = FocusTaskContext;
  static constexpr std::tuple all{json::required("presetID", &C::presetID),
                                  json::required("presetName", &C::presetName),
                                  json::required("taskName", &C::taskName),
                                  json::required("allowedBundleIDs", &C::allowedBundleIDs),
                                  json::required("allowedDomains", &C::allowedDomains),
                                  json::required("colorHex", &C::colorHex)};
};

}  // namespace velmora
