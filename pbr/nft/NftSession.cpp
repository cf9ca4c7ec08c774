#include "pbr/nft/NftSession.h"

#include <fcntl.h>
#include <nftables/libnftables.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>

namespace Pbr {

namespace {

std::string firstLine(char const* text) {
  std::string out = text ? text : "";
  auto const end = out.find('\n');
  return end == std::string::npos ? out : out.substr(0, end);
}

}  // namespace

NftSession::NftSession(std::string const& netns) {
  if (!netns.empty()) {
    std::string const path = "/run/netns/" + netns;
    targetNs_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ownNs_ = ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    if (targetNs_ < 0 || ownNs_ < 0) {
      error_ = "network namespace " + netns + ": " + std::strerror(errno);
      return;
    }
  }
  // The context's netlink socket belongs to the namespace it is opened in.
  if (targetNs_ >= 0 && ::setns(targetNs_, CLONE_NEWNET) != 0) {
    error_ = "network namespace " + netns + ": " + std::strerror(errno);
    return;
  }
  ctx_ = nft_ctx_new(NFT_CTX_DEFAULT);
  if (targetNs_ >= 0) {
    (void)::setns(ownNs_, CLONE_NEWNET);
  }
  if (!ctx_) {
    error_ = "no nftables context";
    return;
  }
  nft_ctx_buffer_output(ctx_);
  nft_ctx_buffer_error(ctx_);
}

NftSession::~NftSession() {
  if (ctx_) {
    nft_ctx_free(ctx_);
  }
  for (int fd : {targetNs_, ownNs_}) {
    if (fd >= 0) {
      ::close(fd);
    }
  }
}

std::string NftSession::runIn(std::string const& commands) {
  if (!ctx_) {
    return error_;
  }
  if (targetNs_ >= 0 && ::setns(targetNs_, CLONE_NEWNET) != 0) {
    return std::string("cannot enter network namespace: ") + std::strerror(errno);
  }
  int const rc = nft_run_cmd_from_buffer(ctx_, commands.c_str());
  if (targetNs_ >= 0) {
    // Leaving the namespace again cannot fail for a namespace the thread came from.
    (void)::setns(ownNs_, CLONE_NEWNET);
  }
  if (rc == 0) {
    return {};
  }
  std::string const text = firstLine(nft_ctx_get_error_buffer(ctx_));
  return text.empty() ? "nftables command failed" : text;
}

std::string NftSession::run(std::string const& commands, bool dryRun) {
  if (ctx_) {
    nft_ctx_set_dry_run(ctx_, dryRun);
  }
  std::string error = runIn(commands);
  if (ctx_) {
    nft_ctx_set_dry_run(ctx_, false);
  }
  return error;
}

std::string NftSession::list(std::string const& command, std::string& error) {
  error = runIn(command);
  return error.empty() ? std::string(nft_ctx_get_output_buffer(ctx_)) : std::string();
}

std::map<std::string, std::uint64_t> parseCounters(std::string const& listing) {
  std::map<std::string, std::uint64_t> out;
  std::istringstream in(listing);
  std::string word;
  std::string name;
  while (in >> word) {
    if (word == "counter") {
      in >> name;
    } else if (word == "packets" && !name.empty()) {
      std::uint64_t packets = 0;
      if (in >> packets) {
        out[name] = packets;
      }
      name.clear();
    }
  }
  return out;
}

}  // namespace Pbr
