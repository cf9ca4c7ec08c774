#include "feed/FeedCli.h"

#include <cstdlib>

#include "feed/ExabgpMessage.h"
#include "feed/HexText.h"
#include "feed/NlriDecoder.h"
#include "feed/TableFeed.h"
#include "models/flowspec/RuleCodec.h"

namespace Feed {

namespace {

constexpr char kUsage[] =
    "usage: flowspec-feed --decode ipv4|ipv6 HEX\n"
    "       flowspec-feed --table NAME [--vrf-id N] [--route-target RT=VRFID ...] [--slots N]\n"
    "                     --exabgp|--hex-lines\n"
    "  --decode FAMILY HEX  decode one flowspec NLRI given in hexadecimal, its length octet or\n"
    "                       octets first, and print the rule (exit 1 when it does not decode)\n"
    "  --table NAME         write the flowspec routes of the UPDATEs read from standard input\n"
    "                       into the shared rule table NAME (created when absent, else kept)\n"
    "  --vrf-id N           the VRF the routes are received in (default 0)\n"
    "  --route-target RT=N  rt-redirect to RT goes to VRF id N (repeatable)\n"
    "  --slots N            the table's capacity in rules when it is created (default 4096)\n"
    "  --exabgp             input is ExaBGP's process API output (JSON, raw packets)\n"
    "  --hex-lines          input is one UPDATE in hexadecimal per line\n";

int usage(std::ostream& err) {
  err << kUsage;
  return 2;
}

int decode(std::string const& family, std::string const& hex, std::ostream& out,
           std::ostream& err) {
  if (family != "ipv4" && family != "ipv6") {
    return usage(err);
  }
  auto const bytes = bytesFromHex(hex);
  if (!bytes) {
    err << "not hexadecimal octets: " << hex << "\n";
    return usage(err);
  }
  NlriDecoder const decoder(family == "ipv4" ? Nwk::AddressFamily::ipv4 : Nwk::AddressFamily::ipv6);
  NlriResult const result = decoder.decode(*bytes);
  for (Diagnostic const& d : result.diagnostics) {
    err << (d.severity == Severity::note ? "note: " : "error: ") << d.toStrep() << "\n";
  }
  if (result.length != 0 && result.length < bytes->size()) {
    err << "error: offset " << result.length << ": " << octetsText(bytes->size() - result.length)
        << " after the NLRI\n";
    return 1;
  }
  if (!result.key) {
    return 1;
  }
  out << result.key->stringValue() << "\n";
  return 0;
}

struct TableOptions {
  std::string name;
  Vrf::VrfIdMap::VrfId vrfId = 0;
  std::uint32_t slots = 4096;
  RouteTargetResolver resolver;
  bool exabgp = false;
  bool hexLines = false;
};

bool parseNumber(std::string const& text, std::uint32_t& value) {
  char* end = nullptr;
  unsigned long const n = std::strtoul(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || n > 0xffffffffUL) {
    return false;
  }
  value = static_cast<std::uint32_t>(n);
  return true;
}

bool parseTableOptions(std::vector<std::string> const& args, TableOptions& options) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    std::string const& arg = args[i];
    bool const hasValue = i + 1 < args.size();
    if (arg == "--table" && hasValue) {
      options.name = args[++i];
    } else if (arg == "--vrf-id" && hasValue) {
      if (!parseNumber(args[++i], options.vrfId)) {
        return false;
      }
    } else if (arg == "--slots" && hasValue) {
      if (!parseNumber(args[++i], options.slots)) {
        return false;
      }
    } else if (arg == "--route-target" && hasValue) {
      std::string const& mapping = args[++i];
      std::size_t const eq = mapping.rfind('=');
      std::uint32_t vrfId = 0;
      if (eq == std::string::npos || eq == 0 || !parseNumber(mapping.substr(eq + 1), vrfId)) {
        return false;
      }
      options.resolver.vrfIdIs(mapping.substr(0, eq), vrfId);
    } else if (arg == "--exabgp") {
      options.exabgp = true;
    } else if (arg == "--hex-lines") {
      options.hexLines = true;
    } else {
      return false;
    }
  }
  return !options.name.empty() && options.exabgp != options.hexLines;
}

int feedTable(TableOptions const& options, std::istream& in, std::ostream& out, std::ostream& err) {
  Cog::Ptr<Flowspec::RuleSet> ruleSet;
  try {
    ruleSet = Cog::make<Flowspec::RuleSet>(std::make_unique<Flowspec::RuleSetWriter>(
        options.name, Flowspec::ruleTableGeometry(options.slots)));
  } catch (Tidal::TableError const& e) {
    err << "error: " << e.what() << "\n";
    return 1;
  }
  TableFeed feed(ruleSet, options.vrfId, options.resolver, err);
  std::string line;
  for (std::size_t lineNumber = 1; std::getline(in, line); ++lineNumber) {
    std::optional<std::vector<std::uint8_t>> message;
    if (options.exabgp) {
      message = updateFromExabgpLine(line);
    } else if (!line.empty() && line[0] != '#') {
      message = bytesFromHex(line);
      if (!message) {
        err << "error: line " << lineNumber << ": not hexadecimal octets\n";
      }
    }
    if (message) {
      feed.updateIs(*message);
    }
  }
  out << feed.announced() << " announced, " << feed.withdrawn() << " withdrawn, " << ruleSet->size()
      << " rules in " << options.name << "\n";
  return 0;
}

}  // namespace

int runFeedCli(std::vector<std::string> const& args, std::istream& in, std::ostream& out,
               std::ostream& err) {
  if (args.size() == 3 && args[0] == "--decode") {
    return decode(args[1], args[2], out, err);
  }
  TableOptions options;
  if (!parseTableOptions(args, options)) {
    return usage(err);
  }
  return feedTable(options, in, out, err);
}

}  // namespace Feed
