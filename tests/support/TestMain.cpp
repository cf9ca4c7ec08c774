// Test entry point: assertions throw so that their texts can be checked, and trace text goes
// nowhere unless a test captures it.
#include <gtest/gtest.h>

#include <memory>

#include "platform/cog/Assert.h"
#include "platform/trace/Trace.h"

namespace {

class NullSink : public Trace::Sink {
 public:
  void write(Trace::Line const&) override {}
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  Cog::assertModeIs(Cog::AssertMode::throwError);
  Trace::textSinkIs(std::make_shared<NullSink>());
  return RUN_ALL_TESTS();
}
