// The exactness note: what it says for each kind of inexact value, and, for random rules, that
// the rule rewritten as the note says installs exactly the same ACL entries.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <vector>

#include "OrbFlowspec/digestion/RuleSetSm.h"
#include "OrbFlowspec/translation/ClassMapMatchBuilder.h"
#include "agent/ExactnessNote.h"
#include "models/flowspec/MatchComponent.h"
#include "platform/kiln/TaskScheduler.h"

namespace {

using Flowspec::MatchCompType;

std::string noteOf(std::string const& text) {
  std::string error;
  auto const key = Flowspec::FlowspecKey::parse(text, &error);
  EXPECT_TRUE(key) << text << ": " << error;
  return key ? Agent::exactnessNote(*key) : "<unparsed>";
}

TEST(ExactnessNote, NamesEachClampedOrMaskedValueInComponentOrder) {
  std::vector<std::pair<std::string, std::string>> const cases = {
      {"ipv4 dport =70000", "clamped dport 70000 → 65535"},
      {"ipv4 dscp =70", "clamped dscp 70 → 63"},
      {"ipv4 tcp-flags =0x1000", "masked tcp-flags 0x1000 → 0x0"},
      {"ipv4 tcp-flags !0x1012", "masked tcp-flags 0x1012 → 0x12"},
      {"ipv4 frag =0x12", "masked frag 0x12 → 0x2"},
      // Noted whatever the operator: digestion clamps before it looks at it.
      {"ipv6 proto <=256 port >=80&<=1048575",
       "clamped proto 256 → 255; clamped port 1048575 → 65535"},
      {"ipv4 dst 10.0.0.0/8 sport =1|=65536 icmp-type =300 icmp-code =256 tcp-flags 0x202 "
       "len >70000 dscp !=64",
       "clamped sport 65536 → 65535; clamped icmp-type 300 → 255; clamped icmp-code 256 → 255; "
       "masked tcp-flags 0x202 → 0x2; clamped len 70000 → 65535; clamped dscp 64 → 63"},
      // Every component type at its largest exact value.
      {"ipv4 dst 10.0.0.0/8 src 10.1.0.0/16 proto =255 port =65535 dport <=65535 sport >=65535 "
       "icmp-type =255 icmp-code !=255 tcp-flags =fin+syn+rst+psh+ack+urg+ece+cwr+ns len =65535 "
       "dscp =63 frag =df+isf+ff+lf",
       ""},
      {"ipv6 dst 2001:db8::/32 src 2001:db8:1::/48 proto =6 tcp-flags !ns dscp <=63 "
       "flow-label =1048575",
       ""},
      {"ipv4", ""},
      // Refused by digestion before any value is read.
      {"ipv4 raw dscp =70 dport =70000", ""},
      {"ipv4 type0 #0x81:5 dscp =70", ""},
  };
  for (auto const& [text, expected] : cases) {
    EXPECT_EQ(noteOf(text), expected) << text;
  }
}

// Digests rules as the agent does and translates them into ACL entries.
class Installer {
 public:
  // The ACL entries of the rule, or the infeasible or untranslatable component's type.
  std::string installed(Flowspec::FlowspecKey const& key) {
    Flowspec::Rule rule;
    rule.key = Flowspec::FlowspecTidalKey(1, key);
    rule.ruleId = 1;
    ruleSet_->ruleIs(rule);
    scheduler_->runUntilIdle();
    auto const vrf = config_->vrfRuleConfig(1);
    std::ostringstream out;
    if (auto const infeasible = vrf->infeasibleRule(key)) {
      out << "infeasible " << infeasible->matchCompType();
    } else {
      auto const ruleConfig = vrf->rule(key);
      bool const ipv4 = key.af() == Nwk::AddressFamily::ipv4;
      auto const match = Cog::make<PolicyMap::ClassMapMatch>(
          ipv4 ? PolicyMap::ClassMapMatchOption::matchIpAccessGroup
               : PolicyMap::ClassMapMatchOption::matchIpv6AccessGroup);
      MatchCompType const result =
          ipv4 ? OrbFlowspec::updateClassMapMatch<Acl::IpFilter>(ruleConfig, match)
               : OrbFlowspec::updateClassMapMatch<Acl::Ip6Filter>(ruleConfig, match);
      out << "result " << result;
      for (auto const& [seq, entry] : match->ipRule()) {
        out << "\n" << seq << " " << entry.toStrep();
      }
      for (auto const& [seq, entry] : match->ip6Rule()) {
        out << "\n" << seq << " " << entry.toStrep();
      }
    }
    ruleSet_->ruleDel(rule.key);
    scheduler_->runUntilIdle();
    return out.str();
  }

