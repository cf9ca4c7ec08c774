// Fuzzes the flowspec decoders with arbitrary octets: as a BGP UPDATE, and as a run of NLRI of
// each family. Nothing may crash, and every decoded key must come back equal from its text (the
// text names class-maps and is how people write rules) and from the raw table's key.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "feed/NlriDecoder.h"
#include "feed/UpdateDecoder.h"

namespace {

constexpr Vrf::VrfIdMap::VrfId kVrfId = 3;

[[noreturn]] void fail(char const* what, Flowspec::FlowspecKey const& key) {
  std::fprintf(stderr, "%s: %s\n", what, key.stringValue().c_str());
  std::abort();
}

void checkKey(Flowspec::FlowspecKey const& key) {
  std::string error;
  auto const parsed = Flowspec::FlowspecKey::parse(key.stringValue(), &error);
  if (!parsed || *parsed != key) {
    fail(("text round trip failed (" + error + ")").c_str(), key);
  }
  if (Flowspec::FlowspecTidalKey(kVrfId, key).getFlowspecKey() != key) {
    fail("table key round trip failed", key);
  }
}

void decodeNlriRun(Nwk::AddressFamily af, std::span<std::uint8_t const> bytes) {
  Feed::NlriDecoder const decoder(af);
  for (std::size_t pos = 0; pos < bytes.size();) {
    Feed::NlriResult const result = decoder.decode(bytes.subspan(pos), pos);
    if (result.key) {
      checkKey(*result.key);
    }
    if (result.length == 0) {
      break;
    }
    pos += result.length;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::span<std::uint8_t const> const bytes(data, size);
  static Feed::RouteTargetResolver const resolver = [] {
    Feed::RouteTargetResolver r;
    r.vrfIdIs("65000:100", 7);
    r.vrfIdIs("192.0.2.1:100", 8);
    return r;
  }();
  Feed::UpdateResult const update = Feed::UpdateDecoder(kVrfId, resolver).decode(bytes);
  for (Flowspec::Rule const& rule : update.announcements) {
    checkKey(rule.key.getFlowspecKey());
  }
  for (Flowspec::FlowspecTidalKey const& key : update.withdrawals) {
    checkKey(key.getFlowspecKey());
  }
  decodeNlriRun(Nwk::AddressFamily::ipv4, bytes);
  decodeNlriRun(Nwk::AddressFamily::ipv6, bytes);
  return 0;
}
