#include "models/flowspec/RuleCodec.h"

#include <cstring>

namespace Flowspec {

namespace {

void encodeAddr(Nwk::IpGenAddr const& addr, Tidal::ByteSink& sink) {
  sink.u8(static_cast<std::uint8_t>(addr.af()));
  sink.bytes(addr.bytes().data(), addr.bytes().size());
}

std::optional<Nwk::IpGenAddr> decodeAddr(Tidal::ByteSource& source) {
  std::uint8_t const af = source.u8();
  Nwk::IpGenAddr::Bytes bytes{};
  source.bytes(bytes.data(), bytes.size());
  if (!source.ok()) {
    return std::nullopt;
  }
  std::optional<Nwk::IpGenAddr> addr;
  if (af == static_cast<std::uint8_t>(Nwk::AddressFamily::none)) {
    addr = Nwk::IpGenAddr();
  } else if (af == static_cast<std::uint8_t>(Nwk::AddressFamily::ipv4)) {
    addr = Nwk::IpGenAddr::ipv4(std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
                                std::uint32_t{bytes[2]} << 8 | bytes[3]);
  } else if (af == static_cast<std::uint8_t>(Nwk::AddressFamily::ipv6)) {
    addr = Nwk::IpGenAddr::ipv6(bytes);
  }
  // Octets the family does not use must be zero, as encoding leaves them.
  if (!addr || addr->bytes() != bytes) {
    return std::nullopt;
  }
  return addr;
}

void encodePrefix(Nwk::IpGenPrefix const& prefix, Tidal::ByteSink& sink) {
  encodeAddr(prefix.addr(), sink);
  sink.u8(prefix.len());
}

std::optional<Nwk::IpGenPrefix> decodePrefix(Tidal::ByteSource& source) {
  std::optional<Nwk::IpGenAddr> const addr = decodeAddr(source);
  std::uint8_t const len = source.u8();
  if (!addr || !source.ok()) {
    return std::nullopt;
  }
  if (addr->af() == Nwk::AddressFamily::none) {
    return len == 0 ? std::optional(Nwk::IpGenPrefix()) : std::nullopt;
  }
  if (len > (addr->af() == Nwk::AddressFamily::ipv4 ? 32 : 128)) {
    return std::nullopt;
  }
  Nwk::IpGenPrefix prefix(*addr, len);
  return prefix.addr() == *addr ? std::optional(prefix) : std::nullopt;
}

}  // namespace

void RuleCodec::encodeKey(FlowspecTidalKey const& key, Tidal::ByteSink& sink) {
  sink.u32(key.vrfId());
  sink.u8(key.af());
  encodePrefix(key.destinationPrefix(), sink);
  encodePrefix(key.sourcePrefix(), sink);
  sink.u32(static_cast<std::uint32_t>(key.words().size()));
  for (std::uint32_t word : key.words()) {
    sink.u32(word);
  }
}

std::optional<FlowspecTidalKey> RuleCodec::decodeKey(Tidal::ByteSource& source) {
  std::uint32_t const vrfId = source.u32();
  std::uint8_t const af = source.u8();
  std::optional<Nwk::IpGenPrefix> destination = decodePrefix(source);
  std::optional<Nwk::IpGenPrefix> sourcePrefix = decodePrefix(source);
  std::uint32_t const count = source.u32();
  if (!destination || !sourcePrefix || !source.ok() || count > FlowspecTidalKey::Words::kMaxSize ||
      source.remaining() < std::size_t{count} * 4) {
    return std::nullopt;
  }
  std::vector<std::uint32_t> words(count);
  for (auto& word : words) {
    word = source.u32();
  }
  return FlowspecTidalKey(vrfId, af, std::move(*destination), std::move(*sourcePrefix),
                          words.data(), words.size());
}

void RuleCodec::encodeValue(Rule const& rule, Tidal::ByteSink& sink) {
  sink.u64(rule.ruleId);
  sink.u8(rule.actionFieldSet.bits());
  std::uint32_t rate;
  std::memcpy(&rate, &rule.trafficRateLimit, sizeof rate);
  sink.u32(rate);
  sink.u8(rule.trafficAction.bits());
  sink.u32(rule.trafficRedirect.vrfId);
  encodeAddr(rule.trafficRedirect.address, sink);
  sink.u8(rule.trafficMarkingDscp.value());
}

std::optional<Rule> RuleCodec::decodeValue(Tidal::ByteSource& source, FlowspecTidalKey const& key) {
  Rule rule;
  rule.key = key;
  rule.ruleId = source.u64();
  rule.actionFieldSet = ActionFieldSet(source.u8());
  std::uint32_t const rate = source.u32();
  std::memcpy(&rule.trafficRateLimit, &rate, sizeof rate);
  rule.trafficAction = TrafficAction(source.u8());
  rule.trafficRedirect.vrfId = source.u32();
  std::optional<Nwk::IpGenAddr> address = decodeAddr(source);
  rule.trafficMarkingDscp = Nwk::IpTos(source.u8());
  if (!address || !source.ok()) {
    return std::nullopt;
  }
  rule.trafficRedirect.address = *address;
  return rule;
}

}  // namespace Flowspec
