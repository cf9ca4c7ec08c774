// Digestion checked against an independent evaluator of operator/value lists, written from the
// flowspec operator semantics, over every value of the field.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "OrbFlowspec/digestion/RuleSetSm.h"
#include "platform/kiln/TaskScheduler.h"
#include "platform/trace/CaptureSink.h"

namespace {

using Flowspec::MatchCompType;

struct Pair {
  std::uint8_t op;  // logical bits | AND
  std::uint32_t value;
};

// RFC semantics of one numeric pair; values above the field are clamped first (documented).
bool numericPairAccepts(Pair const& p, std::uint32_t x, std::uint32_t max) {
  std::uint32_t const v = std::min(p.value, max);
  return ((p.op & 4) && x < v) || ((p.op & 2) && x > v) || ((p.op & 1) && x == v);
}

// RFC semantics of one bitmask pair on the field's bits.
bool bitmaskPairAccepts(Pair const& p, std::uint32_t data, std::uint32_t width) {
  std::uint32_t const v = p.value & width;
  bool const result = (p.op & 1) ? (data & v) == v : (data & v) != 0;
  return (p.op & 2) ? !result : result;
}

// A list is an OR of AND terms; also reports whether some pair or some term selects nothing,
// which digestion cannot express.
template <class PairAccepts>
std::vector<bool> evaluate(std::vector<Pair> const& pairs, std::uint32_t max, PairAccepts accepts,
                           bool* someEmpty) {
  std::vector<std::vector<Pair>> terms;
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    if (i == 0 || !(pairs[i].op & 0x40)) {
      terms.emplace_back();
    }
    terms.back().push_back(pairs[i]);
  }
  std::vector<bool> accepted(max + 1, false);
  *someEmpty = false;
  for (auto const& term : terms) {
    bool termAny = false;
    for (auto const& p : term) {
      bool pairAny = false;
      for (std::uint32_t x = 0; x <= max && !pairAny; ++x) {
        pairAny = accepts(p, x);
      }
      *someEmpty = *someEmpty || !pairAny;
    }
    for (std::uint32_t x = 0; x <= max; ++x) {
      bool all = true;
      for (auto const& p : term) {
        all = all && accepts(p, x);
      }
      termAny = termAny || all;
      accepted[x] = accepted[x] || all;
    }
    *someEmpty = *someEmpty || !termAny;
  }
  return accepted;
}

// Whether the list accepts x: some AND term accepts it.
template <class PairAccepts>
bool listAccepts(std::vector<Pair> const& pairs, std::uint32_t x, PairAccepts accepts) {
  for (std::size_t i = 0; i < pairs.size();) {
    bool term = true;
    std::size_t j = i;
    do {
      term = term && accepts(pairs[j], x);
      ++j;
    } while (j < pairs.size() && (pairs[j].op & 0x40));
    if (term) {
      return true;
    }
    i = j;
  }
  return false;
}

class DigestionTest : public ::testing::Test {
 protected:
  DigestionTest() {
    walker->sanitizeRuleConfigIs(false);
    scheduler->runUntilIdle();
  }

  // Publishes a rule of one component and returns its VRF's digested configuration.
  Flowspec::FlowspecKey publish(MatchCompType type, std::vector<Pair> const& pairs,
                                Nwk::AddressFamily af = Nwk::AddressFamily::ipv6) {
    Flowspec::FlowspecKey key(af);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
      key.opValAppend(type,
                      Flowspec::canonicalOpByte(pairs[i].op, pairs[i].value, i + 1 == pairs.size()),
                      pairs[i].value);
    }
    Flowspec::Rule rule;
    rule.key = Flowspec::FlowspecTidalKey(1, key);
    rule.ruleId = ++ruleId;
    ruleSet->ruleIs(rule);
    return key;
  }

  std::uint64_t ruleId = 0;
  Cog::Ptr<Kiln::TaskScheduler> scheduler = Kiln::simulatedTaskSchedulerFactory();
  Cog::Ptr<Flowspec::RuleSet> ruleSet = Cog::make<Flowspec::RuleSet>();
  Cog::Ptr<Flowspec::Config> config = Cog::make<Flowspec::Config>();
  Cog::Ptr<OrbFlowspec::RuleSetSm> walker =
      OrbFlowspec::ruleSetSmFactory(scheduler, ruleSet, config);
};

