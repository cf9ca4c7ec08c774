#pragma once

#include <cstdint>

#include "models/flowspec/Actions.h"
#include "models/flowspec/FlowspecTidalKey.h"
#include "platform/nwk/IpTos.h"
#include "platform/tidal/Table.h"

namespace Flowspec {

// One raw rule as the routing process publishes it in the shared rule table. A lookup of an
// absent key yields a default-constructed Rule, which is how absence is recognised.
struct Rule {
  FlowspecTidalKey key;
  std::uint64_t ruleId = 0;
  ActionFieldSet actionFieldSet;
  float trafficRateLimit = 0.0f;  // bytes per second
  TrafficAction trafficAction;
  TrafficRedirect trafficRedirect;
  Nwk::IpTos trafficMarkingDscp;

  bool operator==(Rule const&) const = default;
};

// The raw rule table, keyed by the rule's table key. Its reactors hear handleRule(key) for
// every changed key.
class RuleSet : public Tidal::Table<FlowspecTidalKey, Rule> {
 public:
  class Reactor : public Tidal::Table<FlowspecTidalKey, Rule>::Reactor {
   public:
    explicit Reactor(Cog::Ptr<RuleSet const> const& ruleSet)
        : Tidal::Table<FlowspecTidalKey, Rule>::Reactor(ruleSet) {}
    virtual void handleRule(FlowspecTidalKey const&) {}

   private:
    void handleEntry(FlowspecTidalKey const& key) final { handleRule(key); }
  };

  using Tidal::Table<FlowspecTidalKey, Rule>::Table;

  Rule rule(FlowspecTidalKey const& key) const { return entry(key); }
  void ruleIs(Rule const& rule) { entryIs(rule.key, rule); }
  void ruleDel(FlowspecTidalKey const& key) { entryDel(key); }
};

}  // namespace Flowspec
