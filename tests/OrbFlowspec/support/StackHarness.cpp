#include "tests/OrbFlowspec/support/StackHarness.h"

#include <map>
#include <sstream>

#include "agent/Show.h"

namespace OrbFlowspecTest {

StackHarness::StackHarness()
    : scheduler(Kiln::simulatedTaskSchedulerFactory()),
      hardware(Cog::make<Pbr::HardwareModel>(scheduler, records.aclStatusDp)) {
  hardware->lineCardIs(kLineCard, 1'000'000, 1'000'000, 1024);
}

StackHarness::~StackHarness() { stop(); }

void StackHarness::start() {
  root = OrbFlowspec::flowspecSmFactory(records.mounts, hardware, scheduler,
                                        scheduler->timerWheel(), records.ocsd);
}

void StackHarness::stop() { root = nullptr; }

void StackHarness::vrfIs(Vrf::VrfIdMap::VrfId vrfId, std::string const& name) {
  vrfIdStatus->vrfEntryIs(vrfId, name);
}

void StackHarness::vrfDel(Vrf::VrfIdMap::VrfId vrfId) { vrfIdStatus->vrfEntryDel(vrfId); }

void StackHarness::intfIs(std::string const& intf, std::string const& vrf) {
  hardware->intfIs(Nwk::IntfId(intf), kLineCard);
  l3StatusDir->intfStatusIs(Nwk::IntfId(intf))->vrfIs(vrf);
}

void StackHarness::intfDel(std::string const& intf) {
  l3StatusDir->intfStatusDel(Nwk::IntfId(intf));
}

void StackHarness::enabledIntfIs(std::string const& intf, Flowspec::IpVersion version) {
  cliConfig->enabledIntfIs(Nwk::IntfId(intf), version);
}

void StackHarness::enabledIntfAllIs(bool all) { config->enabledIntfAllIs(all); }

Flowspec::FlowspecTidalKey StackHarness::ruleIs(Vrf::VrfIdMap::VrfId vrfId,
                                                std::string const& match, std::uint64_t ruleId,
                                                Flowspec::ActionFieldSet actions,
                                                Flowspec::TrafficRedirect redirect) {
  Flowspec::FlowspecKey key;
  key.copyInStringValue(match);
  Flowspec::Rule rule;
  rule.key = Flowspec::FlowspecTidalKey(vrfId, key);
  rule.ruleId = ruleId;
  rule.actionFieldSet = actions;
  rule.trafficRedirect = redirect;
  ruleSet->ruleIs(rule);
  return rule.key;
}

void StackHarness::ruleIs(Flowspec::Rule const& rule) { ruleSet->ruleIs(rule); }

void StackHarness::ruleDel(Vrf::VrfIdMap::VrfId vrfId, std::string const& match) {
  Flowspec::FlowspecKey key;
  key.copyInStringValue(match);
  ruleSet->ruleDel(Flowspec::FlowspecTidalKey(vrfId, key));
}

void StackHarness::runUntilIdle() { scheduler->runUntilIdle(); }

void StackHarness::runFor(double seconds) { scheduler->runFor(seconds); }

void StackHarness::settle() { scheduler->runUntilNoWork(24 * 3600.0); }

std::string StackHarness::outputs() const {
  Kiln::DumpContext digested;
  config->dumpState(&digested, 0);
  return digested.text() + "\n" + (root ? Agent::showFlowspec(*root) : std::string());
}

}  // namespace OrbFlowspecTest
