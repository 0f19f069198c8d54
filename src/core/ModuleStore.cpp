#include "core/ModuleStore.h"

#include <algorithm>

#include "base/Json.h"
#include "base/Text.h"

namespace velmora {

using Name = BrakModule::Name;

ModuleStore::ModuleStore(Preferences& preferences, const LateRef<Commitment>& commitment)
    : preferences_(preferences), commitment_(commitment) {
  Modules modules;
  const auto stored = preferences_.read(key);
  const auto* list = stored ? std::get_if<PreferenceValue::TextList>(&stored->data) : nullptr;
  if (list) {
    for (const auto& text : *list)
      if (const auto* module = BrakModule::find(text)) modules.insert(*module);
  } else {
    modules = defaultEnabledModules();
  }
  enabledModules.set(std::move(modules));
  isLoading_ = false;
  save();
}

// A minimal start, widened by what an earlier version's data shows to be in use.
ModuleStore::Modules ModuleStore::defaultEnabledModules() const {
  Modules modules{BrakModule::named(Name::schedule), BrakModule::named(Name::sounds)};
  const auto add = [&](bool inUse, Name name) {
    if (inUse) modules.insert(BrakModule::named(name));
  };
  add(preferences_.has("vm_habit_sessionCounts") || preferences_.has("vm_habit_dailyGoal"),
      Name::habit);
  const auto title = preferences_.text("vm_deadline_title");
  add(preferences_.boolean("vm_deadline_isEnabled") || (title && !text::trim(*title).empty()),
      Name::deadline);
  if (const auto budgets = preferences_.blob("vm_budgetedSites")) {
    const auto parsed = json::parse(*budgets);
    const auto* items = parsed ? parsed->asArray() : nullptr;
    add(items && !items->empty(), Name::budget);
  }
  add(preferences_.boolean("vm_creatorGate_isEnabled"), Name::creatorGate);
  return modules;
}

void ModuleStore::set(const BrakModule& module, bool enabled) {
  if (module.name == Name::brakPorn && !enabled && commitment_) {
    if (commitment_->isProtectionActive()) return;
    if (commitment_->isTemporaryProtectionActive()) commitment_->disableTemporaryProtection();
  }
  Modules modules = enabledModules.get();
  if (enabled)
    modules.insert(module);
  else
    modules.erase(module);
  enabledModules.set(std::move(modules), [this] { save(); });
}

bool ModuleStore::isTabShown(AppTab tab) const {
  const auto anyOf = [this](std::initializer_list<Name> names) {
    return std::ranges::any_of(
        names, [this](Name name) { return isEnabled(BrakModule::named(name)); });
  };
  switch (tab) {
    case AppTab::schedule: return anyOf({Name::schedule});
    case AppTab::rules:
      return anyOf({Name::budget, Name::scrollGuard, Name::creatorGate, Name::brakPorn});
    case AppTab::progress: return anyOf({Name::dailyTasks, Name::habit, Name::deadline});
    case AppTab::sounds: return anyOf({Name::sounds});
    case AppTab::posture: return anyOf({Name::posture});
    case AppTab::focus:
    case AppTab::extensions:
    case AppTab::settings: return true;
  }
  return false;
}

void ModuleStore::save() {
  if (isLoading_) return;
  PreferenceValue::TextList texts;
  for (const auto& module : enabledModules.get()) texts.emplace_back(module.rawText);
  std::ranges::sort(texts);
  preferences_.set(key, std::move(texts));
}

}  // namespace velmora
