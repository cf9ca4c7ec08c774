#include "OrbFlowspec/translation/NumericalRangeExpansion.h"

#include <algorithm>
#include <sstream>

#include "OrbFlowspec/translation/DscpExpansion.h"
#include "platform/cog/Assert.h"
#include "platform/nwk/RangeMaskGen.h"
#include "platform/trace/Trace.h"

namespace OrbFlowspec {

using Flowspec::MatchCompType;
using Flowspec::NumericalRange;

namespace {
Trace::Handle gTrace("FlowspecNumericalRangeExpansion");
}  // namespace

template <class Spec>
Spec getAclSpec(NumericalRange const& range) {
  if (range.rangeMin() == range.rangeMax()) {
    return Spec(Acl::RangeOperator::eq, std::to_string(range.rangeMin()));
  }
  return Spec(Acl::RangeOperator::range,
              std::to_string(range.rangeMin()) + " " + std::to_string(range.rangeMax()));
}

template Acl::PortSpec getAclSpec<Acl::PortSpec>(NumericalRange const&);
template Acl::IpLenSpec getAclSpec<Acl::IpLenSpec>(NumericalRange const&);

Acl::PortSpec intersectPortSpecWithRange(Acl::PortSpec const& spec, NumericalRange const& range) {
  if (spec == Acl::PortSpec()) {
    return getAclSpec<Acl::PortSpec>(range);
  }
  std::istringstream ports{std::string(spec.valueText())};
  std::uint32_t first = 0;
  std::uint32_t second = 0;
  ports >> first;
  if (spec.op() == Acl::RangeOperator::eq) {
    second = first;
  } else {
    ports >> second;
  }
  NumericalRange const common = NumericalRange(first, second).rangeIntersection(range);
  if (!common.isValid()) {
    return Acl::PortSpec();
  }
  return getAclSpec<Acl::PortSpec>(common);
}

namespace {

constexpr std::uint8_t icmpProtocol(Acl::IpFilter const&) { return 1; }
constexpr std::uint8_t icmpProtocol(Acl::Ip6Filter const&) { return 58; }

}  // namespace

template <class RuleFilter>
void expandRuleForNumericalRange(Flowspec::MatchComponent const& matchComp, RuleFilter& ruleFilter,
                                 std::queue<RuleFilter>& queue) {
  COG_ASSERT(matchComp.matchTypeNumericalRange());
  std::size_t const before = queue.size();
  for (NumericalRange const& range : matchComp.numericalRange()) {
    TRACE(gTrace, 2, "Expanding ", matchComp, " for range ", range);
    std::uint32_t const lo = range.rangeMin();
    std::uint32_t const hi = range.rangeMax();
    switch (matchComp.matchCompType()) {
      case MatchCompType::ipProtocol:
        if (lo < 256) {
          Nwk::RangeMaskGen<std::uint8_t>::run(static_cast<std::uint8_t>(lo),
                                               static_cast<std::uint8_t>(std::min(hi, 255u)),
                                               [&](auto const& entry) {
                                                 ruleFilter.protocolIs(entry.start);
                                                 ruleFilter.protocolMaskIs(entry.mask);
                                                 queue.push(ruleFilter);
                                               });
        } else {
          TRACE(gTrace, 2, "Invalid matchComponent value ", matchComp);
        }
        break;
      case MatchCompType::port: {
        COG_ASSERT(ruleFilter.sport() == Acl::PortSpec());
        COG_ASSERT(ruleFilter.dport() == Acl::PortSpec());
        Acl::PortSpec const spec = getAclSpec<Acl::PortSpec>(range);
        // Source or destination: one entry for each.
        ruleFilter.sportIs(spec);
        queue.push(ruleFilter);
        ruleFilter.sportIs(Acl::PortSpec());
        ruleFilter.dportIs(spec);
        queue.push(ruleFilter);
        ruleFilter.dportIs(Acl::PortSpec());
        break;
      }
      case MatchCompType::destinationPort:
      case MatchCompType::sourcePort: {
        bool const destination = matchComp.matchCompType() == MatchCompType::destinationPort;
        Acl::PortSpec const current = destination ? ruleFilter.dport() : ruleFilter.sport();
        Acl::PortSpec const spec = intersectPortSpecWithRange(current, range);
        if (spec) {
          destination ? ruleFilter.dportIs(spec) : ruleFilter.sportIs(spec);
          queue.push(ruleFilter);
          destination ? ruleFilter.dportIs(current) : ruleFilter.sportIs(current);
        } else {
          TRACE(gTrace, 2, "Invalid rule intersection of ", current, " with ", range);
        }
        break;
      }
      case MatchCompType::icmpType:
      case MatchCompType::icmpCode:
        for (std::uint32_t v = lo; v <= std::min(hi, 255u); ++v) {
          ruleFilter.protocolIs(icmpProtocol(ruleFilter));
          ruleFilter.protocolMaskIs(0xFF);
          if (matchComp.matchCompType() == MatchCompType::icmpType) {
            ruleFilter.icmpTypeIs(static_cast<std::uint8_t>(v));
          } else {
            ruleFilter.icmpCodeIs(static_cast<std::uint8_t>(v));
          }
          queue.push(ruleFilter);
        }
        break;
      case MatchCompType::packetLength:
        ruleFilter.ipLenIs(getAclSpec<Acl::IpLenSpec>(range));
        queue.push(ruleFilter);
        break;
      case MatchCompType::dscp:
        if (lo < 64) {
          for (std::uint32_t v = lo; v <= std::min(hi, 63u); ++v) {
            expandRuleForDscp(v, ruleFilter, queue);
          }
        } else {
          TRACE(gTrace, 2, "Invalid matchComponent value ", matchComp);
        }
        break;
      case MatchCompType::flowLabel:
        TRACE(gTrace, 2, "Unsupported flowLabel in matchComponent ", matchComp);
        break;
      default:
        TRACE(gTrace, 2, "Unknown matchComponent ", matchComp);
        COG_ASSERT(false && "unknown match component");
    }
  }
  TRACE(gTrace, 2, "matchComp ", matchComp, " expanded into #", queue.size() - before,
        " rule filters");
}

template void expandRuleForNumericalRange(Flowspec::MatchComponent const&, Acl::IpFilter&,
                                          std::queue<Acl::IpFilter>&);
template void expandRuleForNumericalRange(Flowspec::MatchComponent const&, Acl::Ip6Filter&,
                                          std::queue<Acl::Ip6Filter>&);

}  // namespace OrbFlowspec
