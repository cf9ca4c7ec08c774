// Untrusted values in error texts: one line, unambiguous, bounded.
#include <gtest/gtest.h>

#include "agent/QuotedText.h"

namespace {

TEST(QuotedText, EscapesWhatWouldBreakTheLineOrTheQuotes) {
  std::vector<std::pair<std::string, std::string>> const cases = {
      {"", "\"\""},
      {"red", "\"red\""},
      {std::string("a\0b", 3), "\"a\\x00b\""},
      {"a\nb\tc\rd\x1b\x7f", "\"a\\nb\\tc\\rd\\x1b\\x7f\""},
      {"say \"hi\" \\", "\"say \\\"hi\\\" \\\\\""},
      {"caf\xc3\xa9", "\"caf\xc3\xa9\""},
  };
  for (auto const& [text, expected] : cases) {
    EXPECT_EQ(Agent::quotedValue(text), expected);
  }
}

// The limit counts characters, not bytes or escapes, and never splits a character.
TEST(QuotedText, CutsAfterTheLimitOnACharacterBoundary) {
  EXPECT_EQ(Agent::quotedValue("abcd", 4), "\"abcd\"");
  EXPECT_EQ(Agent::quotedValue("abcde", 4), "\"abcd\"...");
  EXPECT_EQ(Agent::quotedValue("\xc3\xa9\xc3\xa9\xc3\xa9", 2), "\"\xc3\xa9\xc3\xa9\"...");
  EXPECT_EQ(Agent::quotedValue("\n\n\n", 2), "\"\\n\\n\"...");
  EXPECT_EQ(Agent::quotedValue(std::string(1000, 'x')), "\"" + std::string(80, 'x') + "\"...");
  EXPECT_EQ(Agent::escaped("position 5: bad '\x01'", 100), "position 5: bad '\\x01'");
  EXPECT_EQ(Agent::escaped("abc", 2), "ab...");
}

}  // namespace
