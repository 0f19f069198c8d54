#include "core/FocusPresetStore.h"

#include <gtest/gtest.h>

#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using Texts = std::vector<std::string>;

class Presets : public testing::Test {
 protected:
  Presets() { load(); }
  void load() { store = std::make_unique<FocusPresetStore>(preferences, random); }
  const FocusPreset& preset(size_t i) { return store->presets.get().at(i); }
  // Names in their order, after a look whether the same is stored.
  Texts names() {
    EXPECT_EQ(preferences.blob("vm_focus_presets_v2"), json::encodeText(store->presets.get()));
    Texts out;
    for (const auto& p : store->presets.get()) out.push_back(p.name);
    return out;
  }

  sim::FakePreferences preferences;
  sim::FakeRandom random;
  std::unique_ptr<FocusPresetStore> store;
};

TEST_F(Presets, AnOlderFormIsFilledInAndSavedInThePresentOne) {
  preferences.setBlob("vm_focus_presets_v2",
                      R"([{"id":"00000000-0000-0000-0000-0000000000aa","name":"Old",)"
                      R"("colorHex":4287388927}])");  // larger than any colour, and kept
  load();
  EXPECT_EQ(preferences.blob("vm_focus_presets_v2"),
            R"([{"id":"00000000-0000-0000-0000-0000000000AA","name":"Old","note":"",)"
            R"("allowedApps":[],"allowedSites":[],"colorHex":4287388927,"iconName":"scope"}])");
}

TEST_F(Presets, AreAddedCopiedEditedAndRemovedByIdentity) {
  store->addPreset(" \n\t");
  store->addPreset("  Music \n");
  const FocusPreset music = preset(3);
  for (int i = 0; i < 2; ++i) store->duplicatePreset(music);
  EXPECT_EQ(names(),
            (Texts{"Deep Work", "Editing", "Writing", "Music", "Music Copy", "Music Copy 2"}));
  store->removePreset(music);
  store->updatePreset(music);  // unknown by now
  EXPECT_EQ(names().size(), 5u);
  const FocusPreset stale = preset(2);  // edits start from what the store holds by then
  for (const char* site : {"https://www.Example.com/a", "example.com", "  ", "b.org"})
    store->addSite(site, stale);
  EXPECT_EQ(preset(2).allowedDomains(),
            (Texts{"docs.google.com", "notion.so", "example.com", "b.org"}));
}

TEST_F(Presets, ADraggedOneLandsAtTheTargetsOldPlace) {
  const auto a = preset(0).id, c = preset(2).id;
  store->movePreset(a, c);
  EXPECT_EQ(names(), (Texts{"Editing", "Writing", "Deep Work"}));
}

TEST_F(Presets, AChoiceIsACopyThatEditsDoNotReach) {
  FocusPreset chosen = preset(0);
  chosen.allowedApps.push_back({{}, "Editor", "org.editor", true, std::nullopt});
  chosen.allowedSites.push_back({{}, "www.github.com", true});
  store->beginFocus(chosen, "  Chapter 2\n");
  store->removePreset(chosen);
  load();
  EXPECT_EQ(preferences.blob("vm_focus_active_context_v2"),
            R"({"presetID":")" + chosen.id.text() +
                R"(","presetName":"Deep Work","taskName":"Chapter 2",)"
                R"("allowedBundleIDs":["org.editor"],)"
                R"("allowedDomains":["openai.com","chatgpt.com","github.com"],)"
                R"("colorHex":9198847})");
  EXPECT_EQ(store->activeContext.get()->taskName, "Chapter 2");
  store->clearActiveContext();
  EXPECT_FALSE(preferences.has("vm_focus_active_context_v2"));
}

}  // namespace
}  // namespace velmora
