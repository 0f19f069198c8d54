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

}  // namespace
}  // namespace velmora::text
