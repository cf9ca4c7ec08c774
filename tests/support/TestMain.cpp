// Test entry point: assertions throw so that their texts can be checked, trace text goes
// nowhere unless a test captures it, and every test starts from the same process-wide state
// (unique ids counted from the start, no clock installed), whatever ran before it.
#include <gtest/gtest.h>

#include <memory>

#include "platform/cog/Assert.h"
#include "platform/cog/System.h"
#include "platform/kiln/UniqueId.h"
#include "platform/trace/Trace.h"

namespace {

class NullSink : public Trace::Sink {
 public:
  void write(Trace::Line const&) override {}
};

class ProcessStateReset : public testing::EmptyTestEventListener {
 public:
  void OnTestStart(testing::TestInfo const&) override {
    Kiln::UniqueId::counterReset();
    Cog::System::clockIs(nullptr);
  }
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  Cog::assertModeIs(Cog::AssertMode::throwError);
  Trace::textSinkIs(std::make_shared<NullSink>());
  testing::UnitTest::GetInstance()->listeners().Append(new ProcessStateReset);
  return RUN_ALL_TESTS();
}
