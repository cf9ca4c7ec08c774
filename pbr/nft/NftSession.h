#pragma once

#include <cstdint>
#include <map>
#include <string>

struct nft_ctx;

namespace Pbr {

// One libnftables context, bound to a network namespace: its netlink socket is opened inside
// the namespace named at construction, and the calling thread enters that namespace for each
// command and returns to its own afterwards, so the process itself stays where it was started. Each
// run is one transaction: the kernel commits a whole buffer or none of it.
//
// Not copyable; single-threaded like the rest of the agent.
class NftSession {
 public:
  // An empty name means the namespace the process runs in. A namespace that cannot be entered
  // leaves the session unusable: error() tells why and every run fails with that text.
  explicit NftSession(std::string const& netns);
  ~NftSession();
  NftSession(NftSession const&) = delete;
  NftSession& operator=(NftSession const&) = delete;

  std::string const& error() const { return error_; }

  // Runs a buffer of commands; the first line of libnftables' error text, empty on success.
  // With `dryRun` the kernel checks the transaction and discards it.
  std::string run(std::string const& commands, bool dryRun = false);
  // Runs a listing command; its text output, or empty with `error` set.
  std::string list(std::string const& command, std::string& error);

 private:
  std::string runIn(std::string const& commands);

  nft_ctx* ctx_ = nullptr;
  int targetNs_ = -1;
  int ownNs_ = -1;
  std::string error_;
};

// The packet count of each named counter of a listing of counters.
std::map<std::string, std::uint64_t> parseCounters(std::string const& listing);

}  // namespace Pbr
