#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace Feed {

// The command line of flowspec-feed, apart from main() so that tests can run it. Modes:
//   --decode ipv4|ipv6 HEX   decode one flowspec NLRI (its length octet or octets first, as on
//                            the wire) and print the rule's key text, or the error
// Returns the exit status: 0 decoded, 1 decode error, 2 usage error. `args` excludes the
// program name. Results go to `out`, errors, notes and usage to `err`.
int runFeedCli(std::vector<std::string> const& args, std::ostream& out, std::ostream& err);

}  // namespace Feed
