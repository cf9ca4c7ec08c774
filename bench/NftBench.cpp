// Time to program N ACL entries into the kernel through the nftables dataplane, beside `nft -f`
// of the same ruleset written out as a file, each into a fresh network namespace. Needs root.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "pbr/nft/NftDataplane.h"

namespace {

constexpr std::uint32_t kEntriesPerClass = 10;

std::string freshNetns() {
  static int serial = 0;
  std::string const name =
      "orbnftbench" + std::to_string(::getpid()) + "-" + std::to_string(serial++);
  std::system(("ip netns add " + name).c_str());
  return name;
}

void dropNetns(std::string const& name) { std::system(("ip netns del " + name).c_str()); }

std::uint32_t hostAddress(std::uint32_t i) { return 0x0a000000 | i; }

std::shared_ptr<Pbr::PolicyProgram const> programOf(std::uint32_t entries) {
  auto program = std::make_shared<Pbr::PolicyProgram>();
  program->policyName = "bench";
  program->af = Nwk::AddressFamily::ipv4;
  for (std::uint32_t first = 0; first < entries; first += kEntriesPerClass) {
    auto filters = std::make_shared<Pbr::IpEntries>();
    for (std::uint32_t i = first; i < first + kEntriesPerClass && i < entries; ++i) {
      Acl::IpFilter filter;
      filter.destinationIs(hostAddress(i), 0xffffffff);
      filters->push_back(filter);
    }
    Pbr::ClassProgram cls;
    cls.name = "c" + std::to_string(first);
    cls.action.deny = first % 20 == 0;
    cls.ipEntries = std::move(filters);
    program->classes.push_back(std::make_shared<Pbr::ClassProgram const>(std::move(cls)));
  }
  return program;
}

// The same table, chains, counters and rules as the dataplane writes, as an operator would.
std::string rulesetOf(std::uint32_t entries) {
  std::string out =
      "table inet orbflowspec {\n"
      "  map dispatch { type ifname . nf_proto : verdict; elements = { \"eth0\" . ipv4 : jump s1 } "
      "}\n"
      "  chain prerouting { type filter hook prerouting priority mangle; policy accept; iifname "
      ". meta nfproto vmap @dispatch; }\n";
  for (std::uint32_t first = 0; first < entries; first += kEntriesPerClass) {
    out += "  counter c" + std::to_string(first) + " {}\n";
  }
  out += "  chain s1 {\n";
  char address[32];
  for (std::uint32_t i = 0; i < entries; ++i) {
    std::uint32_t const a = hostAddress(i);
    std::snprintf(address, sizeof address, "%u.%u.%u.%u", a >> 24, a >> 16 & 0xff, a >> 8 & 0xff,
                  a & 0xff);
    std::uint32_t const cls = i / kEntriesPerClass * kEntriesPerClass;
    out += std::string("    ip daddr ") + address + " counter name c" + std::to_string(cls) +
           (cls % 20 == 0 ? " drop\n" : " accept\n");
  }
  return out + "  }\n}\n";
}

void BM_NftDataplaneProgram(benchmark::State& state) {
  auto const entries = static_cast<std::uint32_t>(state.range(0));
  auto const program = programOf(entries);
  for (auto _ : state) {
    state.PauseTiming();
    std::string const netns = freshNetns();
    auto const scheduler = Kiln::simulatedTaskSchedulerFactory();
    auto dp = Cog::make<Pbr::NftDataplane>(scheduler, netns);
    if (!dp->error().empty()) {
      state.SkipWithError(dp->error().c_str());
      dropNetns(netns);
      break;
    }
    bool installed = false;
    state.ResumeTiming();
    dp->programIs(Nwk::IntfId("eth0"), program, [&installed](Pbr::ProgramResult const& r) {
      installed = !r.empty() && r.front().installed;
    });
    scheduler->runUntilNoWork(3600);
    state.PauseTiming();
    if (!installed) {
      state.SkipWithError("program failed");
    }
    dp = nullptr;
    dropNetns(netns);
    state.ResumeTiming();
  }
  state.counters["entries"] = entries;
}

void BM_NftFile(benchmark::State& state) {
  auto const entries = static_cast<std::uint32_t>(state.range(0));
  std::string const file = "/tmp/orbnftbench-" + std::to_string(::getpid()) + ".nft";
  std::ofstream(file) << rulesetOf(entries);
  for (auto _ : state) {
    state.PauseTiming();
    std::string const netns = freshNetns();
    state.ResumeTiming();
    int const rc = std::system(("ip netns exec " + netns + " nft -f " + file).c_str());
    state.PauseTiming();
    if (rc != 0) {
      state.SkipWithError("nft -f failed");
    }
    dropNetns(netns);
    state.ResumeTiming();
  }
  std::remove(file.c_str());
  state.counters["entries"] = entries;
}

BENCHMARK(BM_NftDataplaneProgram)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK(BM_NftFile)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);

}  // namespace
