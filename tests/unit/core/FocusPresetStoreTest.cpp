#include "core/FocusPresetStore.h"

#include <gtest/gtest.h>

#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using Texts = std::vector<std::string>;

class Presets : public testing::Test {
 protected:
  Presets() { load(); }
  void load() { store_ = std::make_unique<FocusPresetStore>(preferences, random); }
  void load(const char* presets, const char* context = nullptr) {
    preferences.setBlob("vm_focus_presets_v2", presets);
    if (context) preferences.setBlob("vm_focus_active_context_v2", context);
    load();
  }
  FocusPresetStore& store() { return *store_; }
  const FocusPreset& preset(size_t i) { return store().presets.get().at(i); }
  Texts names() {
    Texts out;
    for (const auto& p : store().presets.get()) out.push_back(p.name);
    return out;
  }
  void expectStored() {
    EXPECT_EQ(json::decodeText<std::vector<FocusPreset>>(
                  preferences.blob("vm_focus_presets_v2").value()),
              store().presets.get());
  }

  sim::FakePreferences preferences;
  sim::FakeRandom random;

 private:
  std::unique_ptr<FocusPresetStore> store_;
};

TEST_F(Presets, TheDefaultsStandWhereNothingUsefulIsStored) {
  for (const char* stored : {"", "[]", "{}", R"([{"name":"no identity"}])"}) {
    load(stored);
    EXPECT_EQ(names(), (Texts{"Deep Work", "Editing", "Writing"})) << stored;
    expectStored();
  }
  EXPECT_EQ(preset(0).allowedDomains(), (Texts{"openai.com", "chatgpt.com", "github.com"}));
  EXPECT_EQ(preset(1).allowedDomains(), (Texts{"capcut.com", "adobe.com"}));
  EXPECT_EQ(preset(2).allowedDomains(), (Texts{"docs.google.com", "notion.so"}));
  EXPECT_EQ(preset(1).colorHex, 0xa855f7);
  EXPECT_EQ(preset(2).iconName, "pencil.and.outline");
  EXPECT_EQ(preset(0).note, "Only your core tools.");
  EXPECT_TRUE(preset(0).allowedApps.empty() && preset(0).allowedSites[0].isBlocked);
}

TEST_F(Presets, MissingMembersAreFilledInAndSavedInTheirCurrentForm) {
  load(R"([{"id":"00000000-0000-0000-0000-0000000000aa","name":"Old","colorHex":4287388927,
            "allowedSites":[{"id":"00000000-0000-0000-0000-0000000000AB","domain":"A.com",
            "isBlocked":false}]},{"id":"00000000-0000-0000-0000-0000000000ac","name":"Bare"}])");
  EXPECT_EQ(preset(0).colorHex, 0xff8c5cff);  // larger than any colour, and kept
  EXPECT_EQ(preset(0).allowedDomains(), Texts{"a.com"});
  EXPECT_TRUE(preferences.blob("vm_focus_presets_v2")
                  ->starts_with(R"([{"id":"00000000-0000-0000-0000-0000000000AA","name":"Old",)"
                                R"("note":"","allowedApps":[],)"));
  EXPECT_EQ(preset(1).colorHex, 0x8c5cff);
  EXPECT_EQ(preset(1).iconName, "scope");
  EXPECT_EQ(preset(1).note, "");
}

TEST_F(Presets, AddingTrimsTheNameAndIgnoresABlankOne) {
  store().addPreset(" \n\t");
  EXPECT_EQ(names().size(), 3u);
  store().addPreset("  Music \n");
  EXPECT_EQ(preset(3).name, "Music");
  EXPECT_EQ(preset(3).note, "Custom focus preset");
  EXPECT_EQ(preset(3).iconName, "scope");
  expectStored();
}

TEST_F(Presets, CopiesFindAFreeName) {
  const FocusPreset original = preset(0);
  for (int i = 0; i < 3; ++i) store().duplicatePreset(original);
  EXPECT_EQ(names(), (Texts{"Deep Work", "Editing", "Writing", "Deep Work Copy", "Deep Work Copy 2",
                            "Deep Work Copy 3"}));
  EXPECT_NE(preset(3).id, original.id);
  EXPECT_EQ(preset(3).allowedSites, original.allowedSites);
  expectStored();
}