TEST_F(DigestionTest, NumericListsMatchTheirSemanticsOverEveryValue) {
  std::mt19937 rng(11);
  MatchCompType const types[] = {MatchCompType::ipProtocol, MatchCompType::destinationPort,
                                 MatchCompType::icmpCode,   MatchCompType::packetLength,
                                 MatchCompType::dscp,       MatchCompType::flowLabel};
  for (int round = 0; round < 400; ++round) {
    MatchCompType const type = types[rng() % 6];
    std::uint32_t const max = Flowspec::NumericalRange::matchCompTypeMax(type);
    std::vector<Pair> pairs;
    int const n = 1 + static_cast<int>(rng() % 4);
    for (int i = 0; i < n; ++i) {
      std::uint32_t value = static_cast<std::uint32_t>(rng() % (max + 2));
      if (rng() % 5 == 0) {
        value = rng() % 3 == 0 ? 0 : max;
      }
      pairs.push_back(Pair{static_cast<std::uint8_t>((rng() % 8) | (i && rng() % 2 ? 0x40 : 0)),
                           std::min(value, Flowspec::FlowspecKey::kMaxValue)});
    }
    auto const key = publish(type, pairs);
    bool someEmpty = false;
    // The 20-bit flow label is checked at every range boundary and on samples; the others whole.
    std::uint32_t const evalMax = type == MatchCompType::flowLabel ? 4095 : max;
    auto accepts = [&](Pair const& p, std::uint32_t x) { return numericPairAccepts(p, x, max); };
    auto const vrf = config->vrfRuleConfig(1);
    ASSERT_TRUE(vrf);
    auto const rule = vrf->rule(key);
    if (type != MatchCompType::flowLabel) {
      auto const expected = evaluate(pairs, evalMax, accepts, &someEmpty);
      bool const anyAccepted = std::find(expected.begin(), expected.end(), true) != expected.end();
      ASSERT_EQ(rule == nullptr, someEmpty || !anyAccepted) << key;
      if (!rule) {
        EXPECT_EQ(vrf->infeasibleRule(key)->matchCompType(), type);
        continue;
      }
      auto const component = rule->matchSet(type);
      auto const& ranges = component.numericalRange();
      for (std::uint32_t x = 0; x <= max; ++x) {
        bool inRanges = false;
        for (auto const& r : ranges) {
          inRanges = inRanges || (x >= r.rangeMin() && x <= r.rangeMax());
        }
        ASSERT_EQ(inRanges, static_cast<bool>(expected[x])) << key << " at " << x;
      }
      // Disjoint, sorted and maximal: no two ranges touch.
      std::uint32_t previousEnd = 0;
      bool first = true;
      for (auto const& r : ranges) {
        ASSERT_TRUE(first || r.rangeMin() > previousEnd + 1) << key;
        previousEnd = r.rangeMax();
        first = false;
      }
    } else if (rule) {
      // Every range boundary, and the values just outside, against the list.
      auto const component = rule->matchSet(type);
      auto const& ranges = component.numericalRange();
      auto inRanges = [&ranges](std::uint32_t x) {
        for (auto const& r : ranges) {
          if (x >= r.rangeMin() && x <= r.rangeMax()) {
            return true;
          }
        }
        return false;
      };
      for (auto const& r : ranges) {
        for (std::int64_t x : {std::int64_t{r.rangeMin()} - 1, std::int64_t{r.rangeMin()},
                               std::int64_t{r.rangeMax()}, std::int64_t{r.rangeMax()} + 1}) {
          if (x < 0 || x > max) {
            continue;
          }
          auto const value = static_cast<std::uint32_t>(x);
          ASSERT_EQ(inRanges(value), listAccepts(pairs, value, accepts)) << key << " at " << x;
        }
      }
      for (int sample = 0; sample < 200; ++sample) {
        auto const value = static_cast<std::uint32_t>(rng() % (max + 1));
        ASSERT_EQ(inRanges(value), listAccepts(pairs, value, accepts)) << key << " at " << value;
      }
    }
  }
}

