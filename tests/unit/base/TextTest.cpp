#include "base/Text.h"

namespace velmora::text {
namespace {

TEST(Text, TrimTakesEveryWhiteSpaceAtBothEnds) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""}, {" \t\r\n", ""}, {"\n a b \v\f", "a b"}, {"\u200ba\u3000\u2028", "a"},
      {"\xff a \xfe", "\xff a \xfe"},  // odd bytes are no space, and end nothing
  };
  for (const auto& [text, trimmed] : cases) EXPECT_EQ(trim(text), trimmed);
}

TEST(Text, CaseFollowsUnicodeWithoutALanguage) {
  EXPECT_EQ(lowercased("ŻÓŁW I"), "żółw i");
  EXPECT_EQ(uppercased("żółw straße i"), "ŻÓŁW STRASSE I");
  EXPECT_EQ(lowercased("A\xff"), "A\xff");  // not UTF-8: unchanged
}

TEST(Text, Utf8IsCheckedStrictly) {
  for (const char* good : {"", "żółw", "🙂"}) EXPECT_TRUE(isValidUtf8(good)) << good;
  for (const char* bad : {"\xff", "\xc3", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80"})
    EXPECT_FALSE(isValidUtf8(bad));
}

}  // namespace
}  // namespace velmora::text
