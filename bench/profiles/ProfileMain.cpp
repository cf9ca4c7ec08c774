// flowspec-profile: writes a generated rule set as an agent scenario, so that the agent can be
// measured on exactly the rules the benchmarks use.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/profiles/Profile.h"

int main(int argc, char** argv) {
  auto const profile = argc == 4 ? Bench::profileNamed(argv[1]) : std::nullopt;
  if (!profile) {
    std::fputs("usage: flowspec-profile classbench|ddos|mixed RULES SEED > scenario.json\n",
               stderr);
    return 2;
  }
  std::string const text = Bench::profileScenario(*profile, std::strtoull(argv[2], nullptr, 10),
                                                  std::strtoull(argv[3], nullptr, 10));
  std::fwrite(text.data(), 1, text.size(), stdout);
  return 0;
}
