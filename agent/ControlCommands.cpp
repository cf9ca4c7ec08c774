#include "agent/ControlCommands.h"

#include <algorithm>
#include <optional>

#include "agent/ControlReply.h"
#include "agent/QuotedText.h"
#include "agent/RuleReport.h"
#include "agent/SystemReport.h"

namespace Agent {

namespace {

constexpr char kShowRulesUsage[] = "usage: show rules [--vrf NAME]";
constexpr char kShowRuleUsage[] = "usage: show rule TEXT";
constexpr char kShowUsage[] = "usage: show rules|rule|unsupported|interfaces|summary";
constexpr char kInterfaceUsage[] =
    "usage: interface enable|disable NAME [--family ipv4|ipv6|both] | interface enable-all on|off";
constexpr char kCountersUsage[] = "usage: counters refresh";

// The request's words, or nullopt when it holds a control character other than a tab.
std::optional<std::vector<std::string>> wordsOf(std::string const& request) {
  std::vector<std::string> words;
  std::string word;
  for (char const c : request) {
    if (c == ' ' || c == '\t') {
      if (!word.empty()) {
        words.push_back(std::move(word));
        word.clear();
      }
    } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
      return std::nullopt;
    } else {
      word += c;
    }
  }
  if (!word.empty()) {
    words.push_back(std::move(word));
  }
  return words;
}

std::string joined(std::vector<std::string> const& words, std::size_t from) {
  std::string text;
  for (std::size_t i = from; i < words.size(); ++i) {
    text += (i == from ? "" : " ") + words[i];
  }
  return text;
}

// The IP versions as a set of two bits, so that enabling and disabling one family composes.
unsigned bitsOf(Flowspec::IpVersion version) { return static_cast<unsigned>(version) & 3u; }

std::optional<Flowspec::IpVersion> familyOf(std::string const& word) {
  if (word == "ipv4") {
    return Flowspec::IpVersion::ipv4;
  }
  if (word == "ipv6") {
    return Flowspec::IpVersion::ipv6;
  }
  if (word == "both") {
    return Flowspec::IpVersion::ipv4AndIpv6;
  }
  return std::nullopt;
}

std::string familyText(Flowspec::IpVersion version) {
  static char const* const kTexts[] = {"none", "ipv4", "ipv6", "both"};
  return kTexts[bitsOf(version)];
}

}  // namespace

ControlCommands::ControlCommands(OrbFlowspec::FlowspecSm const& root, MountedRecords& records,
                                 HardwareLayout hardware, Cog::Ptr<Kiln::TaskScheduler> scheduler)
    : root_(root),
      records_(records),
      hardware_(std::move(hardware)),
      scheduler_(std::move(scheduler)),
      counterTimeout_(std::make_unique<Kiln::TimerTask>(scheduler_, Kiln::TaskPriority{3},
                                                        "counterRefreshTimeout", [] {})) {}

ControlCommands::~ControlCommands() = default;

void ControlCommands::request(std::string const& request, Reply const& reply) {
  auto const words = wordsOf(request);
  std::string const line = !words           ? errorReply(kControlCharacter)
                           : words->empty() ? errorReply(kEmptyRequest)
                                            : answer(*words, reply);
  if (!line.empty()) {
    reply(line);
  }
}

std::string ControlCommands::answer(std::vector<std::string> const& words, Reply const& reply) {
  if (words[0] == "show") {
    return show(words);
  }
  if (words[0] == "interface") {
    return interface(words);
  }
  if (words[0] == "counters") {
    return words.size() == 2 && words[1] == "refresh" ? countersRefresh(reply)
                                                      : errorReply(kCountersUsage);
  }
  return errorReply("unknown command " + quotedValue(words[0], 40) +
                    "; commands: show, counters, interface");
}

