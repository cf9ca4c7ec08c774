#include "agent/CliRender.h"

#include <set>

#include "agent/TextTable.h"

namespace Agent {

namespace {

using nlohmann::json;

// A field as cell text: strings as they are, numbers in decimal, null and absent as empty.
std::string text(json const& object, char const* field) {
  if (!object.is_object()) {
    return {};
  }
  auto const found = object.find(field);
  if (found == object.end() || found->is_null()) {
    return {};
  }
  if (found->is_string()) {
    return found->get<std::string>();
  }
  if (found->is_boolean()) {
    return found->get<bool>() ? "on" : "off";
  }
  return found->dump();
}

json const& list(json const& object, char const* field) {
  static json const kEmpty = json::array();
  if (!object.is_object()) {
    return kEmpty;
  }
  auto const found = object.find(field);
  return found != object.end() && found->is_array() ? *found : kEmpty;
}

std::string joined(json const& values, std::string const& separator = ", ") {
  std::string out;
  for (auto const& value : values) {
    out += (out.empty() ? "" : separator) + (value.is_string() ? value.get<std::string>() : "");
  }
  return out;
}

// The error reason when there is one: it names the status and says more.
std::string statusCell(json const& rule) {
  std::string const reason = text(rule, "errorReason");
  return reason.empty() ? text(rule, "statusText") : reason;
}

std::string rules(json const& result, std::size_t width) {
  std::string out;
  for (auto const& vrf : list(result, "vrfs")) {
    auto const& each = list(vrf, "rules");
    out += "VRF " + text(vrf, "id") + " " + text(vrf, "name") + ": " + std::to_string(each.size()) +
           " rules\n";
    bool exactness = false;
    for (auto const& rule : each) {
      exactness = exactness || !text(rule, "exactness").empty();
    }
    std::vector<std::string> headers{"Prio", "Rule",    "Status",   "Action",
                                     "ACL",  "Packets", "Installed"};
    if (exactness) {
      headers.push_back("Exactness");
    }
    TextTable table(headers);
    // Failures are per interface and family, shared by the family's rules: listed once below.
    std::set<std::string> failures;
    for (auto const& rule : each) {
      table.rowIs({text(rule, "priority"), text(rule, "rule"), statusCell(rule),
                   text(rule, "action"), text(rule, "entries"), text(rule, "packets"),
                   joined(list(rule, "installed")), text(rule, "exactness")});
      for (auto const& failure : list(rule, "failed")) {
        failures.insert(text(failure, "interface") + ": " + text(failure, "error"));
      }
    }
    out += table.render(width);
    for (auto const& failure : failures) {
      out += "failed on " + failure + "\n";
    }
  }
  return out.empty() ? "no flowspec rules\n" : out;
}

std::string rule(json const& result, std::size_t width) {
  std::string out;
  for (auto const& each : list(result, "rules")) {
    out += "Rule:      " + text(each, "rule") + "\n";
    out += "VRF:       " + text(each, "vrfId") + " " + text(each, "vrf") + "\n";
    out += "Priority:  " + text(each, "priority") + "\n";
    out += "Status:    " + statusCell(each) + "\n";
    out += "Action:    " + text(each, "action") + "\n";
    out += "Packets:   " + text(each, "packets") + "\n";
    if (!text(each, "exactness").empty()) {
      out += "Exactness: " + text(each, "exactness") + "\n";
    }
    TextTable entries({"Seq", "ACL entry"});
    for (auto const& entry : list(each, "aclEntries")) {
      entries.rowIs({text(entry, "seq"), text(entry, "filter")});
    }
    out += entries.render(width);
    TextTable interfaces({"Interface", "Line card", "State", "Slot entries", "Error"});
    for (auto const& intf : list(each, "interfaces")) {
      interfaces.rowIs({text(intf, "interface"), text(intf, "lineCard"), text(intf, "state"),
                        text(intf, "slotEntries"), text(intf, "error")});
    }
    out += interfaces.render(width);
  }
  return out;
}

std::string unsupported(json const& result, std::size_t width) {
  TextTable qualifiers({"Family", "Type", "Match", "Qualifier"});
  for (auto const& each : list(result, "qualifiers")) {
    qualifiers.rowIs(
        {text(each, "family"), text(each, "type"), text(each, "match"), text(each, "qualifier")});
  }
  TextTable rules({"VRF", "Rule", "Status", "Reason"});
  for (auto const& each : list(result, "rules")) {
    rules.rowIs(
        {text(each, "vrfId"), text(each, "rule"), text(each, "status"), text(each, "reason")});
  }
  TextTable infeasible({"VRF", "Rule", "Rule id", "Reason"});
  for (auto const& each : list(result, "infeasible")) {
    infeasible.rowIs(
        {text(each, "vrfId"), text(each, "rule"), text(each, "ruleId"), text(each, "reason")});
  }
  return "Unsupported qualifiers\n" + qualifiers.render(width) + "\nUnsupported rules\n" +
         rules.render(width) + "\nInfeasible rules\n" + infeasible.render(width);
}

std::string interfaces(json const& result, std::size_t width) {
  TextTable table({"Interface", "VRF", "Enabled", "Policy", "Line card", "Programming"});
  for (auto const& each : list(result, "interfaces")) {
    std::string programming;
    for (auto const& family : list(each, "programming")) {
      std::string const error = text(family, "error");
      programming += (programming.empty() ? "" : ", ") + text(family, "family") + " " +
                     text(family, "state") + (error.empty() ? "" : ": " + error);
    }
    table.rowIs({text(each, "interface"), text(each, "vrf"), text(each, "enabled"),
                 text(each, "policy"), text(each, "lineCard"), programming});
  }
  return "All interfaces: " + text(result, "allInterfaces") + "\n" + table.render(width);
}

std::string summary(json const& result, std::size_t width) {
  TextTable statuses({"Status", "Text", "Rules"});
  for (auto const& each : list(result, "statuses")) {
    statuses.rowIs({text(each, "status"), text(each, "statusText"), text(each, "rules")});
  }
  TextTable banks({"Line card", "Family", "Used", "Capacity"});
  for (auto const& each : list(result, "banks")) {
    banks.rowIs(
        {text(each, "lineCard"), text(each, "family"), text(each, "used"), text(each, "capacity")});
  }
  std::string const lastPass = text(result, "counterUpdateTime");
  return "Rules: " + text(result, "rules") + "\n" + statuses.render(width) + "\n" +
         banks.render(width) + "\nLast counter pass: " + (lastPass.empty() ? "never" : lastPass) +
         "\n";
}

std::string counters(json const& result, std::size_t width) {
  TextTable table({"VRF", "Rule", "Packets"});
  for (auto const& each : list(result, "rules")) {
    table.rowIs({text(each, "vrf"), text(each, "rule"), text(each, "packets")});
  }
  return "Counters refreshed at " + text(result, "counterUpdateTime") + "\n" + table.render(width);
}

}  // namespace

std::string renderResult(std::vector<std::string> const& words, json const& result,
                         std::size_t width) {
  std::string const command =
      words.size() >= 2 ? words[0] + " " + words[1] : (words.empty() ? "" : words[0]);
  if (command == "show rules") {
    return rules(result, width);
  }
  if (command == "show rule") {
    return rule(result, width);
  }
  if (command == "show unsupported") {
    return unsupported(result, width);
  }
  if (command == "show interfaces") {
    return interfaces(result, width);
  }
  if (command == "show summary") {
    return summary(result, width);
  }
  if (command == "counters refresh") {
    return counters(result, width);
  }
  if (command == "interface enable-all") {
    return "flowspec on all interfaces: " + text(result, "allInterfaces") + "\n";
  }
  if (command == "interface enable" || command == "interface disable") {
    return text(result, "interface") + ": flowspec enabled for " + text(result, "enabled") + "\n";
  }
  return result.dump(2) + "\n";
}

}  // namespace Agent
