#include "core/FocusPresetStore.h"

#include <algorithm>

#include "base/Text.h"

namespace velmora {
namespace {

constexpr const char* kPresetsKey = "vm_focus_presets_v2";
constexpr const char* kContextKey = "vm_focus_active_context_v2";

}  // namespace

FocusPresetStore::FocusPresetStore(Preferences& preferences, Random& random)
    : preferences_(preferences), random_(random) {
  std::vector<FocusPreset> loaded;
  if (const auto blob = preferences_.blob(kPresetsKey))
    loaded = json::decodeText<std::vector<FocusPreset>>(*blob).value_or(loaded);
  // Saved again either way, so that every entry has the current form.
  setPresets(loaded.empty() ? defaultPresets() : std::move(loaded));
  if (const auto blob = preferences_.blob(kContextKey))
    if (auto context = json::decodeText<FocusTaskContext>(*blob)) setContext(std::move(*context));
}

std::vector<FocusPreset> FocusPresetStore::defaultPresets() {
  const auto preset = [this](std::string name, std::string note, int64_t color, std::string icon,
                             std::vector<std::string> domains) {
    FocusPreset p{random_.uuid(), std::move(name), std::move(note), {}, {}, color, std::move(icon)};
    for (auto& domain : domains) p.allowedSites.push_back({random_.uuid(), std::move(domain)});
    return p;
  };
  return {preset("Deep Work", "Only your core tools.", 0x8c5cff, "brain.head.profile",
                 {"openai.com", "chatgpt.com", "github.com"}),
          preset("Editing", "Video/editing flow.", 0xa855f7, "video.fill",
                 {"capcut.com", "adobe.com"}),
          preset("Writing", "Quiet writing session.", 0x7c3aed, "pencil.and.outline",
                 {"docs.google.com", "notion.so"})};
}

void FocusPresetStore::restoreDefaultsIfEmpty() {
  if (presets.get().empty()) setPresets(defaultPresets());
}

void FocusPresetStore::setPresets(std::vector<FocusPreset> value) {
  presets.set(std::move(value), [this] {
    preferences_.setBlob(kPresetsKey, json::encodeText(presets.get()));
  });
}

void FocusPresetStore::setContext(std::optional<FocusTaskContext> context) {
  activeContext.set(std::move(context), [this] {
    if (const auto& current = activeContext.get())
      preferences_.setBlob(kContextKey, json::encodeText(*current));
    else
      preferences_.remove(kContextKey);
  });
}

void FocusPresetStore::beginFocus(const FocusPreset& preset, std::string_view taskName) {
  const std::string_view task = text::trim(taskName);
  setContext(FocusTaskContext{preset.id, preset.name,
                              task.empty() ? preset.name : std::string(task),
                              preset.allowedBundleIDs(), preset.allowedDomains(),
                              preset.colorHex});
}

void FocusPresetStore::clearActiveContext() { setContext(std::nullopt); }

const FocusPreset* FocusPresetStore::find(const Uuid& id) const {
  const auto& all = presets.get();
  const auto it = std::ranges::find(all, id, &FocusPreset::id);
  return it == all.end() ? nullptr : &*it;
}

const FocusPreset* FocusPresetStore::resolve(const std::optional<Uuid>& id) const {
  const FocusPreset* named = id ? find(*id) : nullptr;
  return named || presets.get().empty() ? named : &presets.get().front();
}

void FocusPresetStore::addPreset(std::string_view name) {
  const std::string_view trimmed = text::trim(name);
  if (trimmed.empty()) return;
  FocusPreset preset;
  preset.id = random_.uuid();
  preset.name = trimmed;
  preset.note = "Custom focus preset";
  auto all = presets.get();
  all.push_back(std::move(preset));
  setPresets(std::move(all));
}

void FocusPresetStore::duplicatePreset(const FocusPreset& preset) {
  auto all = presets.get();
  const auto isTaken = [&all](const std::string& name) {
    return std::ranges::find(all, name, &FocusPreset::name) != all.end();
  };
  FocusPreset copy = preset;
  copy.id = random_.uuid();
  copy.name = preset.name + " Copy";
  for (int n = 2; isTaken(copy.name); ++n)
    copy.name = preset.name + " Copy " + std::to_string(n);
  all.push_back(std::move(copy));
  setPresets(std::move(all));
}

void FocusPresetStore::removePreset(const FocusPreset& preset) {
  auto all = presets.get();
  std::erase_if(all, [id = preset.id](const auto& p) { return p.id == id; });
  setPresets(std::move(all));
}

void FocusPresetStore::movePreset(const Uuid& from, const Uuid& to) {
  auto all = presets.get();
  const auto dragged = std::ranges::find(all, from, &FocusPreset::id);
  const auto target = std::ranges::find(all, to, &FocusPreset::id);
  if (dragged == all.end() || target == all.end() || dragged == target) return;
  if (dragged < target)
    std::rotate(dragged, dragged + 1, target + 1);
  else
    std::rotate(target, dragged, dragged + 1);
  setPresets(std::move(all));
}

void FocusPresetStore::updatePreset(const FocusPreset& preset) {
  auto all = presets.get();
  const auto it = std::ranges::find(all, preset.id, &FocusPreset::id);
  if (it == all.end()) return;
  *it = preset;
  setPresets(std::move(all));
}

void FocusPresetStore::addApp(std::string name, std::string bundleID, const FocusPreset& to) {
  const FocusPreset* current = find(to.id);  // the caller's copy may be an older one
  if (!current) return;
  FocusPreset preset = *current;
  if (std::ranges::find(preset.allowedApps, bundleID, &BlockedApp::bundleID) !=
      preset.allowedApps.end())
    return;
  preset.allowedApps.push_back(
      {random_.uuid(), std::move(name), std::move(bundleID), true, std::nullopt});
  updatePreset(preset);
}

void FocusPresetStore::removeApp(const BlockedApp& app, const FocusPreset& from) {
  const FocusPreset* current = find(from.id);
  if (!current) return;
  FocusPreset preset = *current;
  std::erase_if(preset.allowedApps, [&](const auto& a) { return a.bundleID == app.bundleID; });
  updatePreset(preset);
}

void FocusPresetStore::addSite(std::string_view domain, const FocusPreset& to) {
  const std::string clean = cleanDomain(domain);
  if (clean.empty()) return;
  const FocusPreset* current = find(to.id);  // the caller's copy may be an older one
  if (!current) return;
  FocusPreset preset = *current;
  for (const auto& site : preset.allowedSites)
    if (site.cleanDomain() == clean) return;
  preset.allowedSites.push_back({random_.uuid(), clean});
  updatePreset(preset);
}

void FocusPresetStore::removeSite(const BlockedSite& site, const FocusPreset& from) {
  const FocusPreset* current = find(from.id);
  if (!current) return;
  FocusPreset preset = *current;
  std::erase_if(preset.allowedSites,
                [&](const auto& s) { return s.cleanDomain() == site.cleanDomain(); });
  updatePreset(preset);
}

}  // namespace velmora
