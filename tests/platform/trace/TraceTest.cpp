#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "platform/trace/CaptureSink.h"
#include "platform/trace/RingBuffer.h"
#include "platform/trace/Trace.h"

namespace {

Trace::Handle gTestHandle("TraceTest");

struct WithStrep {
  std::string toStrep() const { return "<strep>"; }
};

enum class Colour { red = 3 };

void emitFromHere(int level) {
  TRACE(gTestHandle, level, "value ", 42, " hex 0x", Trace::Hex{255});
}

TEST(TraceConcat, PiecesJoinWithoutSeparators) {
  EXPECT_EQ(Trace::concat("a", 1, std::string("b"), true, WithStrep{}, Colour::red, 'c', 2.5),
            "a1btrue<strep>3c2.5");
  EXPECT_EQ(Trace::concat(static_cast<std::uint8_t>(7), Trace::Hex{0xfffff}), "7fffff");
  EXPECT_EQ(Trace::concat(0.05, " ", 1000.0), "0.05 1000");
}

TEST(TraceFunctionName, KeepsQualifiedNameOnly) {
  EXPECT_EQ(Trace::shortFunctionName("void OrbFlowspec::RuleSetSm::handleRule(const Key&)"),
            "OrbFlowspec::RuleSetSm::handleRule");
  EXPECT_EQ(Trace::shortFunctionName("Cog::Ptr<T> Ns::f(int) [with T = int]"), "Ns::f");
  EXPECT_EQ(Trace::shortFunctionName("int main()"), "main");
}

TEST(TraceHandle, TextLevelFiltersCapturedLines) {
  Trace::ScopedCapture capture;
  Trace::ScopedTextLevel level("TraceTest", 3);
  emitFromHere(3);
  emitFromHere(4);
  ASSERT_EQ(capture->lines().size(), 1u);
  auto const& line = capture->lines()[0];
  EXPECT_EQ(line.handle, "TraceTest");
  EXPECT_EQ(line.level, 3);
  EXPECT_EQ(line.function, "{anonymous}::emitFromHere");
  EXPECT_EQ(line.message, "value 42 hex 0xff");
}

TEST(TraceHandle, MessagesBelowBothLevelsAreNotFormatted) {
  gTestHandle.textLevelIs(0);
  gTestHandle.ringLevelIs(2);
  bool formatted = false;
  auto piece = [&] {
    formatted = true;
    return 1;
  };
  TRACE(gTestHandle, 7, piece());
  EXPECT_FALSE(formatted);
  gTestHandle.ringLevelIs(5);
}

// What only the ring takes is kept as pieces and formatted when read, into the very text the
// sink would have had; pieces are copied, so later changes to them do not show.
TEST(TraceRingBuffer, FormatsEncodedPiecesWhenRead) {
  Trace::ScopedTextLevel level("TraceTest", 0);
  std::string changing = "before";
  char buffer[8] = "buf";
  TRACE(gTestHandle, 4, "a", 1, changing, true, WithStrep{}, Colour::red, 'c', 2.5, -7,
        Trace::Hex{0xfffff}, std::string_view("view"), static_cast<std::uint8_t>(200), buffer);
  changing = "after";
  buffer[0] = 'B';
  EXPECT_EQ(Trace::ringBuffer().lines().back(),
            std::to_string(gTestHandle.id()) +
                "/4 {anonymous}::TraceRingBuffer_FormatsEncodedPiecesWhenRead_Test::TestBody: "
                "a1beforetrue<strep>3c2.5-7fffffview200buf");
}

TEST(TraceRingBuffer, OverwritesOldestRecordsFirst) {
  Trace::RingBuffer ring(256);
  std::mt19937 rng(3);
  std::vector<std::string> appended;
  for (int i = 0; i < 300; ++i) {
    std::string const message = "message " + std::to_string(i) + std::string(rng() % 50, '.');
    ring.append(1, 2, "f", message);
    appended.push_back("1/2 f: " + message);
    // The newest records in order, none missing between them, and more than one kept.
    auto const lines = ring.lines();
    ASSERT_EQ(lines.size(), ring.recordCount());
    ASSERT_GE(lines.size(), std::min<std::size_t>(appended.size(), 2));
    ASSERT_TRUE(std::equal(lines.begin(), lines.end(), appended.end() - lines.size())) << i;
  }
}

}  // namespace
