// Actions: sharing between classes, find-or-create with the reinstantiation check, dump texts.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "models/pbr/PbrFwdAction.h"
#include "models/policymap/ClassAction.h"

namespace {

using PolicyMap::ActionType;

Nwk::IpGenAddr addr(char const* text) { return *Nwk::IpGenAddr::parse(text); }

// Actions kept as children keyed by name, the way a builder that owns them keeps them.
class ActionTable : public Cog::Entity {
 public:
  COG_RECORD(ActionTable, (orderedChildren, Cog::String, PolicyMap::Action, action, Action),
             (orderedChildren, Cog::String, PolicyMap::PoliceAction, police, Police),
             (orderedChildren, Cog::String, PolicyMap::SetDscpAction, setDscp, SetDscp),
             (orderedChildren, Cog::String, Pbr::PbrFwdAction, redirect, Redirect));
};

template <class F>
std::string reinstantiationText(F&& call) {
  try {
    call();
  } catch (Cog::ReinstantiationError const& error) {
    return error.what();
  }
  return "no error";
}

TEST(ActionChildren, SameNameAndIdIsTheSameObjectOtherIdThrows) {
  auto table = Cog::make<ActionTable>();
  Kiln::UniqueId const id(1, 7);
  auto const permit = table->actionIs("r1", ActionType::actionPermit, id);
  EXPECT_EQ(permit->actionType(), ActionType::actionPermit);
  EXPECT_EQ(table->actionIs("r1", ActionType::actionPermit, id), permit);
  EXPECT_EQ(reinstantiationText(
                [&] { table->actionIs("r1", ActionType::actionPermit, Kiln::UniqueId(1, 8)); }),
            "Reinstantiation of action with different arguments not allowed");
  EXPECT_EQ(reinstantiationText([&] { table->actionIs("r1", ActionType::actionDeny, id); }),
            "Reinstantiation of action with different arguments not allowed");
  EXPECT_EQ(table->action("r1"), permit);
  EXPECT_TRUE(permit->constructedWith("r1", id));
  EXPECT_FALSE(permit->constructedWith("r2", id));
}

TEST(ActionChildren, ParameterChangeOfEachKindThrows) {
  auto table = Cog::make<ActionTable>();
  Kiln::UniqueId const id(1, 9);
  auto const police = table->policeIs("r1", id, PolicyMap::PoliceRate{8000, 0});
  EXPECT_EQ(table->policeIs("r1", id, PolicyMap::PoliceRate{8000, 0}), police);
  EXPECT_EQ(reinstantiationText([&] {
              table->policeIs("r1", id, PolicyMap::PoliceRate{9000, 0});
            }),
            "Reinstantiation of police with different arguments not allowed");

  auto const dscp = table->setDscpIs("r1", id, PolicyMap::Dscp(10));
  EXPECT_EQ(table->setDscpIs("r1", id, PolicyMap::Dscp(10)), dscp);
  EXPECT_EQ(reinstantiationText([&] { table->setDscpIs("r1", id, PolicyMap::Dscp(11)); }),
            "Reinstantiation of setDscp with different arguments not allowed");

  auto const redirect = table->redirectIs("r1", id, Pbr::PbrActionType::pbrActionForward);
  EXPECT_EQ(redirect->actionType(), ActionType::actionPbrForward);
  EXPECT_EQ(table->redirectIs("r1", id, Pbr::PbrActionType::pbrActionForward), redirect);
  EXPECT_EQ(
      reinstantiationText([&] { table->redirectIs("r1", id, Pbr::PbrActionType::pbrActionDrop); }),
      "Reinstantiation of redirect with different arguments not allowed");
  EXPECT_EQ(reinstantiationText([&] {
              table->redirectIs("r1", Kiln::UniqueId(2, 9), Pbr::PbrActionType::pbrActionForward);
            }),
            "Reinstantiation of redirect with different arguments not allowed");
}

TEST(ClassAction, OneActionPerTypeSharedBetweenVersions) {
  auto const oldClass = Cog::make<PolicyMap::ClassAction>("r1");
  auto const newClass = Cog::make<PolicyMap::ClassAction>("r1");
  Kiln::UniqueId const id(1, 3);
  auto const permit = Cog::make<PolicyMap::Action>("r1", ActionType::actionPermit, id);
  auto const police = Cog::make<PolicyMap::PoliceAction>("r1", id, PolicyMap::PoliceRate{8000, 0});
  EXPECT_EQ(newClass->policyActions(), 0u);
  oldClass->policyActionIs(permit);
  oldClass->policyActionIs(police);
  newClass->policyActionIs(permit);
  newClass->policyActionIs(police);
  EXPECT_EQ(newClass->policyActions(), 2u);
  EXPECT_EQ(newClass->policyAction(ActionType::actionPolice),
            oldClass->policyAction(ActionType::actionPolice));
  // Another action of a type replaces the one there.
  auto const deny =
      Cog::make<PolicyMap::Action>("r1", ActionType::actionPermit, Kiln::UniqueId(1, 4));
  newClass->policyActionIs(deny);
  EXPECT_EQ(newClass->policyActions(), 2u);
  EXPECT_EQ(newClass->policyAction(ActionType::actionPermit), deny);
  EXPECT_EQ(oldClass->policyAction(ActionType::actionPermit), permit);
}

std::vector<std::string> dump(PolicyMap::Action const& action, int indent) {
  Kiln::DumpContext ctx;
  action.dumpState(&ctx, indent);
  return ctx.lines();
}

TEST(ActionDump, PoliceActionLineAtIndentZeroAndTwo) {
  auto const police = Cog::make<PolicyMap::PoliceAction>(
      "r1", Kiln::UniqueId(1, 42), PolicyMap::PoliceRate{18446744073709551615ull, 0});
  EXPECT_EQ(
      dump(*police, 0),
      (std::vector<std::string>{"PoliceAction r1 rate 18446744073709551615 bps burst 0 id 1, 42"}));
  EXPECT_EQ(dump(*police, 2),
            (std::vector<std::string>{
                "  PoliceAction r1 rate 18446744073709551615 bps burst 0 id 1, 42"}));
}

TEST(ActionDump, PbrFwdActionLineThenNexthopsTwoColumnsIn) {
  auto const redirect = Cog::make<Pbr::PbrFwdAction>("r1", Kiln::UniqueId(1, 5),
                                                     Pbr::PbrActionType::pbrActionForward);
  EXPECT_EQ(dump(*redirect, 0),
            (std::vector<std::string>{
                "PbrFwdAction r1 type forward vrf - recursive false allowResolutionByDefault false "
                "allowResolutionOverTunnel false id 1, 5"}));
  redirect->vrfNameIs(L3::VrfName("blue"));
  redirect->recursiveIs(true);
  redirect->allowResolutionByDefaultIs(true);
  redirect->nexthopIs(addr("10.1.0.2"), true);
  redirect->nexthopIs(addr("10.1.0.10"), false);
  EXPECT_EQ(
      dump(*redirect, 0),
      (std::vector<std::string>{
          "PbrFwdAction r1 type forward vrf blue recursive true allowResolutionByDefault true "
          "allowResolutionOverTunnel false id 1, 5",
          "  nexthop 10.1.0.2 inUse true", "  nexthop 10.1.0.10 inUse false"}));
  EXPECT_EQ(dump(*redirect, 2),
            (std::vector<std::string>{
                "  PbrFwdAction r1 type forward vrf blue recursive true allowResolutionByDefault "
                "true allowResolutionOverTunnel false id 1, 5",
                "    nexthop 10.1.0.2 inUse true", "    nexthop 10.1.0.10 inUse false"}));
}

TEST(ActionDump, PlainAndDscpActionsDispatchThroughTheBase) {
  Kiln::UniqueId const id(3, 1);
  auto const deny = Cog::make<PolicyMap::Action>("r2", ActionType::actionDeny, id);
  Cog::Ptr<PolicyMap::Action> const dscp =
      Cog::make<PolicyMap::SetDscpAction>("r2", id, PolicyMap::Dscp(46));
  EXPECT_EQ(dump(*deny, 2), (std::vector<std::string>{"  Action r2 type deny id 3, 1"}));
  EXPECT_EQ(dump(*dscp, 0), (std::vector<std::string>{"SetDscpAction r2 dscp 46 id 3, 1"}));
}

}  // namespace
