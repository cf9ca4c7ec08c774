#include <gtest/gtest.h>

#include <sstream>

#include "feed/FeedCli.h"

namespace {

TEST(FeedCli, DecodeModePrintsTheRuleOrTheErrorWithItsExitStatus) {
  struct {
    std::vector<std::string> args;
    int status;
    char const* out;
    char const* err;  // its start
  } const cases[] = {
      {{"--decode", "ipv4", "0b0118c00002038106048119"},
       0,
       "ipv4 dst 192.0.2.0/24 proto =6 port =25\n",
       ""},
      {{"--decode", "ipv4", "03 05c150"},
       0,
       "ipv4 dport &=80\n",
       "note: offset 2: AND bit of the first operator of type 5 treated as clear (RFC 8955 "
       "section 4.2.1)\n"},
      {{"--decode", "ipv6", "02 0e81"},
       1,
       "",
       "error: offset 1: unknown component type 14 (RFC 8955 section 4.2)\n"},
      {{"--decode", "ipv4", "0b0118c00002038106048119ff"},
       1,
       "",
       "error: offset 12: 1 octet after the NLRI\n"},
      {{"--decode", "ipv4", "0g"}, 2, "", "not hexadecimal octets: 0g\nusage: flowspec-feed"},
      {{"--decode", "ipx", "00"}, 2, "", "usage: flowspec-feed"},
      {{"--decode", "ipv4"}, 2, "", "usage: flowspec-feed"},
  };
  for (auto const& c : cases) {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(Feed::runFeedCli(c.args, in, out, err), c.status) << c.args.back();
    EXPECT_EQ(out.str(), c.out);
    EXPECT_EQ(err.str().substr(0, std::string(c.err).size()), c.err);
    EXPECT_EQ(err.str().empty(), std::string(c.err).empty());
  }
}

}  // namespace
