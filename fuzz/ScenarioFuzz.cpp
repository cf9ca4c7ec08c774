// Fuzzes the scenario loader with arbitrary files: it loads what it accepts into fresh records,
// and the whole stack then runs on them to the end under simulated time. Nothing may crash,
// throw out of the loader or trip an assertion.
#include <cstddef>
#include <cstdint>
#include <string>

#include "agent/Scenario.h"
#include "fuzz/QuietTraces.h"
#include "tests/OrbFlowspec/support/StackHarness.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Fuzz::quietTraces();
  OrbFlowspecTest::StackHarness stack;
  Agent::loadScenario(std::string(reinterpret_cast<char const*>(data), size), stack.records);
  stack.start();
  stack.settle();
  static_cast<void>(stack.outputs());
  return 0;
}
