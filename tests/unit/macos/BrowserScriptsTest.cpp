#include <gtest/gtest.h>

#include "platform/macos/BrowserScripts.h"

namespace velmora {
namespace {

const Browser kArc{"Arc", "company.thebrowser.Browser", false, false};
const Browser kSafari{"Safari", "com.apple.Safari", true, true};

TEST(ReadScript, AsksForEachWindowThatIsNotMinimised) {
  EXPECT_EQ(readScript({kSafari}), R"(set vmSep to character id 9
set vmNL to character id 10
set vmOut to ""
if application "Safari" is running then
    try
        with timeout of 3 seconds
            tell application "Safari"
                repeat with i from 1 to (count of windows)
                    try
                        if not (miniaturized of window i) then
                            set vmB to bounds of window i
                            set vmBox to ((item 1 of vmB) as text) & " " & ((item 2 of vmB) as text) & " " & ((item 3 of vmB) as text) & " " & ((item 4 of vmB) as text)
                            set vmURL to (URL of current tab of window i)
                            if vmURL is missing value then set vmURL to ""
                            set vmOut to vmOut & "0" & vmSep & ((id of window i) as text) & vmSep & i & vmSep & vmBox & vmSep & (vmURL as text) & vmNL
                        end if
                    end try
                end repeat
            end tell
        end timeout
    end try
end if
return vmOut)");
}

TEST(SendScript, FindsTheWindowByIdAndQuotesCannotEndItsTexts) {
  const auto script = sendScript({"1\"7\"", 1, std::nullopt, ""}, kArc, "http://a/\"x");
  for (const char* line : {R"(if ((id of window i) as text) is "17" then)",
                           R"(set URL of active tab of window i to "http://a/%22x")"})
    EXPECT_NE(script.find(line), std::string::npos) << script;
}

TEST(ParseTabs, KeepsTheOrderOfLinesForEachBrowserAndDropsMalformedOnesAlone) {
  std::string output = "1\t9\t1\t0 25 800 625\thttps://b/\n0\t7\t1\t\thttps://a/\n\n";
  for (const std::string bad :
       {"0\t1\t1\thttps://four/", "0\t1\t1\t\ta\t", "\t1\t1\t\ta", "-1\t1\t1\t\ta", "2\t1\t1\t\ta",
        "18446744073709551616\t1\t1\t\ta", "0\t1\t\t\ta"})
    output += bad + "\n";
  const TabReport expected{
      {kArc.bundleID, {{"7", 1, std::nullopt, "https://a/"}}},
      {kSafari.bundleID,
       {{"9", 1, Rect{0, 25, 800, 600}, "https://b/"}, {"8", -3, Rect{-10.5, 0, 20.5, 20}, ""}}}};
  EXPECT_EQ(parseTabs(output + "+1\t8\t-3\t-10.5 +0 10 20\t\n", {kArc, kSafari}), expected);
  for (const std::string box : {"", "1 2 3", "1 2 3 four", "1 2 3 4 5", "1,2,3,4", "1 2 3 inf"})
    EXPECT_FALSE(parseTabs("0\t1\t1\t" + box + "\ta", {kArc}).at(kArc.bundleID)[0].bounds) << box;
}

}  // namespace
}  // namespace velmora