 private:
  Cog::Ptr<Kiln::TaskScheduler> scheduler_ = Kiln::simulatedTaskSchedulerFactory();
  Cog::Ptr<Flowspec::RuleSet> ruleSet_ = Cog::make<Flowspec::RuleSet>();
  Cog::Ptr<Flowspec::Config> config_ = Cog::make<Flowspec::Config>();
  Cog::Ptr<OrbFlowspec::RuleSetSm> walker_ =
      OrbFlowspec::ruleSetSmFactory(scheduler_, ruleSet_, config_);
};

// The key with each noted value replaced as its note says: the notes are taken in order and
// each applies to the first later pair of its component whose value it names.
Flowspec::FlowspecKey rewrittenAsNoted(Flowspec::FlowspecKey const& key, std::string const& note) {
  Flowspec::FlowspecKey out(key.af());
  out.destinationPrefixIs(key.destinationPrefix());
  out.sourcePrefixIs(key.sourcePrefix());
  std::istringstream notes(note);
  std::string verb, name, from, arrow, to;
  auto const nextNote = [&] {
    bool const read = static_cast<bool>(notes >> verb >> name >> from >> arrow >> to);
    if (to.ends_with(";")) {
      to.pop_back();
    }
    return read;
  };
  bool pending = nextNote();
  for (auto const& pair : key.opVals()) {
    std::uint32_t value = pair.value;
    if (pending && name == Flowspec::compTypeName(pair.type) &&
        std::stoul(from, nullptr, 0) == pair.value) {
      EXPECT_EQ(arrow, "→");
      EXPECT_EQ(verb, Flowspec::isBitMaskType(pair.type) ? "masked" : "clamped");
      value = static_cast<std::uint32_t>(std::stoul(to, nullptr, 0));
      pending = nextNote();
    }
    out.opValAppend(pair.type, pair.op, value);
  }
  EXPECT_FALSE(pending) << "a note names no pair: " << note;
  return out;
}

// Random values straddling each field's maximum and the defined bitmask bits, with random
// operators: every value outside its field is noted, and whatever digestion and translation do
// with it, they do the same with the value the note gives.
TEST(ExactnessNote, RewritingTheRuleAsNotedInstallsTheSameEntries) {
  std::mt19937 rng(5);
  Installer installer;
  // The header fields' widths, as the RFCs give them: the largest value, or the defined bits.
  std::pair<MatchCompType, std::uint32_t> const fields[] = {
      {MatchCompType::ipProtocol, 255},   {MatchCompType::destinationPort, 65535},
      {MatchCompType::sourcePort, 65535}, {MatchCompType::icmpType, 255},
      {MatchCompType::tcpFlags, 0x1FF},   {MatchCompType::packetLength, 65535},
      {MatchCompType::dscp, 63},          {MatchCompType::fragment, 0xF}};
  int noted = 0;
  for (int round = 0; round < 300; ++round) {
    Flowspec::FlowspecKey key(round % 2 ? Nwk::AddressFamily::ipv6 : Nwk::AddressFamily::ipv4);
    std::size_t inexact = 0;
    for (auto const& [type, max] : fields) {
      if (rng() % 3 != 0) {
        continue;
      }
      bool const bitmask = Flowspec::isBitMaskType(type);
      int const n = 1 + static_cast<int>(rng() % 3);
      for (int i = 0; i < n; ++i) {
        std::uint32_t value = max - 2 + static_cast<std::uint32_t>(rng() % 5);
        if (rng() % 4 == 0) {
          value = static_cast<std::uint32_t>(rng() % (Flowspec::FlowspecKey::kMaxValue + 1));
        }
        inexact += bitmask ? (value & ~max) != 0 : value > max;
        std::uint8_t const logical = static_cast<std::uint8_t>((bitmask ? rng() % 4 : rng() % 8) |
                                                               (i && rng() % 2 ? 0x40 : 0));
        key.opValAppend(type, Flowspec::canonicalOpByte(logical, value, i + 1 == n), value);
      }
    }
    std::string const note = Agent::exactnessNote(key);
    Flowspec::FlowspecKey const rewritten = rewrittenAsNoted(key, note);
    EXPECT_EQ(Agent::exactnessNote(rewritten), "") << key;
    std::size_t const notes =
        note.empty() ? 0 : 1 + static_cast<std::size_t>(std::count(note.begin(), note.end(), ';'));
    EXPECT_EQ(notes, inexact) << key << ": " << note;
    EXPECT_EQ(installer.installed(key), installer.installed(rewritten)) << key << ": " << note;
    noted += !note.empty();
  }
  EXPECT_GT(noted, 100);
}

}  // namespace
