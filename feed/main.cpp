// flowspec-feed: the routing process's side of the flowspec rule table. The command line lives
// in FeedCli so that tests run it; this only hands it the arguments.
#include <iostream>
#include <string>
#include <vector>

#include "feed/FeedCli.h"

int main(int argc, char** argv) {
  std::vector<std::string> const args(argv + 1, argv + argc);
  return Feed::runFeedCli(args, std::cin, std::cout, std::cerr);
}
