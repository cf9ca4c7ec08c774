#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

// What flowspec-agent was asked to do, as its command line says.
struct Options {
  std::string scenario;
  double maxSeconds = 60.0;
  bool dump = false;
  std::string table;
  std::string showFile;
  std::string control;  // the control socket's path; non-empty: run until SIGINT or SIGTERM
  bool help = false;
  std::string dataplane = "hw";
  std::string netns;
  std::vector<std::pair<std::string, std::uint32_t>> vrfTables;
  double hold = 0;

  // Whether the agent keeps running until a signal rather than until the work is done.
  bool longRunning() const { return !table.empty() || !control.empty(); }
};

// The usage text, printed for --help and for a usage error.
extern char const kUsage[];

// Parses the arguments after the program name into `options`; false on a usage error (an
// unknown option, a missing or malformed value, or options that do not go together).
bool parseOptions(int argc, char const* const* argv, Options& options);

}  // namespace Agent