TEST_F(Presets, ADraggedOneLandsAtTheTargetsOldPlace) {
  const auto a = preset(0).id, c = preset(2).id;
  store().movePreset(a, c);
  EXPECT_EQ(names(), (Texts{"Editing", "Writing", "Deep Work"}));
  store().movePreset(a, c);
  EXPECT_EQ(names(), (Texts{"Editing", "Deep Work", "Writing"}));
  store().movePreset(c, preset(0).id);
  EXPECT_EQ(names(), (Texts{"Writing", "Editing", "Deep Work"}));
  store().movePreset(c, c);
  store().movePreset(c, Uuid());
  EXPECT_EQ(names(), (Texts{"Writing", "Editing", "Deep Work"}));
  expectStored();
}

TEST_F(Presets, EditsGoByIdentity) {
  FocusPreset edited = preset(1);
  edited.name = "Cutting";
  store().updatePreset(edited);
  EXPECT_EQ(preset(1).name, "Cutting");
  store().removePreset(edited);
  EXPECT_EQ(names(), (Texts{"Deep Work", "Writing"}));
  store().updatePreset(edited);  // unknown by now
  EXPECT_EQ(names(), (Texts{"Deep Work", "Writing"}));
  expectStored();
}

TEST_F(Presets, AppsAndSitesComeInOnceAndGoAgain) {
  const auto writing = [&]() -> const FocusPreset& { return preset(2); };
  store().addApp("Editor", "org.editor", writing());
  store().addApp("Editor again", "org.editor", writing());
  EXPECT_EQ(writing().allowedBundleIDs(), Texts{"org.editor"});
  for (const char* site : {"https://www.Example.com/a", "example.com", "  ", "https://", "b.org"})
    store().addSite(site, writing());
  EXPECT_EQ(writing().allowedDomains(),
            (Texts{"docs.google.com", "notion.so", "example.com", "b.org"}));
  store().removeSite(BlockedSite{{}, "http://b.org", true}, writing());
  store().removeApp(writing().allowedApps[0], writing());
  EXPECT_EQ(writing().allowedDomains().size(), 3u);
  EXPECT_TRUE(writing().allowedApps.empty());
  expectStored();
}

TEST_F(Presets, AChoiceIsACopyThatEditsDoNotReach) {
  store().addApp("Editor", "org.editor", preset(0));
  FocusPreset chosen = preset(0);
  chosen.allowedSites.push_back({{}, "  ", true});
  chosen.allowedSites.push_back({{}, "www.github.com", true});
  store().beginFocus(chosen, "  Chapter 2\n");
  store().removePreset(chosen);
  const FocusTaskContext expected{chosen.id,      "Deep Work",
                                  "Chapter 2",    {"org.editor"},
                                  {"openai.com", "chatgpt.com", "github.com"}, 0x8c5cff};
  EXPECT_EQ(store().activeContext.get(), expected);
  EXPECT_EQ(preferences.blob("vm_focus_active_context_v2"),
            R"({"presetID":")" + chosen.id.text() +
                R"(","presetName":"Deep Work","taskName":"Chapter 2",)"
                R"("allowedBundleIDs":["org.editor"],)"
                R"("allowedDomains":["openai.com","chatgpt.com","github.com"],)"
                R"("colorHex":9198847})");
  load();
  EXPECT_EQ(store().activeContext.get(), expected);
  store().clearActiveContext();
  EXPECT_FALSE(store().hasActiveFocusContext());
  EXPECT_FALSE(preferences.has("vm_focus_active_context_v2"));
}

TEST_F(Presets, ABlankTaskIsNamedAfterThePreset) {
  store().beginFocus(preset(1), " \t ");
  EXPECT_EQ(store().activeContext.get()->taskName, "Editing");
}

TEST_F(Presets, AContextThatCannotBeReadStaysUntilTheNextWrite) {
  for (const char* context : {"[", R"({"presetName":"Deep Work"})"}) {
    load("[]", context);
    EXPECT_FALSE(store().hasActiveFocusContext());
    EXPECT_EQ(preferences.blob("vm_focus_active_context_v2"), context);
  }
  store().beginFocus(preset(0), "");
  EXPECT_NE(preferences.blob("vm_focus_active_context_v2"), "[");
}

}  // namespace
}  // namespace velmora
