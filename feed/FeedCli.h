#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

namespace Feed {

// The command line of flowspec-feed, apart from main() so that tests can run it. Modes:
//   --decode ipv4|ipv6 HEX   decode one flowspec NLRI (its length octet or octets first, as on
//                            the wire) and print the rule's key text, or the error
//   --table NAME [--vrf-id N] [--route-target RT=VRFID ...] [--slots N] --exabgp|--hex-lines
//                            read UPDATE messages from `in` until it ends (ExaBGP's process API
//                            output, or one message in hexadecimal per line) and write their
//                            flowspec routes into the shared rule table NAME
// Returns the exit status: 0 done, 1 decode or table error, 2 usage error. `args` excludes the
// program name. Results go to `out`, errors, notes and usage to `err`.
int runFeedCli(std::vector<std::string> const& args, std::istream& in, std::ostream& out,
               std::ostream& err);

}  // namespace Feed
