#include "models/flowspec/Status.h"

#include "models/flowspec/FlowspecUtil.h"

namespace Flowspec {

std::string IntfErrorKey::toStrep() const { return intfId.toStrep() + "," + Nwk::toStrep(af); }

std::string UnsupportedQual::toStrep() const {
  std::string out = "{";
  for (auto const& [type, name] : qual_) {
    out += out.size() > 1 ? ", " : "";
    out += std::to_string(static_cast<unsigned>(type)) + " " + name;
  }
  return out + "}";
}

void VrfRuleStatus::dumpState(Kiln::DumpContext* ctx, int indent) const {
  FlowspecUtil const util;
  Kiln::dumpf(ctx, indent, "VrfRuleStatus vrfId %u: ruleStatus #%zu\n", vrfId_,
              ruleStatus().size());
  for (auto const& [key, status] : ruleStatus()) {
    Kiln::dumpf(ctx, indent + 2, "%s: %s%s%s, packets %llu\n", key.stringValue().c_str(),
                util.statusCodeToStrep(status->statusCode()).c_str(),
                status->errorReason().empty() ? "" : ", reason ", status->errorReason().c_str(),
                static_cast<unsigned long long>(status->packetCount()));
  }
  for (auto const& [af, coll] : activeIntfPerAf()) {
    std::string intfs;
    for (auto const& intf : coll->intf()) {
      intfs += ' ';
      intfs += intf.toStrep();
    }
    Kiln::dumpf(ctx, indent + 2, "active %s:%s\n", Nwk::toStrep(af), intfs.c_str());
  }
  for (auto const& [key, reason] : intfError()) {
    Kiln::dumpf(ctx, indent + 2, "error %s: %s\n", key.toStrep().c_str(), reason.c_str());
  }
}

void Status::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "Status: flowspecSupported %s, vrfRuleStatus #%zu\n",
              flowspecSupported() ? "true" : "false", vrfRuleStatus().size());
  for (auto const& [af, qual] : unsupportedQual()) {
    Kiln::dumpf(ctx, indent + 2, "unsupportedQual %s %s\n", Nwk::toStrep(af),
                qual.toStrep().c_str());
  }
  for (auto const& [vrfId, vrfRuleStatus] : vrfRuleStatus()) {
    vrfRuleStatus->dumpState(ctx, indent + 2);
  }
}

}  // namespace Flowspec
