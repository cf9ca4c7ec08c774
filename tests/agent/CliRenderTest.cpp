// flowspec-cli's text tables: columns line up and every line fits the width, counted in code
// points (an exactness note holds an arrow of three bytes), however long the cells are.
#include <gtest/gtest.h>

#include <sstream>

#include "agent/CliRender.h"
#include "agent/TextTable.h"

namespace {

using nlohmann::json;

std::vector<std::string> linesOf(std::string const& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::size_t codePoints(std::string const& line) {
  std::size_t count = 0;
  for (char const c : line) {
    count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }
  return count;
}

// The code point where each column starts, read off the dashes under the header.
std::vector<std::size_t> columnStarts(std::string const& dashes) {
  std::vector<std::size_t> starts;
  for (std::size_t i = 0; i < dashes.size(); ++i) {
    if (dashes[i] == '-' && (i == 0 || dashes[i - 1] == ' ')) {
      starts.push_back(i);
    }
  }
  return starts;
}

// Every line of a table fits `width`; every cell text starts at a column start or is blank
// there, and nothing but blanks stands just before a column start.
void expectLinedUp(std::vector<std::string> const& lines, std::size_t width) {
  ASSERT_GE(lines.size(), 2u);
  auto const starts = columnStarts(lines[1]);
  for (auto const& line : lines) {
    EXPECT_LE(codePoints(line), width) << line;
    EXPECT_NE(line.back(), ' ') << line;
    std::u32string wide;  // a code point per position
    for (std::size_t i = 0; i < line.size(); ++i) {
      if ((static_cast<unsigned char>(line[i]) & 0xC0) != 0x80) {
        wide += static_cast<char32_t>(static_cast<unsigned char>(line[i]));
      }
    }
    for (auto const start : starts) {
      if (start > 0 && start < wide.size()) {
        EXPECT_EQ(wide[start - 1], U' ') << "column at " << start << " of: " << line;
      }
    }
  }
}

TEST(TextTable, WrapsTheWidestColumnToFitAndKeepsColumnsAligned) {
  Agent::TextTable table({"Prio", "Rule", "Note"});
  table.rowIs({"1", "ipv4 dst 10.0.0.0/8 proto =6 dport >=1024&<=2048|=80 tcp-flags =syn&!ack",
               "clamped dport 70000 → 65535"});
  table.rowIs({"2147483648", "ipv6 dst 2001:db8::/32", ""});
  auto const lines = linesOf(table.render(40));
  expectLinedUp(lines, 40);
  std::string joined;
  for (auto const& line : lines) {
    joined += line + "\n";
  }
  // Nothing is cut: every word of the long cell is there.
  for (auto const* word : {"=syn&!ack", "dport", "70000", "→", "65535", "2001:db8::/32"}) {
    EXPECT_NE(joined.find(word), std::string::npos) << word << "\n" << joined;
  }
  EXPECT_EQ(lines[0].substr(0, 6), "Prio  ");
}

TEST(CliRender, ShowRulesFitsAHundredColumns) {
  json const rule = {
      {"rule",
       "ipv4 dst 192.0.2.0/24 proto =17 sport =53|=123 len >=512 dport "
       "=70000"},
      {"vrf", "default"},
      {"vrfId", 1},
      {"priority", 2},
      {"status", 4},
      {"statusText", "unsupported qualifier"},
      {"errorReason", "unsupported qualifier - packet length"},
      {"packets", 12345678},
      {"action", "redirect vrf scrubbing nexthop 192.0.2.254"},
      {"entries", 2},
      {"installed", {"Ethernet1", "Ethernet2", "Port-Channel10"}},
      {"failed", json::array({{{"interface", "Ethernet3"}, {"error", "bank full"}}})},
      {"exactness", "clamped dport 70000 → 65535"}};
  json const result = {{"vrfs", {{{"id", 1}, {"name", "default"}, {"rules", {rule, rule}}}}}};
  auto const lines = linesOf(Agent::renderResult({"show", "rules"}, result));
  ASSERT_GE(lines.size(), 4u);
  EXPECT_EQ(lines[0], "VRF 1 default: 2 rules");
  EXPECT_EQ(lines.back(), "failed on Ethernet3: bank full");
  expectLinedUp(std::vector<std::string>(lines.begin() + 1, lines.end() - 1), 100);
  EXPECT_NE(lines[1].find("Exactness"), std::string::npos);
}

}  // namespace
