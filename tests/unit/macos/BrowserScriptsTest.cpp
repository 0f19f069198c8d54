#include <gtest/gtest.h>

#include "platform/macos/BrowserScripts.h"

namespace velmora {
namespace {

const Browser kBrave{"Brave Browser", "com.brave.Browser", false, true};
const Browser kArc{"Arc", "company.thebrowser.Browser", false, false};
const Browser kSafari{"Safari", "com.apple.Safari", true, true};

WindowTab windowNamed(const std::string& id) {
  return {id, 1, std::nullopt, ""};
}

TEST(ReadScript, AsksEachBrowserInItsOwnDialectAndOrder) {
  EXPECT_EQ(readScript({kArc, kSafari}), R"(set vmSep to character id 9
set vmNL to character id 10
set vmOut to ""
if application "Arc" is running then
    try
        with timeout of 3 seconds
            tell application "Arc"
                repeat with i from 1 to (count of windows)
                    try
                        if not (minimized of window i) then
                            set vmBox to ""
                            set vmURL to (URL of active tab of window i)
                            if vmURL is missing value then set vmURL to ""
                            set vmOut to vmOut & "0" & vmSep & ((id of window i) as text) & vmSep & i & vmSep & vmBox & vmSep & (vmURL as text) & vmNL
                        end if
                    end try
                end repeat
            end tell
        end timeout
    end try
end if
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
                            set vmOut to vmOut & "1" & vmSep & ((id of window i) as text) & vmSep & i & vmSep & vmBox & vmSep & (vmURL as text) & vmNL
                        end if
                    end try
                end repeat
            end tell
        end timeout
    end try
end if
return vmOut)");
}

TEST(SendScript, FindsTheWindowById) {
  EXPECT_EQ(sendScript(windowNamed("17"), kSafari, "http://127.0.0.1:52700/?r=focus"),
            R"(if application "Safari" is running then
    tell application "Safari"
        try
            repeat with i from 1 to (count of windows)
                if ((id of window i) as text) is "17" then
                    set URL of current tab of window i to "http://127.0.0.1:52700/?r=focus"
                    exit repeat
                end if
            end repeat
        end try
    end tell
end if)");
}

TEST(FrontWindow, IsReachedInBothDialects) {
  const WindowTab front = windowNamed("");
  for (const auto& [browser, tab] : {std::pair(kArc, "active tab"), {kSafari, "current tab"}}) {
    const std::string url = std::string("URL of ") + tab + " of front window";
    EXPECT_NE(frontWindowScript(browser).find("then return " + url), std::string::npos);
    EXPECT_NE(sendScript(front, browser, "http://a/").find("then set " + url + " to \"http://a/\""),
              std::string::npos);
  }
}

TEST(SendScript, QuotesCannotEndItsTexts) {
  const auto script = sendScript(windowNamed("1\"2\""), kBrave, "http://a/\"\"x");
  EXPECT_NE(script.find(R"(is "12" then)"), std::string::npos);
  EXPECT_NE(script.find(R"(to "http://a/%22%22x")"), std::string::npos);
}

TEST(ParseTabs, KeepsTheOrderOfLinesForEachBrowser) {
  const auto report = parseTabs(
      "1\t9\t1\t0 25 800 625\thttps://b.example/\n"
      "0\t7\t1\t\thttps://a.example/\n"
      "\n"
      "+1\t8\t-3\t-10.5 +0 10 20\t\n",
      {kArc, kBrave});
  const TabReport expected{{kArc.bundleID, {{"7", 1, std::nullopt, "https://a.example/"}}},
                           {kBrave.bundleID,
                            {{"9", 1, Rect{0, 25, 800, 600}, "https://b.example/"},
                             {"8", -3, Rect{-10.5, 0, 20.5, 20}, ""}}}};
  EXPECT_EQ(report, expected);
}

TEST(ParseTabs, DropsMalformedLinesOneByOne) {
  const std::string good = "0\t1\t1\t\thttps://kept.example/\n";
  for (const std::string bad :
       {"0\t1\t1\thttps://four.example/", "0\t1\t1\t\thttps://six.example/\t", "\t1\t1\t\ta",
        "-1\t1\t1\t\ta", "1\t1\t1\t\ta", "0 \t1\t1\t\ta", "18446744073709551616\t1\t1\t\ta",
        "0\t1\t\t\ta", "0\t1\t1.0\t\ta", "0\t1\t99999999999\t\ta"}) {
    const auto report = parseTabs(bad + "\n" + good, {kBrave});
    EXPECT_EQ(report, parseTabs(good, {kBrave})) << bad;
  }
}

TEST(ParseTabs, TakesOnlyFourNumbersForBounds) {
  for (const std::string field : {"", "1 2 3", "1 2 3 four", "1 2 3 4 5", "1,2,3,4", "1 2 3 inf"}) {
    const auto report = parseTabs("0\t1\t1\t" + field + "\ta", {kBrave});
    EXPECT_FALSE(report.at(kBrave.bundleID)[0].bounds) << field;
  }
  const auto report = parseTabs("0\t1\t1\t 1  2 word 3 4 \ta", {kBrave});
  EXPECT_EQ(report.at(kBrave.bundleID)[0].bounds, (Rect{1, 2, 2, 2}));
}

}  // namespace
}  // namespace velmora