std::string ControlCommands::show(std::vector<std::string> const& words) {
  std::string const what = words.size() > 1 ? words[1] : "";
  if (what == "rules") {
    std::optional<std::string> vrf;
    if (words.size() == 4 && words[2] == "--vrf") {
      vrf = words[3];
    } else if (words.size() != 2) {
      return errorReply(kShowRulesUsage);
    }
    auto const report = rulesReport(root_, vrf);
    return report ? okReply(*report) : errorReply("no VRF named " + quotedValue(*vrf, 40));
  }
  if (what == "rule") {
    std::string const text = joined(words, 2);
    if (text.empty()) {
      return errorReply(kShowRuleUsage);
    }
    std::string error;
    auto const key = Flowspec::FlowspecKey::parse(text, &error);
    if (!key) {
      return errorReply("bad rule text: " + escaped(error, 200));
    }
    auto report = ruleReport(root_, hardware_, *key);
    return report["rules"].empty() ? errorReply("no rule " + quotedValue(key->stringValue()))
                                   : okReply(report);
  }
  if (words.size() != 2) {
    return errorReply(kShowUsage);
  }
  if (what == "unsupported") {
    return okReply(unsupportedReport(root_));
  }
  if (what == "interfaces") {
    return okReply(interfacesReport(root_, hardware_));
  }
  if (what == "summary") {
    return okReply(summaryReport(root_, hardware_));
  }
  return errorReply(kShowUsage);
}

std::string ControlCommands::interface(std::vector<std::string> const& words) {
  std::string const verb = words.size() > 1 ? words[1] : "";
  if (verb == "enable-all" && words.size() == 3 && (words[2] == "on" || words[2] == "off")) {
    records_.config->enabledIntfAllIs(words[2] == "on");
    return okReply({{"allInterfaces", records_.config->enabledIntfAll()}});
  }
  if ((verb != "enable" && verb != "disable") || (words.size() != 3 && words.size() != 5) ||
      (words.size() == 5 && words[3] != "--family")) {
    return errorReply(kInterfaceUsage);
  }
  auto const family = words.size() == 5 ? familyOf(words[4]) : Flowspec::IpVersion::ipv4AndIpv6;
  if (!family) {
    return errorReply("unknown family " + quotedValue(words[4], 40) +
                      "; expected ipv4, ipv6 or both");
  }
  std::string const& name = words[2];
  if (name.size() > kMaxInterfaceName) {
    return errorReply("interface name longer than 64 bytes");
  }
  Nwk::IntfId const intf(name);
  unsigned bits = bitsOf(records_.cliConfig->enabledIntf(intf));
  bits = verb == "enable" ? bits | bitsOf(*family) : bits & ~bitsOf(*family);
  auto const version = static_cast<Flowspec::IpVersion>(bits);
  if (version == Flowspec::IpVersion::none) {
    records_.cliConfig->enabledIntfDel(intf);
  } else {
    records_.cliConfig->enabledIntfIs(intf, version);
  }
  return okReply({{"interface", name}, {"enabled", familyText(version)}});
}

std::string ControlCommands::countersRefresh(Reply const& reply) {
  double const now = Cog::System::currentTime();
  counterWaits_.push_back({now, scheduler_->now() + kCounterRefreshTimeout, reply});
  records_.cliConfig->counterUpdateRequestTimeIs(now);
  counterTimeout_->scheduleTaskLowestDelay(kCounterRefreshTimeout);
  return {};  // answered by counterRefreshCheck()
}

void ControlCommands::counterRefreshCheck() {
  if (counterWaits_.empty()) {
    return;
  }
  double const lastPass = root_.flowspecMounts()->flowspecStatus()->counterUpdateTime();
  double const now = scheduler_->now();
  // Taken out first: a reply may lead to another request, which adds a wait.
  std::vector<CounterWait> waits;
  waits.swap(counterWaits_);
  for (auto& wait : waits) {
    if (lastPass >= wait.requestTime) {
      wait.reply(okReply(countersReport(root_)));
    } else if (now >= wait.deadline) {
      wait.reply(errorReply("counter refresh timed out after 30 s"));
    } else {
      counterWaits_.push_back(std::move(wait));
    }
  }
  // Armed for the earliest wait left, and not at all without one, so that the loop finds
  // itself idle once the refreshes are answered.
  counterTimeout_->stopTimerTask();
  for (auto const& wait : counterWaits_) {
    counterTimeout_->scheduleTaskLowestDelay(std::max(0.0, wait.deadline - now));
  }
}

}  // namespace Agent
