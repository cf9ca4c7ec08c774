#include "feed/FeedCli.h"

#include "feed/HexText.h"
#include "feed/NlriDecoder.h"

namespace Feed {

namespace {

constexpr char kUsage[] =
    "usage: flowspec-feed --decode ipv4|ipv6 HEX\n"
    "  --decode FAMILY HEX  decode one flowspec NLRI given in hexadecimal, its length octet or\n"
    "                       octets first, and print the rule (exit 1 when it does not decode)\n";

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

}  // namespace

int runFeedCli(std::vector<std::string> const& args, std::ostream& out, std::ostream& err) {
  if (args.size() == 3 && args[0] == "--decode") {
    return decode(args[1], args[2], out, err);
  }
  return usage(err);
}

}  // namespace Feed