TEST_F(DigestionTest, BitmaskListsMatchTheirSemanticsOverEveryBitCombination) {
  std::mt19937 rng(5);
  for (int round = 0; round < 600; ++round) {
    bool const tcp = rng() % 2;
    MatchCompType const type = tcp ? MatchCompType::tcpFlags : MatchCompType::fragment;
    std::uint32_t const width = tcp ? 0x1FF : 0xF;
    std::vector<Pair> pairs;
    int const n = 1 + static_cast<int>(rng() % 3);
    for (int i = 0; i < n; ++i) {
      std::uint32_t value = static_cast<std::uint32_t>(rng() % (width + 1));
      if (rng() % 8 == 0) {
        value |= width + 1;  // bits beyond the field are ignored
      }
      pairs.push_back(
          Pair{static_cast<std::uint8_t>((rng() % 4) | (i && rng() % 2 ? 0x40 : 0)), value});
    }
    auto const key = publish(type, pairs, Nwk::AddressFamily::ipv4);
    bool someEmpty = false;
    auto accepts = [&](Pair const& p, std::uint32_t data) {
      return bitmaskPairAccepts(p, data, width);
    };
    auto const expected = evaluate(pairs, width, accepts, &someEmpty);
    bool zeroPair = false;
    for (auto const& p : pairs) {
      zeroPair = zeroPair || (p.value & width) == 0;
    }
    bool const anyAccepted = std::find(expected.begin(), expected.end(), true) != expected.end();
    auto const vrf = config->vrfRuleConfig(1);
    auto const rule = vrf->rule(key);
    ASSERT_EQ(rule == nullptr, zeroPair || someEmpty || !anyAccepted) << key;
    if (!rule) {
      continue;
    }
    auto const component = rule->matchSet(type);
    for (std::uint32_t data = 0; data <= width; ++data) {
      bool matched = false;
      for (auto const& m : component.tcpBitMask()) {
        matched = matched || (data & m.mask()) == m.value();
      }
      for (auto const& m : component.ipBitMask()) {
        matched = matched || (data & m.mask()) == m.value();
      }
      ASSERT_EQ(matched, static_cast<bool>(expected[data])) << key << " at " << data;
    }
  }
}

TEST_F(DigestionTest, KnownCases) {
  auto digest = [&](std::string const& text) -> std::string {
    Flowspec::FlowspecKey key;
    key.copyInStringValue(text);
    Flowspec::Rule rule;
    rule.key = Flowspec::FlowspecTidalKey(2, key);
    rule.ruleId = 9;
    ruleSet->ruleIs(rule);
    auto const vrf = config->vrfRuleConfig(2);
    if (auto const infeasible = vrf->infeasibleRule(key)) {
      return "infeasible " + std::to_string(static_cast<unsigned>(infeasible->matchCompType()));
    }
    std::string out;
    for (auto const& [type, component] : vrf->rule(key)->matchSet()) {
      out += (out.empty() ? "" : "; ") + component.toStrep();
    }
    return out;
  };
  EXPECT_EQ(digest("ipv4 dport >=1024&<=2048"), "dport [1024, 2048]");
  EXPECT_EQ(digest("ipv4 dport =80|=443"), "dport [80, 80] [443, 443]");
  EXPECT_EQ(digest("ipv4 dport >=80&<=90|>=85&<=100"), "dport [80, 100]");
  EXPECT_EQ(digest("ipv4 dport <0"), "infeasible 5");
  EXPECT_EQ(digest("ipv4 dport >65535"), "infeasible 5");
  EXPECT_EQ(digest("ipv4 dport !=0"), "dport [1, 65535]");
  EXPECT_EQ(digest("ipv4 dport !=65535"), "dport [0, 65534]");
  EXPECT_EQ(digest("ipv4 dport =70000"), "dport [65535, 65535]");
  EXPECT_EQ(digest("ipv4 dport =5&=6"), "infeasible 5");
  EXPECT_EQ(digest("ipv4 tcp-flags =syn"), "tcp-flags {syn}");
  EXPECT_EQ(digest("ipv4 tcp-flags !=syn"), "tcp-flags {!syn}");
  EXPECT_EQ(digest("ipv4 tcp-flags syn+ack"), "tcp-flags {syn} {ack}");
  EXPECT_EQ(digest("ipv4 tcp-flags =syn&!=ack"), "tcp-flags {syn !ack}");
  EXPECT_EQ(digest("ipv4 tcp-flags =syn&!=syn"), "infeasible 9");
  EXPECT_EQ(digest("ipv4 tcp-flags #0x81:0x200"), "infeasible 9");
  EXPECT_EQ(digest("ipv4 dst 10.0.0.0/8 src 192.0.2.0/24"), "dst 10.0.0.0/8; src 192.0.2.0/24");
  EXPECT_EQ(digest("ipv4 type14 #0x81:5"), "infeasible 14");
  // A repeated component would replace the first one's match: infeasible, never port 443 alone.
  EXPECT_EQ(digest("ipv4 raw dport =80 sport =1 dport =443"), "infeasible 5");
}

TEST_F(DigestionTest, ClampingIsTraced) {
  Trace::ScopedTextLevel level("FlowspecNumericalRangeGroup", 8);
  Trace::ScopedCapture capture;
  publish(MatchCompType::destinationPort, {{0x01, 70000}}, Nwk::AddressFamily::ipv4);
  EXPECT_TRUE(capture->contains("value overflow"));
  EXPECT_TRUE(capture->contains(
      "matchOpVal {type 5, op 0xa1, value 70000, next 0}, value 0x11170, max 0xffff"));
  EXPECT_TRUE(capture->contains("final merged range [65535, 65535]"));
}

}  // namespace
